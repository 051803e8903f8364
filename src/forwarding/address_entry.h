// SPDX-License-Identifier: Apache-2.0
// Fields of an address table entry.
#pragma once

#include "frame/words.h"

#include <ksl/ksl.h>

namespace ksl {

// The `width` bits from bit `lowest` upwards of a register of 8 bytes, all of them in its first 4.
inline uint32_t upper_field(const uint8_t *bytes, uint32_t lowest, uint32_t width) {
    return field(load_word(bytes), lowest - 32, width);
}

inline uint32_t port_of(const ksl_raw_arl_entry &entry) {
    return upper_field(entry.bytes, 48, 5);
}

inline uint32_t flag55_of(const ksl_raw_arl_entry &entry) {
    return upper_field(entry.bytes, 55, 1);
}

} // namespace ksl
