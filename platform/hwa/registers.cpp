// SPDX-License-Identifier: Apache-2.0
#include "registers.h"

#include "behaviour.h"
#include "transaction.h"

#include <algorithm>
#include <array>

namespace hwa {
namespace {

const Behaviour *behaviour_at(Byte page, Byte offset) {
    for (const Behaviour &behaviour : kStatusRegisters) {
        if (page == behaviour.page && offset >= behaviour.offset && offset - behaviour.offset < behaviour.length)
            return &behaviour;
    }
    return nullptr;
}

// Registers that stand in a row, one for each port.
struct PortRow {
    Byte first_page;
    Byte page_step;
    Byte first_offset;
    Byte offset_step; // 0: the whole page belongs to the port
};

constexpr PortRow kPortRows[] = {
    {0x00, 0, 0xD0, 1}, // port control
    {0x10, 1, 0x00, 0}, // PHY
    {0x34, 0, 0x10, 2}, // default VLAN
    {0x41, 0, 0x30, 2}, // learned addresses
    {0x41, 0, 0x70, 2}, // learning threshold
    {0x50, 1, 0x00, 0}, // counters
};

} // namespace

bool is_derived(Byte page, Byte offset) {
    return behaviour_at(page, offset) != nullptr;
}

std::optional<unsigned> port_of(Byte page, Byte offset) {
    for (const PortRow &row : kPortRows) {
        const bool by_page = row.page_step != 0;
        const unsigned place = by_page ? page : offset;
        const unsigned first = by_page ? row.first_page : row.first_offset;
        const unsigned step = by_page ? row.page_step : row.offset_step;
        if ((by_page || page == row.first_page) && place >= first && place < first + step * kPorts)
            return (place - first) / step;
    }
    return std::nullopt;
}

bool is_register(Byte offset, std::uint32_t length) {
    return length >= 1 && length <= kMaxRegister && offset + length <= kPageSize;
}

void read_register(Transaction &transaction, const ChipImage &chip, Byte page, Byte offset, std::span<Byte> bytes) {
    const Behaviour *behind = nullptr;
    std::uint64_t value = 0;
    std::uint64_t delivered = 0;
    const auto take = [&] {
        if (behind != nullptr && behind->taken != nullptr)
            behind->taken(transaction, chip, delivered);
    };
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto at = static_cast<Byte>(offset + i);
        if (const Behaviour *const found = behaviour_at(page, at); found != behind) {
            take();
            behind = found;
            value = found != nullptr ? found->derive(chip) : 0;
            delivered = 0;
        }
        if (behind == nullptr) {
            bytes[i] = chip.pages[page][at];
            continue;
        }
        const int shift = 8 * (behind->offset + behind->length - 1 - at);
        bytes[i] = static_cast<Byte>(value >> shift);
        delivered |= std::uint64_t{bytes[i]} << shift;
    }
    take();
}

void write_register(Transaction &transaction, const ChipImage &chip, Byte page, Byte offset,
                    std::span<const Byte> bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        // What is stored beneath a derived register is never shown.
        transaction.store(chip.pages[page][offset + i], bytes[i]);
    }
}

} // namespace hwa
