// SPDX-License-Identifier: Apache-2.0
// A chip's registers: 256 pages of 256 bytes, most of which are nothing but stored.
#pragma once

#include "state/image.h"

#include <optional>
#include <span>

namespace hwa {

class Transaction;

// The scenario key that states a byte which is more than a stored byte; null for any other byte.
const char *scenario_key_of(uint8_t page, uint8_t offset);

// The port that a register belongs to, if any.
std::optional<unsigned> port_of(uint8_t page, uint8_t offset);

// Whether a register of this length fits at the offset.
bool is_register(uint8_t offset, uint32_t length);

// Both need a register that fits.
void read_register(Transaction &transaction, const ChipImage &chip, uint8_t page, uint8_t offset,
                   std::span<uint8_t> bytes);
void write_register(Transaction &transaction, const ChipImage &chip, uint8_t page, uint8_t offset,
                    std::span<const uint8_t> bytes);

} // namespace hwa
