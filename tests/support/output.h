// SPDX-License-Identifier: Apache-2.0
// A caller's buffer for the output of an operation, and codes of failures.
#pragma once

#include "scripted_platform.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace ksl::test {

// Codes of a failing access, which operations pass on unchanged.
constexpr int32_t kCodes[] = {1, -1, 77, -2147483647 - 1};

constexpr uint8_t kUntouched = 0xEE;

// Larger than any output, so that a byte too many is noticed.
struct Output {
    alignas(ksl_word) uint8_t bytes[104];

    Output() { std::fill_n(bytes, sizeof bytes, kUntouched); }

    operator uint8_t *() { return bytes; }
    ksl_word *words() { return reinterpret_cast<ksl_word *>(bytes); }

    // True when the buffer holds `expected` and is otherwise as it was.
    testing::AssertionResult holds(const Bytes &expected) const {
        for (size_t i = 0; i < sizeof bytes; ++i) {
            if (bytes[i] != (i < expected.size() ? expected[i] : kUntouched)) {
                return testing::AssertionFailure() << "byte " << i << " is " << int{bytes[i]};
            }
        }
        return testing::AssertionSuccess();
    }
};

} // namespace ksl::test
