// SPDX-License-Identifier: Apache-2.0
// What is below the library, ruled by a fuzzer's bytes: a lower library of any result and any content, a trace
// library that looks at each record, a loader that finds or does not find.
#pragma once

#include "input.h"

#include <ksl/ksl.h>

#include <functional>
#include <vector>

#pragma GCC visibility push(default)

namespace fuzz {

enum class Kind { entry, exit, failure, step, elapsed };

// After so many accesses the lower library succeeds and delivers zeros: it ends what would never end.
constexpr uint32_t kCutOff = 256;

class Platform {
public:
    explicit Platform(Input &input);
    ~Platform();
    Platform(const Platform &) = delete;
    Platform &operator=(const Platform &) = delete;

    // Forgets what was seen.
    void begin();

    Input &input;

    // ---- What the loader finds ----
    uint32_t missing_entry_points = 0; // a bit for each
    bool configuration_opens = true;
    bool configuration_answers = true;
    const ksl_cfg_record *list = nullptr;
    int32_t list_result = 0;

    // Registers that do not come from the fuzzer; false where they do.
    std::function<bool(uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer)> content;

    // ---- What was seen since begin() ----
    uint32_t accesses = 0; // of any entry point, a missing one included
    uint32_t accesses_after_failure = 0;
    int32_t first_failure = 0;
    int32_t last_result = 0;
    uint32_t found = 0; // by hwa_getmacs
    std::vector<Kind> records;
    uint32_t closed_configurations = 0;

    // Notes an access and returns its result.
    int32_t access(int32_t result);
};

// For the sanitizers: every one of these bytes can be read.
inline void look_at(const void *bytes, size_t count) {
    const auto *const memory = static_cast<const volatile uint8_t *>(bytes);
    for (size_t i = 0; i < count; ++i) {
        (void)memory[i];
    }
}

// What the loader hands out for the configuration library.
extern void *const kConfigurationHandle;

} // namespace fuzz

#pragma GCC visibility pop
