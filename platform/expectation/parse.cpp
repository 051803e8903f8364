// SPDX-License-Identifier: Apache-2.0
// From the JSON form to the expectation.
#include "expectation.h"
#include "register_areas.h"

#include <bitset>
#include <charconv>
#include <json/file.h>
#include <json/hex.h>
#include <json/node.h>

namespace kslcfg {
namespace {

using json::Node;

constexpr unsigned kPageSize = 256;

// A range such as "0-3"; nothing if it is none.
bool read_range(std::string_view text, unsigned &first, unsigned &last) {
    const char *const end = text.data() + text.size();
    const auto [dash, no_first] = std::from_chars(text.data(), end, first);
    if (no_first != std::errc{} || dash == end || *dash != '-') {
        return false;
    }
    const auto [stop, no_last] = std::from_chars(dash + 1, end, last);
    return no_last == std::errc{} && stop == end;
}

// A list of numbers and ranges, as the bits of these numbers.
uint32_t read_set(const Node &node, unsigned most) {
    uint32_t set = 0;
    for (const Node &element : node.list()) {
        unsigned first = 0;
        unsigned last = 0;
        if (const std::string *const text = element.if_text()) {
            if (!read_range(*text, first, last) || first > last || last > most) {
                element.refuse("must be a range within \"0-" + std::to_string(most) + "\"");
            }
        } else {
            first = last = element.number(0, most);
        }
        for (unsigned number = first; number <= last; ++number) {
            if ((set >> number & 1) != 0) {
                element.refuse("names " + std::to_string(number) + " a second time");
            }
            set |= 1U << number;
        }
    }
    return set;
}

uint32_t read_map(const Node &node) {
    if (node.is_list()) {
        return read_set(node, kMapBits - 1);
    }
    const uint64_t mask = node.if_number().value_or(UINT64_MAX);
    // A plain number could be meant as the number of one bit.
    if (node.if_text() == nullptr || mask >> kMapBits != 0) {
        node.refuse("must be a list of numbers from 0 to 26, or a mask such as \"0x7FFFFFF\"");
    }
    return static_cast<uint32_t>(mask);
}

void read_pvids(const Node &root, std::array<Pvid, KSL_PORTS> &pvids) {
    const Node list = root.required("pvids");
    uint32_t stated = 0;
    for (const Node &row : list.list()) {
        row.only({"ports", "vid", "priority"});
        const Node ports_node = row.required("ports");
        const uint32_t ports = read_set(ports_node, KSL_PORTS - 1);
        Pvid pvid;
        pvid.vid = static_cast<uint16_t>(row.required("vid").number(0, kLastPvid));
        if (const auto priority = row.optional("priority")) {
            pvid.priority = static_cast<uint8_t>(priority->number(0, kLastPriority));
        }
        for (unsigned port = 0; port < KSL_PORTS; ++port) {
            if ((ports >> port & 1) == 0) {
                continue;
            }
            if ((stated >> port & 1) != 0) {
                ports_node.refuse("names port " + std::to_string(port) + ", which an earlier row names");
            }
            pvids[port] = pvid;
        }
        stated |= ports;
    }
    // All ports are compared: a port that is not named would be expected to have VLAN id 0.
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        if ((stated >> port & 1) == 0) {
            list.refuse("must name every port, and port " + std::to_string(port) + " is missing");
        }
    }
}

VlanEntry read_vlan(const Node &node, std::bitset<kLastVid + 1> &stated) {
    node.only({"vid", "valid", "field", "upper", "lower"});
    const Node vid_node = node.required("vid");
    const unsigned vid = vid_node.number(1, kLastVid);
    if (stated[vid]) {
        vid_node.refuse("names VLAN " + std::to_string(vid) + ", which an earlier row names");
    }
    stated[vid] = true;
    VlanEntry entry;
    entry.vid = static_cast<uint16_t>(vid);
    if (const auto valid = node.optional("valid")) {
        entry.valid = valid->boolean();
    }
    if (const auto field = node.optional("field")) {
        entry.field = static_cast<uint8_t>(field->number(0, kLastField));
    }
    entry.upper = read_map(node.required("upper"));
    entry.lower = read_map(node.required("lower"));
    return entry;
}

Setting read_setting(const Node &node, std::vector<bool> &stated) {
    node.only({"page", "offset", "bytes"});
    const unsigned page = node.required("page").number(0, 0xFF);
    const unsigned offset = node.required("offset").number(0, 0xFF);
    const Node bytes_node = node.required("bytes");
    Setting setting;
    setting.page = static_cast<uint8_t>(page);
    setting.offset = static_cast<uint8_t>(offset);
    setting.bytes = json::hex_bytes(bytes_node.text(), ' ');
    if (setting.bytes.empty() || setting.bytes.size() > kRegisterBytesMax) {
        bytes_node.refuse("must be 1 to 8 pairs of hexadecimal digits");
    }
    if (offset + setting.bytes.size() > kPageSize) {
        bytes_node.refuse("must end within the page of 256 bytes");
    }
    for (unsigned at = offset; at < offset + setting.bytes.size(); ++at) {
        if (kPvidArea.holds(page, at)) {
            node.refuse("covers the PVID of a port, which \"pvids\" states");
        }
        if (kTableArea.holds(page, at)) {
            node.refuse("covers the access to the VLAN table, which \"vlans\" states");
        }
        if (stated[page * kPageSize + at]) {
            node.refuse("covers a byte that an earlier row states");
        }
        stated[page * kPageSize + at] = true;
    }
    return setting;
}

} // namespace

Expectation parse(std::string_view text) {
    const json::Value document = json::parse(text);
    const Node root(document);
    root.only({"name", "pvids", "vlans", "registers"});

    Expectation expectation;
    if (const auto name = root.optional("name")) {
        expectation.name = name->line();
    }
    read_pvids(root, expectation.pvids);
    std::bitset<kLastVid + 1> vids;
    for (const Node &vlan : root.list("vlans")) {
        expectation.vlans.push_back(read_vlan(vlan, vids));
    }
    std::vector<bool> bytes(size_t{kPageSize} * kPageSize);
    for (const Node &setting : root.list("registers")) {
        expectation.registers.push_back(read_setting(setting, bytes));
    }
    return expectation;
}

Expectation load(const std::string &path) {
    return json::read_file(path, json::Files::regular, parse);
}

} // namespace kslcfg
