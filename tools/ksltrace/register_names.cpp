// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/register_names.h"

#include <fmt/core.h>
#include <string_view>

namespace ksltrace {

namespace {

constexpr uint32_t kPorts = 24;

// A register, or one of each port: then page and offset grow by the steps from port to port.
struct Name {
    uint32_t page;
    uint32_t offset;
    std::string_view name;
    uint32_t page_step = 0;
    uint32_t offset_step = 0;
};

constexpr Name kNames[] = {
    {0x00, 0x00, "switch mode"},
    {0x00, 0xD0, "port control", 0, 1},
    {0x01, 0x00, "self-test status"},
    {0x01, 0x10, "link status"},
    {0x01, 0x14, "link change"},
    {0x01, 0x18, "port speed status"},
    {0x01, 0x1C, "port duplex status"},
    {0x02, 0x06, "age timer"},
    {0x02, 0x10, "mirror control"},
    {0x02, 0x14, "ingress mirror mask"},
    {0x02, 0x20, "egress mirror mask"},
    {0x05, 0x20, "address search control"},
    {0x05, 0x24, "address search entry"},
    {0x05, 0x2C, "address search VLAN"},
    {0x08, 0x30, "VLAN table command"},
    {0x08, 0x32, "VLAN table address"},
    {0x08, 0x38, "VLAN table entry"},
    {0x10, 0x00, "PHY control", 1, 0},
    {0x10, 0x30, "speed indication", 1, 0},
    {0x32, 0x00, "trunking control"},
    {0x32, 0x10, "trunk group 0"},
    {0x34, 0x00, "VLAN enable"},
    {0x34, 0x10, "PVID", 0, 2},
    {0x41, 0x30, "learned addresses", 0, 2},
    {0x41, 0x70, "learning threshold", 0, 2},
};

} // namespace

std::string register_name(uint32_t page, uint32_t offset) {
    for (const Name &row : kNames) {
        const bool is_single = row.page_step + row.offset_step == 0;
        for (uint32_t port = 0; port < (is_single ? 1 : kPorts); ++port) {
            if ((page & 0xFF) == row.page + port * row.page_step &&
                (offset & 0xFF) == row.offset + port * row.offset_step) {
                return is_single ? std::string(row.name) : fmt::format("{} of port {}", row.name, port);
            }
        }
    }
    return {};
}

} // namespace ksltrace
