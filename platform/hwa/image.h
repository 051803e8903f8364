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

// Each field is 0 or 1. Speed and duplex are those of the link when there is one.
struct PortImage {
    Byte link;
    Byte fast; // 100 Mb/s, else 10
    Byte full_duplex;
    Byte test_failed;
    Byte link_changed; // since the link change register was last read
};

// An address table entry: the port in the low 5 bits of the second byte, bit 7 of it set for a
// static entry; then the MAC address.
using AddressImage = std::array<Byte, 8>;

struct ChipImage {
    Byte present;
    Byte number;
    Byte managed;
    Byte forwarding;
    std::array<PortImage, kPorts> ports;
    std::array<Byte, 2> address_count;
    std::array<AddressImage, kMaxAddresses> addresses;
    std::array<std::array<Byte, kPageSize>, kPages> pages; // what no behaviour stands behind
};

static_assert(alignof(ChipImage) == 1);
static_assert(sizeof(ChipImage) == 4 + 5 * kPorts + 2 + 8 * kMaxAddresses + kPages * kPageSize);

} // namespace hwa
