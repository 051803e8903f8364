// SPDX-License-Identifier: Apache-2.0
// A folder of their own, KSL_CFG_FILE and stderr, for the tests of expected configurations.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace cfg_test {

// A folder for the test's files; KSL_CFG_FILE names "expectation.json" in it.
class FileTest : public testing::Test {
protected:
    FileTest() {
        folder = testing::TempDir() + "/cfg-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) {
            std::abort();
        }
        file = folder + "/expectation.json";
        setenv("KSL_CFG_FILE", file.c_str(), 1);
    }
    ~FileTest() override {
        unsetenv("KSL_CFG_FILE");
        std::filesystem::remove_all(folder);
    }

    void write(const std::string &text) { std::ofstream(file, std::ios::binary) << text; }

    std::string folder;
    std::string file;
};

// What `action` makes the process write to stderr.
template <typename Action>
std::string said_by(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

} // namespace cfg_test
