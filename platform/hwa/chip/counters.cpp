// SPDX-License-Identifier: Apache-2.0
#include "chip/counters.h"

#include "chip/ports.h"
#include "state/clock.h"

#include <ksl/registers.h>

namespace hwa {
namespace {

struct Place {
    uint8_t offset;
    uint8_t length;
};

#define ROW(offset, length) {offset, length},
constexpr Place kCounterPlaces[] = {KSL_COUNTERS(ROW)};
#undef ROW
static_assert(std::size(kCounterPlaces) == kCounters);

// A hash of the number.
uint64_t mixed(uint64_t number) {
    number += 0x9E3779B97F4A7C15U;
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9U;
    number = (number ^ number >> 27) * 0x94D049BB133111EBU;
    return number ^ number >> 31;
}

// What a counter gains in so many seconds: in each, between half the rate and one and a half of it.
uint64_t counted(uint64_t rate, uint64_t source, uint64_t seconds) {
    constexpr unsigned kFraction = 16;
    const uint64_t share = seconds != 0 ? mixed(source + seconds) >> (64 - kFraction) : 0;
    return rate * seconds + (rate * share >> (kFraction + 1));
}

uint64_t traffic(const ChipImage &chip, size_t port, size_t counter) {
    const uint64_t rate = from_bytes(chip.rates[port][counter]);
    const uint64_t active = active_time(chip, port);
    const uint64_t seconds = active / kSecond;
    const uint64_t source = mixed(mixed(from_bytes(chip.seed)) + port * kCounters + counter);
    const uint64_t whole = counted(rate, source, seconds);
    return whole + (counted(rate, source, seconds + 1) - whole) * (active % kSecond) / kSecond;
}

} // namespace

std::optional<Counter> counter_at(uint8_t offset) {
    for (size_t i = 0; i < kCounters; ++i) {
        const Place &place = kCounterPlaces[i];
        if (offset >= place.offset && offset < place.offset + place.length) {
            return Counter{place.offset, place.length, i};
        }
    }
    return std::nullopt;
}

uint8_t counter_byte(const ChipImage &chip, size_t port, uint8_t offset) {
    const auto &page = chip.pages[KSL_COUNTER_PAGE + port];
    const std::optional<Counter> counter = counter_at(offset);
    if (!counter) {
        return page[offset];
    }
    uint64_t value = 0;
    for (size_t i = 0; i < counter->length; ++i) {
        value = value << 8 | page[counter->offset + i];
    }
    value += traffic(chip, port, counter->number);
    return static_cast<uint8_t>(value >> 8 * (counter->offset + counter->length - 1 - offset));
}

} // namespace hwa
