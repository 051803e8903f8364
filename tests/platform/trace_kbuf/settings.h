// SPDX-License-Identifier: Apache-2.0
// How long the tests run that find more the longer they run: scripts/soak says, else a default that is quick.
#pragma once

#include <cstdint>
#include <cstdlib>

inline uint32_t setting(const char *name, uint32_t otherwise) {
    const char *text = getenv(name);
    return text == nullptr ? otherwise : static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
}
