// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/status.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/values.h"

#include <algorithm>
#include <fmt/ranges.h>

namespace kslctl::views {

namespace {

using hub::ChipStatus;
using hub::PortSpeed;
using hub::PortState;
using hub::PortStatus;
namespace registers = hub::registers;

// A value, and the register that it comes from.
template <typename Row>
struct Source {
    const hub::Register *which;
    Column<Row> column;
};

const Source<ChipStatus> kChipValues[] = {
    {&registers::self_test,
     {"self-test", "self_test", Align::left, [](const ChipStatus &s) { return cell(s.self_test, self_test); }}},
    {&registers::switch_mode, {"mode", "mode", Align::left, [](const ChipStatus &s) { return cell(s.mode, mode); }}},
    {&registers::age_timer,
     {"age timer", "age_timer", Align::left, [](const ChipStatus &s) { return cell(s.age_timer, number); }}},
};

const Source<PortStatus> kPortValues[] = {
    {&registers::link_status, {"link", "link", Align::left, link}},
    {&registers::link_change,
     {"changed", "changed", Align::left,
      [](const PortStatus &port) {
          return cell(port.changed, [](bool changed) { return Cell{changed ? "yes" : "no", changed}; });
      }}},
    {&registers::port_speed, {"speed", "speed", Align::right, speed}},
    {&registers::port_duplex, {"duplex", "duplex", Align::left, duplex}},
};

template <typename Row, size_t count>
Columns<Row> wanted_columns(const Source<Row> (&sources)[count], const hub::WantedRegisters &wanted) {
    Columns<Row> columns;
    for (const Source<Row> &source : sources) {
        if (std::find(wanted.begin(), wanted.end(), source.which) != wanted.end()) {
            columns.push_back(source.column);
        }
    }
    return columns;
}

const Columns<PortState> kStateColumns = {
    {"port", "port", Align::right, [](const PortState &port) { return number(port.status.port); }},
    {"control", "port_control", Align::left, [](const PortState &port) { return cell(port.control, port_control); }},
    {"link", "link", Align::left, [](const PortState &port) { return link(port.status); }},
    {"speed", "speed", Align::right, [](const PortState &port) { return speed(port.status); }},
    {"duplex", "duplex", Align::left, [](const PortState &port) { return duplex(port.status); }},
    {"PHY control", "phy_control", Align::left, [](const PortState &port) { return cell(port.phy, phy_control); }},
};

const Columns<PortSpeed> kSpeedColumns = {
    kPortColumn<PortSpeed>,
    {"speed", "speed", Align::right, [](const PortSpeed &port) { return cell(port.speed, number); }},
};

using Firmware = hub::Fact<hub::FirmwareVersion>;

Cell version_cell(const hub::FirmwareVersion &version) {
    const std::string bytes = fmt::format("{:02x}", fmt::join(version, " "));
    return {bytes, bytes};
}

const Columns<Firmware> kFirmwareColumns = {
    {"firmware", "firmware", Align::left, [](const Firmware &firmware) { return cell(firmware, version_cell); }},
};

} // namespace

Shown status(const ChipStatus &status, const hub::WantedRegisters &wanted, const Style &style) {
    const Columns<ChipStatus> of_chip = wanted_columns(kChipValues, wanted);
    Shown shown{object(of_chip, status), lines(of_chip, status, style)};
    Columns<PortStatus> of_ports = wanted_columns(kPortValues, wanted);
    if (!of_ports.empty()) {
        of_ports.insert(of_ports.begin(), kPortColumn<PortStatus>);
        shown.json["ports"] = objects(of_ports, status.ports);
        shown.text += (shown.text.empty() ? "" : "\n") + table(of_ports, status.ports, style);
    }
    return shown;
}

Shown ports(const hub::PortStates &states, const Style &style) {
    return {{{"ports", objects(kStateColumns, states.ports)}}, table(kStateColumns, states.ports, style)};
}

Shown port_speeds(const std::vector<PortSpeed> &speeds, const Style &style) {
    return {{{"ports", objects(kSpeedColumns, speeds)}}, table(kSpeedColumns, speeds, style)};
}

Shown firmware(const Firmware &firmware, const Style &style) {
    return {object(kFirmwareColumns, firmware), lines(kFirmwareColumns, firmware, style)};
}

} // namespace kslctl::views
