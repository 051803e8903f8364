// SPDX-License-Identifier: Apache-2.0
// What dbg_ksl_dump_reg() wrote into the trace; it tells it nowhere else.
#pragma once

#include "kslctl/status_bits.h"
#include "ksltrace/decoder.h"

#include <optional>
#include <vector>

namespace kslctl {

struct DumpedRegister {
    uint32_t page;
    uint32_t offset;
    size_t length;
    Bytes bytes;
};

// The registers of the last dump in the trace, in their order; none when it is not all there.
std::optional<std::vector<DumpedRegister>> dumped_registers(const ksltrace::Trace &trace);

} // namespace kslctl
