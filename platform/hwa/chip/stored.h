// SPDX-License-Identifier: Apache-2.0
// The registers that are nothing but bytes, by their rows in the table of registers.
#pragma once

#include "state/image.h"

#include <ksl/decode.h>
#include <ksl/registers.h>
#include <span>

namespace hwa {

constexpr size_t page_of(const ksl_register &place, size_t port) {
    return place.page + place.page_step * port;
}

constexpr size_t offset_of(const ksl_register &place, size_t port) {
    return place.offset + place.offset_step * port;
}

// The bytes of a register; of a register that each port has, those of the port.
inline std::span<const uint8_t> stored(const ChipImage &chip, const ksl_register &place, size_t port = 0) {
    return std::span(chip.pages[page_of(place, port)]).subspan(offset_of(place, port), place.length);
}

inline std::span<uint8_t> stored(ChipImage &chip, const ksl_register &place, size_t port = 0) {
    return std::span(chip.pages[page_of(place, port)]).subspan(offset_of(place, port), place.length);
}

} // namespace hwa
