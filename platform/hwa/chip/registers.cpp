// SPDX-License-Identifier: Apache-2.0
#include "chip/registers.h"

#include "chip/behaviour.h"
#include "chip/counters.h"
#include "chip/ports.h"
#include "chip/stored.h"
#include "state/transaction.h"

#include <algorithm>
#include <array>

namespace hwa {
namespace {

bool covers(size_t first, size_t length, uint8_t place) {
    return place >= first && place - first < length;
}

// The port whose register has a byte; 0 for a register that the chip has once.
std::optional<size_t> port_at(const ksl_register &place, uint8_t page, uint8_t offset) {
    const size_t ports = place.page_step == 0 && place.offset_step == 0 ? 1 : kPorts;
    for (size_t port = 0; port < ports; ++port) {
        if (page == page_of(place, port) && covers(offset_of(place, port), place.length, offset)) {
            return port;
        }
    }
    return std::nullopt;
}

// A register with a behaviour, and the port that it belongs to.
struct Found {
    const Behaviour *behaviour = nullptr;
    size_t port = 0;

    bool operator==(const Found &) const = default;
};

Found behaviour_at(uint8_t page, uint8_t offset) {
    for (const Behaviour &behaviour : kStatusRegisters) {
        if (const std::optional<size_t> port = port_at(behaviour.place, page, offset)) {
            return {&behaviour, *port};
        }
    }
    return {};
}

constexpr const std::span<const Window> *kWindows[] = {&kAddressTable, &kVlanTable};

const Window *window_at(uint8_t page, uint8_t offset) {
    for (const auto *const windows : kWindows) {
        for (const Window &window : *windows) {
            if (page == window.place.page && offset == window.place.offset) {
                return &window;
            }
        }
    }
    return nullptr;
}

#define ROW(name, text, page, page_step, offset, offset_step, length) ksl_##name##_register,
constexpr ksl_register kRegisters[] = {KSL_REGISTERS(ROW)};
#undef ROW

} // namespace

const char *scenario_key_of(uint8_t page, uint8_t offset) {
    if (const Found found = behaviour_at(page, offset); found.behaviour != nullptr) {
        return found.behaviour->key;
    }
    for (const auto *const windows : kWindows) {
        for (const Window &window : *windows) {
            if (port_at(window.place, page, offset)) {
                return window.key;
            }
        }
    }
    // Some of its bits are commands.
    if (port_at(ksl_phy_control_register, page, offset)) {
        return "ports";
    }
    return nullptr;
}

std::optional<unsigned> port_of(uint8_t page, uint8_t offset) {
    if (covers(KSL_COUNTER_PAGE, kPorts, page)) {
        return page - unsigned{KSL_COUNTER_PAGE};
    }
    for (const ksl_register &place : kRegisters) {
        // Where each port has a page, the whole page belongs to it.
        if (place.page_step != 0 && covers(place.page, kPorts, page)) {
            return page - unsigned{place.page};
        }
        if (const std::optional<size_t> port = port_at(place, page, offset); port && place.offset_step != 0) {
            return static_cast<unsigned>(*port);
        }
    }
    return std::nullopt;
}

bool is_register(uint8_t offset, uint32_t length) {
    return length >= 1 && length <= kMaxRegister && offset + length <= kPageSize;
}

void read_register(Transaction &transaction, const ChipImage &chip, uint8_t page, uint8_t offset,
                   std::span<uint8_t> bytes) {
    if (const Window *const window = window_at(page, offset)) {
        std::fill(bytes.begin(), bytes.end(), uint8_t{0});
        window->read(transaction, chip, bytes);
        return;
    }
    Found current;
    uint64_t value = 0;
    uint64_t delivered = 0;
    const auto take = [&] {
        if (current.behaviour != nullptr && current.behaviour->taken != nullptr) {
            current.behaviour->taken(transaction, chip, delivered);
        }
    };
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto at = static_cast<uint8_t>(offset + i);
        if (const Found found = behaviour_at(page, at); found != current) {
            take();
            current = found;
            value = found.behaviour != nullptr ? found.behaviour->derive(chip, found.port) : 0;
            delivered = 0;
        }
        if (current.behaviour == nullptr) {
            bytes[i] = covers(KSL_COUNTER_PAGE, kPorts, page) ? counter_byte(chip, page - size_t{KSL_COUNTER_PAGE}, at)
                                                              : chip.pages[page][at];
            continue;
        }
        const ksl_register &place = current.behaviour->place;
        const size_t shift = 8 * (offset_of(place, current.port) + place.length - 1 - at);
        bytes[i] = static_cast<uint8_t>(value >> shift);
        delivered |= uint64_t{bytes[i]} << shift;
    }
    take();
}

void write_register(Transaction &transaction, const ChipImage &chip, uint8_t page, uint8_t offset,
                    std::span<const uint8_t> bytes) {
    if (const Window *const window = window_at(page, offset)) {
        window->write(transaction, chip, bytes);
        return;
    }
    const PortWrite ports(chip);
    for (size_t i = 0; i < bytes.size(); ++i) {
        // Reads of a status register never show these bytes.
        transaction.store(chip.pages[page][offset + i], bytes[i]);
    }
    ports.settle(transaction, page);
}

} // namespace hwa
