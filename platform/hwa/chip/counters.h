// SPDX-License-Identifier: Apache-2.0
// The ports' counters and the traffic that moves them.
#pragma once

#include "state/image.h"

#include <optional>

namespace hwa {

// The place of a counter in its port's page, and in the rates of the port.
struct Counter {
    uint8_t offset;
    uint8_t length;
    size_t number;
};

// The counter that has a byte of a counter page.
std::optional<Counter> counter_at(uint8_t offset);

// What a byte of a port's counter page shows.
uint8_t counter_byte(const ChipImage &chip, size_t port, uint8_t offset);

} // namespace hwa
