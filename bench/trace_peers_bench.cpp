// SPDX-License-Identifier: Apache-2.0
// One record of five values with a time stamp, by our recorder and by others, and the least that it could cost.
// scripts/bench-trace runs it, for LTTng-UST records only while a session daemon has a session.
#include "peers/peers.h"

#include <benchmark/benchmark.h>
#include <trace_kbuf.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

constexpr uint32_t kHeader = (5u << 16) | 123;

// Eight words, one after the other into a ring; no stamp.
struct alignas(32) Plain {
    uint32_t words[8];
};
Plain plain_ring[1024];
uint32_t plain_head = 0;

[[gnu::noinline]] void plain_five_values(uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3, uint32_t v4) {
    plain_ring[plain_head++ % 1024] = {{7, kHeader, 0, v0, v1, v2, v3, v4}};
    benchmark::ClobberMemory();
}

void bare_store_of_32_bytes(benchmark::State &state) {
    uint32_t i = 0;
    for (auto _ : state) {
        plain_five_values(++i, 2, 3, 4, 5);
    }
}
BENCHMARK(bare_store_of_32_bytes);

void clock_gettime_alone(benchmark::State &state) {
    timespec now{};
    for (auto _ : state) {
        clock_gettime(CLOCK_MONOTONIC, &now);
        benchmark::DoNotOptimize(now);
    }
}
BENCHMARK(clock_gettime_alone);

// Into a file of TRACE_KBUF_DIR.
void trace_kbuf(benchmark::State &state) {
    uint32_t descriptor = 0;
    trace_kbuf_init_buffer(&descriptor, "BENCH", 65536);
    uint32_t i = 0;
    for (auto _ : state) {
        trace_kbuf_write_ints5(descriptor, kHeader, 7, ++i, 2, 3, 4, 5);
    }
    trace_kbuf_free(&descriptor);
}
BENCHMARK(trace_kbuf);

void lttng_ust(benchmark::State &state) {
    if (lttng_is_recording() == 0) {
        state.SkipWithError("no session records; see scripts/bench-trace");
        return;
    }
    uint32_t i = 0;
    for (auto _ : state) {
        lttng_five_values(++i, 2, 3, 4, 5);
    }
}
BENCHMARK(lttng_ust);

void libqb_blackbox(benchmark::State &state) {
    if (blackbox_open() != 0) {
        state.SkipWithError("the black box cannot be opened");
        return;
    }
    uint32_t i = 0;
    for (auto _ : state) {
        blackbox_five_values(++i, 2, 3, 4, 5);
    }
    if (const char *file = getenv("BLACKBOX_FILE"); file != nullptr && blackbox_save(file) <= 0) {
        state.SkipWithError("the black box recorded nothing");
    }
    blackbox_close();
}
BENCHMARK(libqb_blackbox);

} // namespace

BENCHMARK_MAIN();
