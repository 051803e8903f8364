// SPDX-License-Identifier: Apache-2.0
// What every entry point does around its own work: faults, the state's lock, the log.
#pragma once

#include "faults.h"
#include "function_ref.h"
#include "transaction.h"

#include <span>

namespace hwa {

// What an access sees of the hub.
struct Visit {
    Transaction &transaction;
    const ChipImage &chip;
    const Effects &effects;
    std::string &answer; // what the log shows after the result
};

// Tells the log what was asked.
using Describe = FunctionRef<std::string()>;

// Carries out one access and returns its result. `work` is done only when no fault forbids it and the chip
// is there. Nothing is thrown.
std::int32_t perform(const Access &access, Describe describe, FunctionRef<std::int32_t(const Visit &)> work) noexcept;

// The same for what concerns no chip.
std::int32_t perform_without_chip(Entry entry, Describe describe, FunctionRef<std::int32_t()> work) noexcept;

// Reads a register for one of the entry points that do so.
std::int32_t read_access(Entry entry, Byte chip, Byte page, Byte offset, std::uint32_t length, Byte *buffer,
                         Describe describe) noexcept;

// A register's place, as the log shows it.
std::string place(Byte page, Byte offset, std::uint32_t length);

// Hands bytes over as the faults have it: only the first ones, or inverted. Returns those that arrive.
std::span<Byte> pass(const Effects &effects, std::span<const Byte> bytes, Byte *to);

// One line that describes the hub.
const char *description() noexcept;

} // namespace hwa
