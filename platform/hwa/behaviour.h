// SPDX-License-Identifier: Apache-2.0
// What stands behind registers that are more than stored bytes.
#pragma once

#include "image.h"

#include <span>

namespace hwa {

class Transaction;

// Where the registers of a kind are.
enum class Row {
    single,   // there is one
    pages,    // one for each port, on pages that follow one another
    registers // one for each port, behind one another on the same page
};

// A register whose value follows from the chip's state; what is written to it is lost.
struct Behaviour {
    Byte page; // the first port's, as is the offset
    Byte offset;
    Byte length;
    Row row;
    const char *key; // what states it in a scenario
    // The register's value, in its low `length` bytes.
    std::uint64_t (*derive)(const ChipImage &chip, std::size_t port);
    // What a read has for a consequence; the bytes that were not read are zero in `delivered`. May be null.
    void (*taken)(Transaction &transaction, const ChipImage &chip, std::uint64_t delivered);
};

extern const std::span<const Behaviour> kStatusRegisters;

// A register that is reached by its own offset only and shares no byte with its neighbours, though its length
// makes it seem to reach into them. Reading fills in the first bytes of what is wanted, the rest is zero;
// writing looks at the first bytes of what is given.
struct Window {
    Byte page;
    Byte offset;
    Byte length;
    const char *key; // what states it in a scenario
    void (*read)(Transaction &transaction, const ChipImage &chip, std::span<Byte> bytes);
    void (*write)(Transaction &transaction, const ChipImage &chip, std::span<const Byte> bytes);
};

extern const std::span<const Window> kAddressTable;
extern const std::span<const Window> kVlanTable;

} // namespace hwa
