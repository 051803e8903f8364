// SPDX-License-Identifier: Apache-2.0
// The hub's state as it lies in memory and in the state file. It consists of bytes only, numbers most
// significant byte first, so that processes of either byte order and word size can share it.
#pragma once

#include "bytes.h"

#include <array>

namespace hwa {

inline constexpr std::size_t kPorts = 24;
inline constexpr std::size_t kPages = 256;
inline constexpr std::size_t kPageSize = 256;
inline constexpr std::size_t kMaxRegister = 8;
inline constexpr std::size_t kMaxAddresses = 8192;
inline constexpr std::size_t kMaxChips = 8;
inline constexpr std::size_t kCounters = 22; // of a port
inline constexpr std::size_t kVersionLength = 9;
inline constexpr std::size_t kLastVid = 4094; // 0 is no VLAN

// The bytes are 0 or 1. The first three tell what is at the other end of the cable.
struct PortImage {
    Byte partner;
    Byte partner_fast; // does 100 Mb/s, too; else only 10
    Byte partner_full_duplex;
    Byte test_failed;
    Byte link_changed;          // since the link change register was last read
    std::array<Byte, 8> since;  // when the link last came or went
    std::array<Byte, 8> active; // how long there was a link before that
};

// An address, as the address table has it.
struct AddressImage {
    std::array<Byte, 8> raw; // the port in the low 5 bits of the second byte, then the MAC address
    std::array<Byte, 2> vid;
    Byte silent; // never heard again
};
inline constexpr Byte kStaticAddress = 0x80; // in the second byte of the raw entry

// How far someone has come in the address table.
struct ScanImage {
    std::array<Byte, 2> index;
    std::array<std::array<Byte, 2>, kPorts> learned; // addresses of each port so far
};

// The walk or search of the address table that is under way.
struct TableAccessImage {
    Byte mode;
    Byte looks;
    ScanImage scan;
    AddressImage result;
};

using VlanEntry = std::array<Byte, 8>;

// The VLAN table and the registers through which it is reached.
struct VlanImage {
    std::array<Byte, 3> command;
    std::array<Byte, 3> address;
    VlanEntry data;
    std::array<VlanEntry, kLastVid + 1> entries; // by VLAN id
};

struct ChipImage {
    Byte present;
    Byte number;
    Byte managed;
    Byte forwarding;
    std::array<Byte, kVersionLength> firmware;
    std::array<PortImage, kPorts> ports;
    std::array<Byte, 8> time; // in microseconds since the start
    std::array<Byte, 8> seen; // real time at the last access, if it counts
    Byte was_reset;           // since when nothing is known but what was heard
    std::array<Byte, 8> seed;
    std::array<std::array<std::array<Byte, 4>, kCounters>, kPorts> rates; // per second
    std::array<Byte, 2> address_count;
    std::array<AddressImage, kMaxAddresses> addresses;
    TableAccessImage table_access;
    VlanImage vlan;
    std::array<std::array<Byte, kPageSize>, kPages> pages; // the registers that are nothing but bytes
};

static_assert(alignof(ChipImage) == 1);
static_assert(sizeof(TableAccessImage) == 2 + 2 + 2 * kPorts + 11);
static_assert(sizeof(VlanImage) == 3 + 3 + 8 + 8 * (kLastVid + 1));
static_assert(sizeof(ChipImage) == 4 + kVersionLength + 21 * kPorts + 25 + 4 * kCounters * kPorts + 2 +
                                       11 * kMaxAddresses + sizeof(TableAccessImage) + sizeof(VlanImage) +
                                       kPages * kPageSize);

} // namespace hwa
