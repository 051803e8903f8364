// SPDX-License-Identifier: Apache-2.0
// How time passes for the chips: by itself, or by their being accessed.
#pragma once

#include "image.h"

#include <optional>
#include <string_view>

namespace hwa {

class Transaction;

inline constexpr std::uint64_t kSecond = 1'000'000; // the chips count microseconds

class Clock {
public:
    Clock() = default;
    // By a text such as "10ms": so long for each access. Empty: by itself. Throws Unusable.
    explicit Clock(std::string_view text);

    // Lets pass what has passed for a chip since its last access.
    void advance(Transaction &transaction, const ChipImage &chip) const;

private:
    std::optional<std::uint64_t> step_;
};

// Microseconds since the chip's start.
inline std::uint64_t time_of(const ChipImage &chip) {
    return from_bytes(chip.time);
}

} // namespace hwa
