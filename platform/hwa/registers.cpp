// SPDX-License-Identifier: Apache-2.0
#include "registers.h"

#include "behaviour.h"
#include "counters.h"
#include "ports.h"
#include "transaction.h"

#include <algorithm>
#include <array>

namespace hwa {
namespace {

bool covers(Byte first, unsigned length, Byte place) {
    return place >= first && place - first < static_cast<int>(length);
}

// A behaviour and the one of its registers that is meant.
struct Found {
    const Behaviour *behaviour = nullptr;
    std::size_t port = 0;
    Byte offset = 0;

    bool operator==(const Found &) const = default;
};

Found behaviour_at(Byte page, Byte offset) {
    for (const Behaviour &behaviour : kStatusRegisters) {
        const unsigned pages = behaviour.row == Row::pages ? kPorts : 1;
        const unsigned registers = behaviour.row == Row::registers ? kPorts : 1;
        if (!covers(behaviour.page, pages, page) || !covers(behaviour.offset, registers * behaviour.length, offset))
            continue;
        const auto number = static_cast<std::size_t>((offset - behaviour.offset) / behaviour.length);
        return {&behaviour, number + page - behaviour.page,
                static_cast<Byte>(behaviour.offset + number * behaviour.length)};
    }
    return {};
}

constexpr const std::span<const Window> *kWindows[] = {&kAddressTable, &kVlanTable};

const Window *window_at(Byte page, Byte offset) {
    for (const auto *const windows : kWindows) {
        for (const Window &window : *windows) {
            if (page == window.page && offset == window.offset)
                return &window;
        }
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
    {kPortControlPage, 0, kPortControl, 1},
    {kPhyPage, 1, 0x00, 0},
    {kVlanPage, 0, kPvid, 2},
    {kLearningPage, 0, kLearnedCount, 2},
    {kLearningPage, 0, kThreshold, 2},
    {kCounterPage, 1, 0x00, 0},
};

} // namespace

const char *scenario_key_of(Byte page, Byte offset) {
    if (const Found found = behaviour_at(page, offset); found.behaviour != nullptr)
        return found.behaviour->key;
    for (const auto *const windows : kWindows) {
        for (const Window &window : *windows) {
            if (page == window.page && covers(window.offset, window.length, offset))
                return window.key;
        }
    }
    // Bits of it would have to be obeyed.
    if (covers(kPhyPage, kPorts, page) && offset < 2)
        return "ports";
    return nullptr;
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
    if (const Window *const window = window_at(page, offset)) {
        std::fill(bytes.begin(), bytes.end(), Byte{0});
        window->read(transaction, chip, bytes);
        return;
    }
    Found behind;
    std::uint64_t value = 0;
    std::uint64_t delivered = 0;
    const auto take = [&] {
        if (behind.behaviour != nullptr && behind.behaviour->taken != nullptr)
            behind.behaviour->taken(transaction, chip, delivered);
    };
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto at = static_cast<Byte>(offset + i);
        if (const Found found = behaviour_at(page, at); found != behind) {
            take();
            behind = found;
            value = found.behaviour != nullptr ? found.behaviour->derive(chip, found.port) : 0;
            delivered = 0;
        }
        if (behind.behaviour == nullptr) {
            bytes[i] = covers(kCounterPage, kPorts, page) ? counter_byte(chip, page - std::size_t{kCounterPage}, at)
                                                          : chip.pages[page][at];
            continue;
        }
        const int shift = 8 * (behind.offset + behind.behaviour->length - 1 - at);
        bytes[i] = static_cast<Byte>(value >> shift);
        delivered |= std::uint64_t{bytes[i]} << shift;
    }
    take();
}

void write_register(Transaction &transaction, const ChipImage &chip, Byte page, Byte offset,
                    std::span<const Byte> bytes) {
    if (const Window *const window = window_at(page, offset)) {
        window->write(transaction, chip, bytes);
        return;
    }
    const PortWrite ports(chip);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        // What is stored beneath a derived register is never shown.
        transaction.store(chip.pages[page][offset + i], bytes[i]);
    }
    ports.settle(transaction, page);
}

} // namespace hwa
