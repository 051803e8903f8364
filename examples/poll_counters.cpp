// SPDX-License-Identifier: Apache-2.0
// Polls a counter of all ports and shows how fast it grows:
//     c++ -std=c++17 poll_counters.cpp -o poll_counters $(pkg-config --cflags --libs ksl)
//     ./poll_counters [POLLS [MILLISECONDS]]
// The counters of the simulated hub do not change, unless HWA_SIM_SCENARIO names its scenario busy.json.
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ksl/decode.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Blocks = std::array<ksl_mib_port_block, KSL_PORTS>;

struct Poll {
    Clock::time_point time;
    Blocks blocks{};
};

// Port by port, because ksl_read_MIB_counters() returns the result of port 23 alone.
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
        // Also right if the counter wrapped around.
        const uint32_t growth =
            ksl_value32(&now.blocks[port].counter_18) - ksl_value32(&before.blocks[port].counter_18);
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
