// SPDX-License-Identifier: Apache-2.0
// What every entry point does in addition to its own work: faults, the state's lock, the log.
#pragma once

#include "function_ref.h"
#include "scenario/faults.h"
#include "state/transaction.h"

#include <span>

namespace hwa {

// What an access sees of the hub.
struct Visit {
    Transaction &transaction;
    const ChipImage &chip;
    const Effects &effects;
    std::string &answer; // what the log shows after the result
};

// What the log shows of the request.
using Describe = FunctionRef<std::string()>;

// Carries out one access and returns its result. `work` runs only if the chip exists and no fault replaces the
// result. Throws nothing.
int32_t perform(const Access &access, Describe describe, FunctionRef<int32_t(const Visit &)> work) noexcept;

// The same for an access that concerns no chip.
int32_t perform_without_chip(Entry entry, Describe describe, FunctionRef<int32_t()> work) noexcept;

// Reads a register for one of the entry points that do so.
int32_t read_access(Entry entry, uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer,
                    Describe describe) noexcept;

// A register's place, as the log shows it.
std::string place(uint8_t page, uint8_t offset, uint32_t length);

// Copies bytes as the faults demand: only the first ones, or inverted. Returns those that arrive.
std::span<uint8_t> pass(const Effects &effects, std::span<const uint8_t> bytes, uint8_t *to);

// One line that describes the hub.
const char *description() noexcept;

} // namespace hwa
