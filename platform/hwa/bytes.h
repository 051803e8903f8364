// SPDX-License-Identifier: Apache-2.0
// Numbers as bytes, most significant first, whatever the host's order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace hwa {

using Byte = std::uint8_t;

template <std::size_t Size>
constexpr std::array<Byte, Size> to_bytes(std::uint64_t value) {
    std::array<Byte, Size> bytes{};
    for (std::size_t i = Size; i-- > 0; value >>= 8)
        bytes[i] = static_cast<Byte>(value);
    return bytes;
}

template <std::size_t Size>
constexpr std::uint64_t from_bytes(const std::array<Byte, Size> &bytes) {
    std::uint64_t value = 0;
    for (const Byte byte : bytes)
        value = value << 8 | byte;
    return value;
}

} // namespace hwa
