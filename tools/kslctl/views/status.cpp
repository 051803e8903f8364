// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/status.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/values.h"

#include <algorithm>

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

Cell port_number(const PortState &port) {
    Cell cell = number(port.status.port);
    cell.is_wrong = port.passed.is_read() && !*port.passed;
    return cell;
}

// "100 full", "down", "off, down"
Cell link_in_words(const PortState &port) {
    const hub::PortStatus &status = port.status;
    const bool is_up = status.link.is_read() && *status.link;
    const bool is_half = status.duplex.is_read() && *status.duplex == hub::Duplex::half;
    const std::string control = cell(port.control, port_control).text;
    return {(control == "on" ? "" : control + ", ") +
                (is_up ? fmt::format("{} {}", speed(status).text, duplex(status).text) : link(status).text),
            nullptr, is_up && is_half && port.phy.is_read() && port.phy->negotiates};
}

// "auto 100 full", "10 half, loopback"
Cell phy_in_short(const hub::PhyControl &phy) {
    constexpr std::string_view kForced = "forced ";
    Cell cell = phy_control(phy);
    cell.text = cell.text.substr(phy.negotiates ? 0 : kForced.size());
    return cell;
}

// Two halves of the table fit beside each other in 80 columns.
const Columns<PortState> kStateColumns = {
    {"port", "port", Align::right, port_number},
    {nullptr, "self_test", Align::left,
     [](const PortState &port) { return cell(port.passed, [](bool passed) {
                                     return Cell{{}, passed};
                                 }); }},
    {nullptr, "port_control", Align::left, [](const PortState &port) { return cell(port.control, port_control); }},
    {nullptr, "link", Align::left, [](const PortState &port) { return link(port.status); }},
    {nullptr, "speed", Align::right, [](const PortState &port) { return speed(port.status); }},
    {nullptr, "duplex", Align::left, [](const PortState &port) { return duplex(port.status); }},
    {"link", nullptr, Align::left, link_in_words},
    {"PHY", "phy_control", Align::left, [](const PortState &port) { return cell(port.phy, phy_in_short); }},
};

const Columns<hub::PortStates> kStatesColumns = {
    {"self-test", nullptr, Align::left,
     [](const hub::PortStates &states) { return cell(states.self_test, self_test); }},
};

const Columns<PortSpeed> kSpeedColumns = {
    kPortColumn<PortSpeed>,
    {"speed", "speed", Align::right, [](const PortSpeed &port) { return cell(port.speed, number); }},
};

using Firmware = hub::Fact<hub::FirmwareVersion>;

const Columns<Firmware> kFirmwareColumns = {
    {"firmware", "firmware", Align::left, [](const Firmware &firmware) { return cell(firmware, firmware_version); }},
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
    return {{{"ports", objects(kStateColumns, states.ports)}},
            lines(kStatesColumns, states, style) + "\n" + table(kStateColumns, states.ports, style)};
}

Shown port_speeds(const std::vector<PortSpeed> &speeds, const Style &style) {
    return {{{"ports", objects(kSpeedColumns, speeds)}}, table(kSpeedColumns, speeds, style)};
}

Shown firmware(const Firmware &firmware, const Style &style) {
    return {object(kFirmwareColumns, firmware), lines(kFirmwareColumns, firmware, style)};
}

} // namespace kslctl::views
