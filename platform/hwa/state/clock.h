// SPDX-License-Identifier: Apache-2.0
// The time of the chips: it passes by itself, or with each access.
#pragma once

#include "state/image.h"

#include <optional>
#include <string_view>

namespace hwa {

class Transaction;

inline constexpr uint64_t kSecond = 1'000'000; // the chips count microseconds

class Clock {
public:
    Clock() = default;
    // "10ms": so much passes with each access. Empty: it passes by itself. Throws Unusable.
    explicit Clock(std::string_view text);

    // Adds what has passed for a chip since its last access.
    void advance(Transaction &transaction, const ChipImage &chip) const;

private:
    std::optional<uint64_t> step_;
};

// Microseconds since the chip's start.
inline uint64_t time_of(const ChipImage &chip) {
    return from_bytes(chip.time);
}

} // namespace hwa
