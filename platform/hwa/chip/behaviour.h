// SPDX-License-Identifier: Apache-2.0
// Registers that are more than stored bytes.
#pragma once

#include "state/image.h"

#include <ksl/registers.h>
#include <span>

namespace hwa {

class Transaction;

// A register whose value follows from the chip's state; what is written to it is lost.
struct Behaviour {
    ksl_register place;
    const char *key; // what states it in a scenario
    // The register's value, in its low `length` bytes.
    uint64_t (*derive)(const ChipImage &chip, size_t port);
    // What reading changes. Bytes that were not read are zero in `delivered`. May be null.
    void (*taken)(Transaction &transaction, const ChipImage &chip, uint64_t delivered);
};

extern const std::span<const Behaviour> kStatusRegisters;

// A register that answers only at its own offset and shares no byte with its neighbours, although its length
// reaches into theirs. A read gets the register's bytes, then zeros; a write uses as many bytes as the register has.
struct Window {
    ksl_register place;
    const char *key; // what states it in a scenario
    void (*read)(Transaction &transaction, const ChipImage &chip, std::span<uint8_t> bytes);
    void (*write)(Transaction &transaction, const ChipImage &chip, std::span<const uint8_t> bytes);
};

extern const std::span<const Window> kAddressTable;
extern const std::span<const Window> kVlanTable;

} // namespace hwa
