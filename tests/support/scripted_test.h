// SPDX-License-Identifier: Apache-2.0
// The fixture of tests that run the library over the scripted platform.
#pragma once

#include "scripted_platform.h"

#include <gtest/gtest.h>

namespace ksl::test {

class Scripted : public testing::Test {
protected:
    ScriptedPlatform platform;
};

// Opens the library, and forgets the calls of that.
class Opened : public Scripted {
protected:
    Opened() {
        ksl_init();
        platform.take();
    }

    ~Opened() override {
        // It may refer to variables of the test, which are gone.
        platform.on_call = nullptr;
        ksl_disable_time();
        ksl_terminate();
    }
};

} // namespace ksl::test
