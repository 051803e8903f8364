// SPDX-License-Identifier: Apache-2.0
// The hub's state, the same in memory and in the state file. It consists of bytes; numbers have the most significant
// byte first. So processes of either byte order and word size can share it.
#pragma once

#include "state/bytes.h"

#include <array>
#include <ksl/ksl.h>

namespace hwa {

inline constexpr size_t kPorts = KSL_PORTS;
inline constexpr size_t kPages = 256;
inline constexpr size_t kPageSize = 256;
inline constexpr size_t kMaxRegister = 8;
inline constexpr size_t kMaxAddresses = 8192;
inline constexpr size_t kMaxChips = 8;
inline constexpr size_t kCounters = 22; // of a port
inline constexpr size_t kVersionLength = 9;
inline constexpr size_t kLastVid = 4094; // 0 is no VLAN

// The bytes are 0 or 1. The first three describe the other end of the cable.
struct PortImage {
    uint8_t partner;
    uint8_t partner_fast; // can do 100 Mb/s; else only 10
    uint8_t partner_full_duplex;
    uint8_t test_failed;
    uint8_t link_changed;          // since the link change register was last read
    std::array<uint8_t, 8> since;  // when the link last came or went
    std::array<uint8_t, 8> active; // how long there was a link before that
};

// An address, as the address table has it.
struct AddressImage {
    std::array<uint8_t, 8> raw; // the port in the low 5 bits of the second byte, then the MAC address
    std::array<uint8_t, 2> vid;
    uint8_t silent; // never heard again
};
inline constexpr uint8_t kStaticAddress = 0x80; // in the second byte of the raw entry

// A position in the address table.
struct ScanImage {
    std::array<uint8_t, 2> index;
    std::array<std::array<uint8_t, 2>, kPorts> learned; // addresses of each port so far
};

enum TableAccessMode : uint8_t { kIdle, kWalking, kSearching };

// The first look of a search and each one after so many results finds nothing yet.
inline constexpr uint64_t kResultsAtOnce = 4;

// The walk or search of the address table that is under way.
struct TableAccessImage {
    uint8_t mode; // TableAccessMode
    uint8_t looks;
    ScanImage scan;
    AddressImage result;
};

using VlanEntry = std::array<uint8_t, 8>;
inline constexpr uint8_t kVlanFirstByte = 0x0F; // the table does not store bits 60 to 63 of an entry

// In the first byte of the command. It reads as 0, for the command is carried out at once.
inline constexpr uint8_t kVlanStart = 0x80;

// The VLAN table and the registers through which it is reached.
struct VlanImage {
    std::array<uint8_t, 3> command;
    std::array<uint8_t, 3> address;
    VlanEntry entry;
    std::array<VlanEntry, kLastVid + 1> entries; // by VLAN id
};

struct ChipImage {
    uint8_t present;
    uint8_t number;
    uint8_t managed;
    uint8_t forwarding;
    std::array<uint8_t, kVersionLength> firmware;
    std::array<PortImage, kPorts> ports;
    std::array<uint8_t, 8> time; // in microseconds since the start
    std::array<uint8_t, 8> seen; // real time at the last access, if it counts
    uint8_t was_reset;           // 1 after a reset: only addresses heard since then are known
    std::array<uint8_t, 8> seed;
    std::array<std::array<std::array<uint8_t, 4>, kCounters>, kPorts> rates; // per second
    std::array<uint8_t, 2> address_count;
    std::array<AddressImage, kMaxAddresses> addresses;
    TableAccessImage table_access;
    VlanImage vlan;
    std::array<std::array<uint8_t, kPageSize>, kPages> pages; // the registers that are nothing but bytes
};

static_assert(alignof(ChipImage) == 1);
static_assert(sizeof(TableAccessImage) == 2 + 2 + 2 * kPorts + 11);
static_assert(sizeof(VlanImage) == 3 + 3 + 8 + 8 * (kLastVid + 1));
static_assert(sizeof(ChipImage) == 4 + kVersionLength + 21 * kPorts + 25 + 4 * kCounters * kPorts + 2 +
                                       11 * kMaxAddresses + sizeof(TableAccessImage) + sizeof(VlanImage) +
                                       kPages * kPageSize);

} // namespace hwa
