// SPDX-License-Identifier: Apache-2.0
// A chip's register space: 256 pages of 256 bytes, some of them with a behaviour behind them.
#pragma once

#include "image.h"

#include <optional>
#include <span>

namespace hwa {

class Transaction;

// Whether a byte of the register space follows from the chip's state.
bool is_derived(Byte page, Byte offset);

// The port that a register belongs to, if any.
std::optional<unsigned> port_of(Byte page, Byte offset);

// Whether a register of this length fits at the offset.
bool is_register(Byte offset, std::uint32_t length);

// Both want a register that fits.
void read_register(Transaction &transaction, const ChipImage &chip, Byte page, Byte offset, std::span<Byte> bytes);
void write_register(Transaction &transaction, const ChipImage &chip, Byte page, Byte offset,
                    std::span<const Byte> bytes);

} // namespace hwa
