// SPDX-License-Identifier: Apache-2.0
// Numbers as bytes, most significant first, whatever the host's order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace hwa {

template <size_t Size>
constexpr std::array<uint8_t, Size> to_bytes(uint64_t value) {
    std::array<uint8_t, Size> bytes{};
    for (size_t i = Size; i-- > 0; value >>= 8) {
        bytes[i] = static_cast<uint8_t>(value);
    }
    return bytes;
}

template <size_t Size>
constexpr uint64_t from_bytes(const std::array<uint8_t, Size> &bytes) {
    uint64_t value = 0;
    for (const uint8_t byte : bytes) {
        value = value << 8 | byte;
    }
    return value;
}

} // namespace hwa
