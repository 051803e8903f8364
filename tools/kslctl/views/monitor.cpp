// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/monitor.h"

#include "kslctl/views/failure.h"
#include "kslctl/views/listing.h"
#include "kslctl/views/values.h"

#include <algorithm>

namespace kslctl::views {

namespace {

using hub::Difference;
using hub::SeenValue;
namespace registers = hub::registers;

template <typename T, auto show>
Cell value_as(const SeenValue &value) {
    return show(std::get<T>(value));
}

struct Kind {
    const hub::Register *which;
    const char *key;
    const char *text;
    Cell (*cell)(const SeenValue &value);
};

// Every value that is compared has a row.
constexpr Kind kKinds[] = {
    {&registers::self_test, "self_test", "self-test", value_as<hub::SelfTest, self_test>},
    {&registers::switch_mode, "mode", "mode", value_as<hub::Mode, mode>},
    {&registers::trunk_control, "trunk_control", "trunk control", value_as<bool, trunk_control>},
    {&registers::trunk_group_0, "trunk_group_0", "trunk group 0", value_as<hub::TrunkGroup, trunk_group>},
    {&registers::mirror_control, "mirror_control", "mirroring", value_as<hub::MirrorControl, mirror_control>},
    {&registers::ingress_mirror_mask, "ingress_mirror_mask", "mirrored when received",
     value_as<hub::PortNumbers, port_numbers>},
    {&registers::egress_mirror_mask, "egress_mirror_mask", "mirrored when sent",
     value_as<hub::PortNumbers, port_numbers>},
    {&registers::link_status, "link", "link", value_as<bool, link_state>},
    {&registers::port_speed, "speed", "speed", value_as<uint32_t, number>},
    {&registers::port_duplex, "duplex", "duplex", value_as<hub::Duplex, duplex_mode>},
};

const Kind &kind_of(const Difference &difference) {
    return *std::find_if(std::begin(kKinds), std::end(kKinds),
                         [&](const Kind &kind) { return kind.which == difference.which; });
}

Cell port_or_chip(const Difference &difference) {
    return {{}, difference.port ? Json(*difference.port) : Json(nullptr)};
}

Cell what(const Difference &difference) {
    const Kind &kind = kind_of(difference);
    return {kind.text, kind.key};
}

Cell before(const Difference &difference) {
    return cell(difference.before, kind_of(difference).cell);
}

Cell after(const Difference &difference) {
    return kind_of(difference).cell(difference.now);
}

const Columns<Difference> kColumns = {
    {nullptr, "port", Align::right, port_or_chip},
    {nullptr, "what", Align::left, what},
    {nullptr, "before", Align::left, before},
    {nullptr, "after", Align::left, after},
};

// The values of the chip on one line, and those of each port.
std::string lines_of(uint32_t chip, const std::vector<Difference> &values, const std::string &time) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) {
        const Difference &value = values[i];
        if (i == 0 || values[i - 1].port != value.port) {
            text += i == 0 ? "" : "\n";
            text += fmt::format("{} chip {}{}: ", time, chip, value.port ? fmt::format(" port {}", *value.port) : "");
        } else {
            text += "; ";
        }
        text += fmt::format("{} {}", what(value).text, after(value).text);
    }
    return text.empty() ? text : text + "\n";
}

} // namespace

Shown differences(uint32_t chip, const hub::Differences &differences, const std::string &time, bool simulated) {
    Json read_again = Json::array();
    std::string text = lines_of(chip, differences.values, time);
    for (const hub::Failure &failed : differences.begun) {
        text += fmt::format("{} {}\n", time, failure(failed, simulated).text);
    }
    for (const hub::Failure &failed : differences.ended) {
        text += fmt::format("{} chip {}: {} read again\n", time, failed.chip, failed.about);
        read_again.push_back(failed.about);
    }
    return {{{"chip", chip},
             {"time", time},
             {"changes", objects(kColumns, differences.values)},
             {"read_again", read_again}},
            text};
}

} // namespace kslctl::views
