// SPDX-License-Identifier: Apache-2.0
// The ports' counters and the traffic that moves them.
#pragma once

#include "image.h"

#include <optional>

namespace hwa {

// The place of a counter in its port's page, and in the rates of the port.
struct Counter {
    Byte offset;
    Byte length;
    std::size_t number;
};

// The counter that has a byte of a counter page.
std::optional<Counter> counter_at(Byte offset);

// What a byte of a port's counter page shows.
Byte counter_byte(const ChipImage &chip, std::size_t port, Byte offset);

} // namespace hwa
