// SPDX-License-Identifier: Apache-2.0
// An anchor ties the tick counter to the clock: at these ticks it was this time, and the ring stood at this
// record. Between two anchors of one run of the counter time is interpolated; where the clock was set or the
// machine started anew, the rate calibrated by the writer serves.
#pragma once

#include "format.h"

#include <cmath>

namespace trace_kbuf {

struct Anchor {
    uint64_t ticks;
    uint64_t clock_ns; // since 1970-01-01 00:00:00 UTC
    uint32_t head;     // the ring's head then
    uint32_t calibration_ticks;
    uint32_t calibration_ns;
};

inline Anchor anchor_of(const SlotWords &words) {
    const auto pair = [&](uint32_t high) { return (uint64_t{words[high]} << 32) | words[high + 1]; };
    return {pair(kTicksHigh), pair(kClockHigh), words[kRecordsHead], words[kCalibrationTicks], words[kCalibrationNs]};
}

// Nanoseconds a tick by calibration, good to a few parts in ten thousand; 0 when a damaged anchor has none.
inline double calibrated_rate(const Anchor &anchor) {
    return anchor.calibration_ticks == 0 ? 0.0 : static_cast<double>(anchor.calibration_ns) / anchor.calibration_ticks;
}

// Whether counter and clock ran on undisturbed from `a` to `b`; then `rate` is the rate between them.
inline bool measure_rate(const Anchor &a, const Anchor &b, double &rate) {
    if (b.ticks <= a.ticks || b.clock_ns <= a.clock_ns) {
        return false;
    }
    const double measured = static_cast<double>(b.clock_ns - a.clock_ns) / static_cast<double>(b.ticks - a.ticks);
    const double expected = calibrated_rate(a);
    if (std::fabs(measured - expected) > expected / 1000) {
        return false;
    }
    rate = measured;
    return true;
}

inline uint64_t clock_at(const Anchor &anchor, double rate, uint64_t ticks) {
    const auto distance = static_cast<double>(static_cast<int64_t>(ticks - anchor.ticks));
    return anchor.clock_ns + static_cast<uint64_t>(static_cast<int64_t>(distance * rate));
}

} // namespace trace_kbuf
