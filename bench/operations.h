// SPDX-License-Identifier: Apache-2.0
// Each operation and the bare platform calls that it has to make, for the programs that time and count them.
#pragma once

#include <cstdint>
#include <span>

namespace ksl::bench {

struct Measured {
    const char *name;
    int32_t (*operation)();
    // The same stamps, look-ups, accesses, records and copies, written out with nothing around them.
    int32_t (*bare)();
    // How often a call does what is measured.
    uint32_t times = 1;
};

std::span<const Measured> operations();

// ksl_init(); where the loader has not found the plain libhwa.so, says so and returns false.
bool open();

} // namespace ksl::bench
