// SPDX-License-Identifier: Apache-2.0
// Where the registers of the PVIDs and of the VLAN table stand.
#pragma once

#include "expectation.h"

namespace kslcfg {

// Bytes of a page that belong together.
struct Area {
    unsigned page;
    unsigned first;
    unsigned last;

    constexpr bool holds(unsigned p, unsigned offset) const { return p == page && offset >= first && offset <= last; }
};

constexpr unsigned kVlanPage = 0x34;
constexpr unsigned kPvidOffset = 0x10; // two bytes for each port
constexpr unsigned kTablePage = 0x08;
constexpr unsigned kTableCommandOffset = 0x30;
constexpr unsigned kTableAddressOffset = 0x32; // three bytes
constexpr unsigned kTableDataOffset = 0x38;    // eight bytes

constexpr Area kPvidArea{kVlanPage, kPvidOffset, kPvidOffset + 2 * KSL_PORTS - 1};
constexpr Area kTableArea{kTablePage, kTableCommandOffset, kTableDataOffset + 7};

} // namespace kslcfg
