// SPDX-License-Identifier: Apache-2.0
// The counter that stamps records. What it counts is found out by calibration, not assumed.
//
// On x86-64 the counter and a locked increment are what a record's time goes into: commit word, checksum and writer
// hide under them. bench/trace_kbuf_bench times a record, the counter alone, and a clock.
#pragma once

#include <atomic>
#include <cstdint>
#if !defined(__x86_64__) && !defined(__i386__) && !defined(__powerpc__)
#include <ctime>
#endif

namespace trace_kbuf {

inline uint64_t read_ticks() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#elif defined(__powerpc__)
    return __builtin_ppc_get_timebase();
#else
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
#endif
}

// The same in the words in which a record keeps it; on x86 the counter comes in these, and stays in them.
struct Ticks {
    uint32_t high, low;
};

inline Ticks read_tick_words() {
#if defined(__x86_64__) || defined(__i386__)
    Ticks ticks;
    asm volatile("rdtsc" : "=a"(ticks.low), "=d"(ticks.high));
    return ticks;
#else
    const uint64_t ticks = read_ticks();
    return {static_cast<uint32_t>(ticks >> 32), static_cast<uint32_t>(ticks)};
#endif
}

// When the clock was looked at last, and whether that is about a second ago.
class LastLook {
public:
    void set(Ticks now, uint32_t ticks_per_second) {
        at_.store(at(now), std::memory_order_relaxed);
        enough_.store(ticks_per_second, std::memory_order_relaxed);
    }

    [[gnu::always_inline]] bool is_long_ago(Ticks now) const {
#if defined(__x86_64__) || defined(__i386__)
        return at(now) != at_.load(std::memory_order_relaxed); // 2^32 ticks are one to two seconds
#else
        return at(now) - at_.load(std::memory_order_relaxed) > enough_.load(std::memory_order_relaxed);
#endif
    }

private:
    static uint32_t at(Ticks now) {
#if defined(__x86_64__) || defined(__i386__)
        return now.high;
#else
        return now.low;
#endif
    }

    std::atomic<uint32_t> at_;
    std::atomic<uint32_t> enough_; // not more than a quarter of what the low word counts
};

} // namespace trace_kbuf
