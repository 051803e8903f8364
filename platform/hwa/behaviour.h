// SPDX-License-Identifier: Apache-2.0
// What stands behind registers that are more than stored bytes.
#pragma once

#include "image.h"

#include <span>

namespace hwa {

class Transaction;

// A register whose value follows from the chip's state; what is written to it is lost.
struct Behaviour {
    Byte page;
    Byte offset;
    Byte length;
    // The register's value, in its low `length` bytes.
    std::uint64_t (*derive)(const ChipImage &chip);
    // What a read has for a consequence; the bytes that were not read are zero in `delivered`. May be null.
    void (*taken)(Transaction &transaction, const ChipImage &chip, std::uint64_t delivered);
};

extern const std::span<const Behaviour> kStatusRegisters;

} // namespace hwa
