// SPDX-License-Identifier: Apache-2.0
// The counters of a port in the order in which they are asked for, placed and traced.
#pragma once

#include <cstdint>

namespace ksl::test {

struct RequestedCounter {
    uint32_t offset;
    uint32_t length;
    // Its place in the port's block, and that of the word that is traced.
    uint32_t position;
    uint32_t traced;
};

constexpr RequestedCounter kRequestedCounters[] = {
    {0x00, 8, 8, 12},  {0x7C, 8, 0, 4},   {0x18, 4, 16, 16}, {0x88, 4, 20, 20}, {0x08, 4, 24, 24}, {0x08, 4, 24, 24},
    {0x90, 4, 64, 64}, {0x1C, 4, 36, 36}, {0x30, 4, 40, 40}, {0x38, 4, 44, 44}, {0x50, 4, 48, 48}, {0x54, 4, 72, 72},
    {0x58, 4, 76, 76}, {0x5C, 4, 80, 80}, {0x60, 4, 84, 84}, {0x64, 4, 88, 88}, {0x68, 4, 92, 92}, {0x70, 4, 52, 52},
    {0x74, 4, 56, 56}, {0x78, 4, 60, 60}, {0x90, 4, 64, 64}, {0x98, 4, 68, 68},
};

} // namespace ksl::test
