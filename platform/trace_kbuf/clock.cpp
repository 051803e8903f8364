// SPDX-License-Identifier: Apache-2.0
#include "clock.h"

#include "anchor.h"
#include "ring.h"
#include "ticks.h"

#include <ctime>

namespace trace_kbuf {

namespace {

constexpr uint64_t kToleranceNs = 100'000;
constexpr uint64_t kCalibrationTimeNs = 150'000;

struct Moment {
    uint64_t ticks;
    uint64_t ns;
};

uint64_t clock_ns(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

// The quickest of some tries, since the scheduler may come between counter and clock.
Moment look(clockid_t clock) {
    Moment best{};
    uint64_t quickest = UINT64_MAX;
    for (int tries = 0; tries < 4; ++tries) {
        const uint64_t before = read_ticks();
        const uint64_t ns = clock_ns(clock);
        const uint64_t took = read_ticks() - before;
        if (took < quickest) {
            quickest = took;
            best = {before + took / 2, ns};
        }
    }
    return best;
}

struct Calibration {
    std::atomic<uint32_t> ticks;
    std::atomic<uint32_t> ns;
};
constinit Calibration calibration{};

// Once in a process. Two threads that calibrate at the same time both come to a good pair, but their halves
// must not mix; buffers are opened under a lock and everybody else comes later.
void calibrate() {
    if (calibration.ticks.load(std::memory_order_relaxed) != 0) {
        return;
    }
    const Moment start = look(CLOCK_MONOTONIC);
    while (clock_ns(CLOCK_MONOTONIC) - start.ns < kCalibrationTimeNs) {
    }
    const Moment end = look(CLOCK_MONOTONIC);
    calibration.ns.store(static_cast<uint32_t>(end.ns - start.ns), std::memory_order_relaxed);
    calibration.ticks.store(static_cast<uint32_t>(end.ticks - start.ticks), std::memory_order_relaxed);
}

bool newest_anchor(Header &ring, uint32_t back, Anchor &anchor) {
    const uint32_t index = (ring.anchors_head.load(std::memory_order_acquire) - 1 - back) % kAnchors;
    SlotWords words;
    copy_slot(ring.anchors[index], words);
    anchor = anchor_of(words);
    return is_record(words, index, kAnchors);
}

bool anchors_are_right(Header &ring, const Moment &now) {
    Anchor last;
    if (!newest_anchor(ring, 0, last)) {
        return false;
    }
    double rate = calibrated_rate(last);
    Anchor before;
    if (newest_anchor(ring, 1, before)) {
        measure_rate(before, last, rate);
    }
    const uint64_t expected = clock_at(last, rate, now.ticks);
    return expected - now.ns + kToleranceNs <= 2 * kToleranceNs;
}

} // namespace

void check_clock(Header &ring, uint32_t writer) {
    calibrate();
    const Moment now = look(CLOCK_REALTIME);
    if (anchors_are_right(ring, now)) {
        return;
    }
    SlotWords words{};
    words[kTicksHigh] = static_cast<uint32_t>(now.ticks >> 32);
    words[kTicksLow] = static_cast<uint32_t>(now.ticks);
    words[kWriter] = writer;
    words[kIdentifier] = kAnchorIdentifier;
    words[kHeaderWord] = kAnchorValues << 16;
    words[kClockHigh] = static_cast<uint32_t>(now.ns >> 32);
    words[kClockLow] = static_cast<uint32_t>(now.ns);
    words[kRecordsHead] = ring.head.load(std::memory_order_relaxed);
    words[kCalibrationTicks] = calibration.ticks.load(std::memory_order_relaxed);
    words[kCalibrationNs] = calibration.ns.load(std::memory_order_relaxed);
    const uint32_t sequence = ring.anchors_head.fetch_add(1, std::memory_order_relaxed);
    write_slot<kAnchorValues>(ring.anchors[sequence % kAnchors], sequence, words);
}

uint32_t ticks_per_second() {
    constexpr uint32_t most = 1 << 30;
    const double rate =
        calibration.ticks.load(std::memory_order_relaxed) * 1e9 / calibration.ns.load(std::memory_order_relaxed);
    return rate < most ? static_cast<uint32_t>(rate) : most;
}

} // namespace trace_kbuf
