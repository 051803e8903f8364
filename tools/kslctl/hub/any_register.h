// SPDX-License-Identifier: Apache-2.0
// Registers by their places, for debugging.
#pragma once

#include "kslctl/hub/changes.h"
#include "ksltrace/decoder.h"

namespace kslctl::hub {

// A register for read() and change_chip(), always read and written by the operations for any register.
Register register_at(uint32_t page, uint32_t offset, uint32_t length);

Change new_bytes(const Register &which, const Bytes &bytes);

// What dbg_ksl_dump_reg() reads. It delivers the registers in the library's trace and nowhere else.
Fact<std::vector<Reading>> dump_registers(uint32_t chip, Failures &failures);

// The registers of the last dump in the trace, in their order; none if one is missing.
std::optional<std::vector<Reading>> dumped_registers(const ksltrace::Trace &trace);

} // namespace kslctl::hub
