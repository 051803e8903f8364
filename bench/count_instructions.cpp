// SPDX-License-Identifier: Apache-2.0
// Runs one operation, or the bare platform calls that it has to make, a given number of times:
//     count_instructions operation|bare NAME COUNT
// The instructions of a run less those of a shorter one are the cost; scripts/instructions does that.
#include "operations.h"

#include <ksl/ksl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

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
            const auto run = std::strcmp(argv[1], "bare") == 0 ? row.bare : row.operation;
            if (!ksl::bench::open()) {
                return 3;
            }
            for (long i = std::strtol(argv[3], nullptr, 10); i > 0; --i) {
                if (run() != 0) {
                    std::fputs("count_instructions: the operation failed\n", stderr);
                    return 3;
                }
            }
            ksl_terminate();
            return 0;
        }
    }
    std::fprintf(stderr, "count_instructions: no operation %s; without arguments it lists them\n", argv[2]);
    return 2;
}
