// SPDX-License-Identifier: Apache-2.0
// What holds whatever the input: where it does not, the program ends as fuzzers notice it.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

inline void require(bool holds, const char *what, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (!holds) {
        std::fprintf(stderr, "%s:%d: this input breaks a rule: %s\n", file, line, what);
        std::abort();
    }
}

} // namespace fuzz
