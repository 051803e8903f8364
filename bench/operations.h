// SPDX-License-Identifier: Apache-2.0
// Each operation beside the bare platform calls that it has to make, for the programs that time and count them.
#pragma once

#include <cstdint>
#include <span>

namespace ksl::bench {

struct Measured {
    const char *name;
    int32_t (*operation)();
    // The same stamps, look-ups, accesses, records and copies, written out with nothing around them.
    int32_t (*bare)();
};

std::span<const Measured> operations();

} // namespace ksl::bench
