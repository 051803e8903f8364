// SPDX-License-Identifier: Apache-2.0
// Register accesses as the operations make them: each leaves either a dump of its bytes or a failure record.
#pragma once

#include "frame/trace.h"

namespace ksl {

// A place on the chip; the shims truncate page and offset, the failure records do not.
struct Register {
    uint32_t page;
    uint32_t offset;
    uint32_t length;
};

// No register is longer.
constexpr uint32_t kRegisterBytes = 8;

// Reads a register and dumps its bytes, or records the failure at the operation's line.
int32_t read_register(uint32_t chip, const Register &place, uint8_t *bytes, uint32_t line = __builtin_LINE());

} // namespace ksl
