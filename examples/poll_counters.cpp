// SPDX-License-Identifier: Apache-2.0
// Polls a counter of all ports and shows how fast it grows:
//     c++ -std=c++17 poll_counters.cpp -o poll_counters $(pkg-config --cflags --libs ksl)
//     ./poll_counters [POLLS [MILLISECONDS]]
// The counters of the simulated hub stand still, unless HWA_SIM_SCENARIO names its scenario busy.json.
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ksl/ksl.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Blocks = std::array<ksl_mib_port_block, KSL_PORTS>;

struct Poll {
    Clock::time_point time;
    Blocks blocks{};
};

// Counters arrive as register bytes, most significant first.
uint32_t number(const ksl_word &word) {
    std::array<uint8_t, sizeof word> bytes{};
    std::memcpy(bytes.data(), &word, sizeof word);
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Port by port, because ksl_read_MIB_counters() tells of port 23 alone whether it could be read.
bool read(Poll &poll) {
    poll.time = Clock::now();
    for (uint32_t port = 0; port < KSL_PORTS; port++) {
        if (const int32_t code = ksl_read_MIB_counters_at_port(0, port, poll.blocks.data()); code != 0) {
            std::fprintf(stderr, "the counters of port %u could not be read: code %d\n", port, code);
            return false;
        }
    }
    return true;
}

void show(const Poll &before, const Poll &now) {
    const double seconds = std::chrono::duration<double>(now.time - before.time).count();
    for (size_t port = 0; port < KSL_PORTS; port++) {
        // A counter that has wrapped around has grown all the same.
        const uint32_t growth = number(now.blocks[port].counter_18) - number(before.blocks[port].counter_18);
        if (growth != 0) {
            std::printf("port %2zu  counter 0x18  %10.0f /s\n", port, growth / seconds);
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    const int polls = argc > 1 ? std::atoi(argv[1]) : 5;
    const std::chrono::milliseconds pause(argc > 2 ? std::atoi(argv[2]) : 1000);
    ksl_init();
    Poll before;
    bool good = read(before);
    for (int i = 0; good && i < polls; i++) {
        std::this_thread::sleep_for(pause);
        Poll now;
        good = read(now);
        if (good) {
            show(before, now);
            before = now;
        }
    }
    ksl_terminate();
    return good ? 0 : 1;
}
