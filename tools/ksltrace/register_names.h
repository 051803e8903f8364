// SPDX-License-Identifier: Apache-2.0
// The switch chip's registers by name.
#pragma once

#include <cstdint>
#include <string>

namespace ksltrace {

// "link status", "PVID of port 3"; empty for a register without a name. Only the low 8 bits of page and offset reach
// the chip.
std::string register_name(uint32_t page, uint32_t offset);

} // namespace ksltrace
