// SPDX-License-Identifier: Apache-2.0
#include "counters.h"

#include "clock.h"
#include "ports.h"

namespace hwa {
namespace {

struct Place {
    Byte offset;
    Byte length;
};

constexpr Place kCounterPlaces[] = {
    {0x00, 8}, {0x08, 4}, {0x10, 4}, {0x18, 4}, {0x1C, 4}, {0x30, 4}, {0x38, 4}, {0x50, 4},
    {0x54, 4}, {0x58, 4}, {0x5C, 4}, {0x60, 4}, {0x64, 4}, {0x68, 4}, {0x70, 4}, {0x74, 4},
    {0x78, 4}, {0x7C, 8}, {0x84, 4}, {0x88, 4}, {0x90, 4}, {0x98, 4},
};
static_assert(std::size(kCounterPlaces) == kCounters);

// Well mixed bits that depend on nothing but the number.
std::uint64_t mixed(std::uint64_t number) {
    number += 0x9E3779B97F4A7C15U;
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9U;
    number = (number ^ number >> 27) * 0x94D049BB133111EBU;
    return number ^ number >> 31;
}

// What a counter gets in the first so many seconds: about the rate in each, but from half of it to one and a half.
std::uint64_t counted(std::uint64_t rate, std::uint64_t source, std::uint64_t seconds) {
    constexpr unsigned kFraction = 16;
    const std::uint64_t share = seconds != 0 ? mixed(source + seconds) >> (64 - kFraction) : 0;
    return rate * seconds + (rate * share >> (kFraction + 1));
}

std::uint64_t traffic(const ChipImage &chip, std::size_t port, std::size_t counter) {
    const std::uint64_t rate = from_bytes(chip.rates[port][counter]);
    const std::uint64_t active = active_time(chip, port);
    const std::uint64_t seconds = active / kSecond;
    const std::uint64_t source = mixed(mixed(from_bytes(chip.seed)) + port * kCounters + counter);
    const std::uint64_t whole = counted(rate, source, seconds);
    return whole + (counted(rate, source, seconds + 1) - whole) * (active % kSecond) / kSecond;
}

} // namespace

std::optional<Counter> counter_at(Byte offset) {
    for (std::size_t i = 0; i < kCounters; ++i) {
        const Place &place = kCounterPlaces[i];
        if (offset >= place.offset && offset < place.offset + place.length)
            return Counter{place.offset, place.length, i};
    }
    return std::nullopt;
}

Byte counter_byte(const ChipImage &chip, std::size_t port, Byte offset) {
    const auto &page = chip.pages[kCounterPage + port];
    const std::optional<Counter> counter = counter_at(offset);
    if (!counter)
        return page[offset];
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < counter->length; ++i)
        value = value << 8 | page[counter->offset + i];
    value += traffic(chip, port, counter->number);
    return static_cast<Byte>(value >> 8 * (counter->offset + counter->length - 1 - offset));
}

} // namespace hwa
