// SPDX-License-Identifier: Apache-2.0
// Numbers of 32 and 16 bits whose first byte in memory is the most significant one, on every host, as the chip's
// registers are. Bit 0 is the least significant one.
#pragma once

#include <cstdint>

namespace ksl {

inline uint32_t load_word(const void *memory) {
    const auto bytes = static_cast<const uint8_t *>(memory);
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | uint32_t{bytes[3]};
}

inline void store_word(uint32_t word, void *memory) {
    const auto bytes = static_cast<uint8_t *>(memory);
    bytes[0] = static_cast<uint8_t>(word >> 24);
    bytes[1] = static_cast<uint8_t>(word >> 16);
    bytes[2] = static_cast<uint8_t>(word >> 8);
    bytes[3] = static_cast<uint8_t>(word);
}

inline uint32_t load_half(const void *memory) {
    const auto bytes = static_cast<const uint8_t *>(memory);
    return uint32_t{bytes[0]} << 8 | uint32_t{bytes[1]};
}

inline void store_half(uint32_t half, void *memory) {
    const auto bytes = static_cast<uint8_t *>(memory);
    bytes[0] = static_cast<uint8_t>(half >> 8);
    bytes[1] = static_cast<uint8_t>(half);
}

// The `width` bits of a number from bit `lowest` upwards.
constexpr uint32_t field(uint32_t number, uint32_t lowest, uint32_t width) {
    return number >> lowest & ((1u << width) - 1);
}

// The number with those bits replaced; bits of `value` above the width are dropped.
constexpr uint32_t with_field(uint32_t number, uint32_t lowest, uint32_t width, uint32_t value) {
    const uint32_t mask = ((1u << width) - 1) << lowest;
    return (number & ~mask) | (value << lowest & mask);
}

} // namespace ksl
