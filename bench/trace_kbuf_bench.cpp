// SPDX-License-Identifier: Apache-2.0
// What a trace record costs, and what its parts cost alone.
#include <benchmark/benchmark.h>
#include <trace_kbuf.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <unistd.h>
#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace {

constexpr uint32_t kSize = 32768;

uint32_t header(uint32_t values) {
    return (values << 16) | 123;
}

// A buffer for as long as one benchmark runs; in a file of a new folder when asked for.
class Buffer {
public:
    explicit Buffer(bool in_file) {
        if (in_file) {
            std::string pattern = (std::filesystem::temp_directory_path() / "trace_kbuf_bench.XXXXXX").string();
            folder_ = mkdtemp(pattern.data()) == nullptr ? std::string() : pattern;
            setenv("TRACE_KBUF_DIR", folder_.c_str(), 1);
        } else {
            unsetenv("TRACE_KBUF_DIR");
        }
        trace_kbuf_init_buffer(&descriptor_, "BENCH", kSize);
    }
    ~Buffer() {
        trace_kbuf_free(&descriptor_);
        unsetenv("TRACE_KBUF_DIR");
        if (!folder_.empty()) {
            std::filesystem::remove_all(folder_);
        }
    }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    uint32_t descriptor() const { return descriptor_; }

private:
    std::string folder_;
    uint32_t descriptor_ = 0;
};

void no_values(benchmark::State &state) {
    const Buffer buffer(false);
    for (auto _ : state) {
        trace_kbuf_write_all(buffer.descriptor(), 7, " ", 123, 0);
    }
}
BENCHMARK(no_values);

void five_values(benchmark::State &state) {
    const Buffer buffer(state.range(0) != 0);
    uint32_t i = 0;
    for (auto _ : state) {
        trace_kbuf_write_ints5(buffer.descriptor(), header(5), 7, ++i, 2, 3, 4, 5);
    }
}
BENCHMARK(five_values)->ArgName("file")->Arg(0)->Arg(1);

void nine_values(benchmark::State &state) {
    const Buffer buffer(false);
    uint32_t i = 0;
    for (auto _ : state) {
        trace_kbuf_write_ints9(buffer.descriptor(), header(9), 7, ++i, 2, 3, 4, 5, 6, 7, 8, 9);
    }
}
BENCHMARK(nine_values);

void five_values_not_open(benchmark::State &state) {
    for (auto _ : state) {
        trace_kbuf_write_ints5(0, header(5), 7, 1, 2, 3, 4, 5);
    }
}
BENCHMARK(five_values_not_open);

// All threads write into one buffer; the time is that of one thread's record.
void five_values_shared(benchmark::State &state) {
    static Buffer *buffer = nullptr;
    static std::atomic<uint32_t> descriptor;
    if (state.thread_index() == 0) {
        buffer = new Buffer(false);
        descriptor = buffer->descriptor();
    }
    while (descriptor == 0) {
    }
    for (auto _ : state) {
        trace_kbuf_write_ints5(descriptor, header(5), 7, 1, 2, 3, 4, 5);
    }
    if (state.thread_index() == 0) {
        descriptor = 0;
        delete buffer;
    }
}
BENCHMARK(five_values_shared)->Threads(2)->UseRealTime();

// The same call into a ring of plain stores: no stamp, no commit word, no checksum, one writer.
struct Plain {
    uint32_t words[8];
};
alignas(64) Plain plain_ring[kSize / sizeof(Plain)];
uint32_t plain_head = 0;

[[gnu::noinline]] int plain_ints5(uint32_t descriptor, uint32_t head, uint32_t identifier, uint32_t v0, uint32_t v1,
                                  uint32_t v2, uint32_t v3, uint32_t v4) {
    plain_ring[plain_head++ % (kSize / sizeof(Plain))] = {{identifier, head, descriptor, v0, v1, v2, v3, v4}};
    benchmark::ClobberMemory();
    return 0;
}

void plain_store(benchmark::State &state) {
    uint32_t i = 0;
    for (auto _ : state) {
        plain_ints5(1, header(5), 7, ++i, 2, 3, 4, 5);
    }
}
BENCHMARK(plain_store);

#if defined(__x86_64__)
void counter_alone(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(__rdtsc());
    }
}
BENCHMARK(counter_alone);

void counter_serialised(benchmark::State &state) {
    unsigned cpu = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(__rdtscp(&cpu));
    }
}
BENCHMARK(counter_serialised);
#endif

void clock_gettime_alone(benchmark::State &state) {
    timespec now{};
    for (auto _ : state) {
        clock_gettime(CLOCK_REALTIME, &now);
        benchmark::DoNotOptimize(now);
    }
}
BENCHMARK(clock_gettime_alone);

void five_values_plus_clock_gettime(benchmark::State &state) {
    const Buffer buffer(false);
    timespec now{};
    for (auto _ : state) {
        clock_gettime(CLOCK_REALTIME, &now);
        trace_kbuf_write_ints5(buffer.descriptor(), header(5), 7, static_cast<uint32_t>(now.tv_nsec), 2, 3, 4, 5);
    }
}
BENCHMARK(five_values_plus_clock_gettime);

} // namespace

BENCHMARK_MAIN();
