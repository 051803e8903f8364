// SPDX-License-Identifier: Apache-2.0
// Fields in the first word of an address table entry.
#pragma once

#include "frame/words.h"

namespace ksl {

inline uint32_t port_of(uint32_t word) {
    return field(word, 16, 5);
}

inline uint32_t flag55_of(uint32_t word) {
    return field(word, 23, 1);
}

} // namespace ksl
