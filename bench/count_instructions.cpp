// SPDX-License-Identifier: Apache-2.0
// Runs one operation, or the bare platform calls that it has to make, a given number of times:
//     count_instructions operation|bare NAME COUNT
// for scripts/instructions, which counts what is executed from one call of lap() to the next. Prints where lap() is,
// and how often a call does what is measured.
#include "operations.h"

#include <ksl/ksl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" [[gnu::noinline]] void lap() {
    asm volatile("");
}

// By its name the valgrind tool finds it.
extern "C" [[gnu::noinline]] int laps(int32_t (*run)(), long count) {
    for (; count > 0; --count) {
        if (run() != 0) {
            return 3;
        }
        lap();
    }
    return 0;
}

int main(int argc, char **argv) {
    if (argc == 1) {
        for (const auto &row : ksl::bench::operations()) {
            std::puts(row.name);
        }
        return 0;
    }
    if (argc != 4) {
        std::fputs("usage: count_instructions operation|bare NAME COUNT\n", stderr);
        return 2;
    }
    for (const auto &row : ksl::bench::operations()) {
        if (std::strcmp(row.name, argv[2]) == 0) {
            if (!ksl::bench::open()) {
                return 3;
            }
            std::printf("%lx %u\n", reinterpret_cast<unsigned long>(&lap), row.times);
            std::fflush(stdout);
            const int result =
                laps(std::strcmp(argv[1], "bare") == 0 ? row.bare : row.operation, std::strtol(argv[3], nullptr, 10));
            ksl_terminate();
            if (result != 0) {
                std::fputs("count_instructions: the operation failed\n", stderr);
            }
            return result;
        }
    }
    std::fprintf(stderr, "count_instructions: no operation %s; without arguments it lists them\n", argv[2]);
    return 2;
}
