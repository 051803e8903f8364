// SPDX-License-Identifier: Apache-2.0
// A chip's register space: 256 pages of 256 bytes, some of which are more than that.
#pragma once

#include "image.h"

#include <optional>
#include <span>

namespace hwa {

class Transaction;

// What states a byte of the register space in a scenario when it is more than a byte; else null.
const char *scenario_key_of(Byte page, Byte offset);

// The port that a register belongs to, if any.
std::optional<unsigned> port_of(Byte page, Byte offset);

// Whether a register of this length fits at the offset.
bool is_register(Byte offset, std::uint32_t length);

// Both want a register that fits.
void read_register(Transaction &transaction, const ChipImage &chip, Byte page, Byte offset, std::span<Byte> bytes);
void write_register(Transaction &transaction, const ChipImage &chip, Byte page, Byte offset,
                    std::span<const Byte> bytes);

} // namespace hwa
