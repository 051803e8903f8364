// SPDX-License-Identifier: Apache-2.0
#include "state/clock.h"

#include "problem.h"
#include "state/transaction.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <string>

namespace hwa {
namespace {

uint64_t now() {
    const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(since_epoch).count());
}

} // namespace

Clock::Clock(std::string_view text) {
    if (text.empty()) {
        return;
    }
    uint32_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view unit(stop, static_cast<size_t>(text.data() + text.size() - stop));
    const uint64_t microseconds = unit == "us" ? 1 : unit == "ms" ? 1'000 : unit == "s" ? kSecond : 0;
    if (error != std::errc{} || microseconds == 0) {
        throw Unusable("\"" + std::string(text) + "\" must be a time for each access, such as 10ms or 0s");
    }
    step_ = number * microseconds;
}

void Clock::advance(Transaction &transaction, const ChipImage &chip) const {
    uint64_t passed = 0;
    if (step_) {
        passed = *step_;
    } else {
        const uint64_t before = from_bytes(chip.seen);
        const uint64_t after = now();
        passed = before != 0 && after > before ? after - before : 0; // the clock may have been set back
        transaction.store(chip.seen, to_bytes<8>(after));
    }
    // At the end of time it stops: going round, links would have come in the future.
    transaction.store(chip.time, to_bytes<8>(time_of(chip) + std::min(passed, UINT64_MAX - time_of(chip))));
}

} // namespace hwa
