// SPDX-License-Identifier: Apache-2.0
// Times each operation and the bare platform calls that it has to make, in one run.
#include "operations.h"

#include <benchmark/benchmark.h>
#include <ksl/ksl.h>

#include <string>

int main(int argc, char **argv) {
    if (!ksl::bench::open()) {
        return 3;
    }
    for (const auto &row : ksl::bench::operations()) {
        const auto add = [&](const char *what, int32_t (*run)()) {
            benchmark::RegisterBenchmark((std::string(row.name) + "/" + what).c_str(), [run](benchmark::State &state) {
                for (auto _ : state) {
                    if (run() != 0) {
                        state.SkipWithError("failed");
                        break;
                    }
                }
            });
        };
        add("bare", row.bare);
        add("operation", row.operation);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    ksl_terminate();
    return 0;
}
