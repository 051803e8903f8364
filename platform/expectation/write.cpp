// SPDX-License-Identifier: Apache-2.0
// From the expectation to the JSON form. Each row is a line, so that two files can be compared line by line.
#include "expectation.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace kslcfg {
namespace {

// A list such as [0, "2-5", 7].
std::string set_text(uint32_t set, unsigned count) {
    std::string text;
    for (unsigned first = 0; first < count; ++first) {
        if ((set >> first & 1) == 0) {
            continue;
        }
        unsigned last = first;
        while (last + 1 < count && (set >> (last + 1) & 1) != 0) {
            ++last;
        }
        text += text.empty() ? "" : ", ";
        text +=
            first == last ? std::to_string(first) : "\"" + std::to_string(first) + "-" + std::to_string(last) + "\"";
        first = last;
    }
    return "[" + text + "]";
}

std::string hex(unsigned byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    return {kDigits[byte >> 4 & 0xF], kDigits[byte & 0xF]};
}

std::string number(unsigned value) {
    return std::to_string(value);
}

// The ports of each PVID, by their first port.
std::vector<std::string> pvid_rows(const std::array<Pvid, KSL_PORTS> &pvids) {
    std::vector<std::string> rows;
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        const Pvid &pvid = pvids[port];
        if (std::find(pvids.begin(), pvids.begin() + port, pvid) != pvids.begin() + port) {
            continue;
        }
        uint32_t ports = 0;
        for (unsigned other = port; other < KSL_PORTS; ++other) {
            ports |= pvids[other] == pvid ? 1U << other : 0;
        }
        rows.push_back("{ \"ports\": " + set_text(ports, KSL_PORTS) + ", \"vid\": " + number(pvid.vid & kLastPvid) +
                       ", \"priority\": " + number(pvid.priority & kLastPriority) + " }");
    }
    return rows;
}

std::string vlan_row(const VlanEntry &entry) {
    return "{ \"vid\": " + number(entry.vid) + ", \"valid\": " + (entry.valid ? "true" : "false") +
           ", \"field\": " + number(entry.field & kLastField) + ", \"upper\": " + set_text(entry.upper, kMapBits) +
           ", \"lower\": " + set_text(entry.lower, kMapBits) + " }";
}

std::string setting_row(const Setting &setting) {
    std::string bytes;
    for (const uint8_t byte : setting.bytes) {
        bytes += (bytes.empty() ? "" : " ") + hex(byte);
    }
    return "{ \"page\": \"0x" + hex(setting.page) + "\", \"offset\": \"0x" + hex(setting.offset) + "\", \"bytes\": \"" +
           bytes + "\" }";
}

std::string section(const char *key, const std::vector<std::string> &rows) {
    std::string text = std::string("  \"") + key + "\": [";
    for (const std::string &row : rows) {
        text += (&row == rows.data() ? "\n    " : ",\n    ") + row;
    }
    return text + (rows.empty() ? "]" : "\n  ]");
}

template <typename Value>
std::vector<std::string> rows_of(const std::vector<Value> &values, std::string (*row)(const Value &)) {
    std::vector<std::string> rows;
    rows.reserve(values.size());
    for (const Value &value : values) {
        rows.push_back(row(value));
    }
    return rows;
}

} // namespace

std::string to_json(const Expectation &expectation) {
    constexpr auto kReplaceBadUtf8 = nlohmann::json::error_handler_t::replace;
    return "{\n  \"name\": " + nlohmann::json(expectation.name).dump(-1, ' ', false, kReplaceBadUtf8) + ",\n" +
           section("pvids", pvid_rows(expectation.pvids)) + ",\n" +
           section("vlans", rows_of(expectation.vlans, vlan_row)) + ",\n" +
           section("registers", rows_of(expectation.registers, setting_row)) + "\n}\n";
}

} // namespace kslcfg
