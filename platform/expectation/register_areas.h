// SPDX-License-Identifier: Apache-2.0
// The bytes of the chip that hold the PVIDs and give access to the VLAN table.
#pragma once

#include <ksl/ksl.h>
#include <ksl/registers.h>

namespace kslcfg {

// Bytes of a page that belong together.
struct Area {
    unsigned page;
    unsigned first;
    unsigned last;

    constexpr bool holds(unsigned p, unsigned offset) const { return p == page && offset >= first && offset <= last; }
};

// From the first byte of one register to the last byte of another on its page.
constexpr Area area(const ksl_register &first, const ksl_register &last, unsigned repeated = 1) {
    return {first.page, first.offset, last.offset + last.offset_step * (repeated - 1) + last.length - 1};
}

constexpr Area kPvidArea = area(ksl_pvid_register, ksl_pvid_register, KSL_PORTS);
constexpr Area kTableArea = area(ksl_vlan_table_command_register, ksl_vlan_table_entry_register);

} // namespace kslcfg
