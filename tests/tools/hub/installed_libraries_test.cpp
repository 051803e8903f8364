// SPDX-License-Identifier: Apache-2.0
// Where kslctl looks for the libraries that it opens. The program's own path comes from a readlink() of this test.
#include "kslctl/hub/library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace {

std::string own_path;

} // namespace

extern "C" ssize_t __wrap_readlink(const char *, char *buffer, size_t size) {
    if (own_path.empty()) {
        errno = ENOENT;
        return -1;
    }
    const size_t length = std::min(size, own_path.size());
    own_path.copy(buffer, length);
    return static_cast<ssize_t>(length);
}

namespace kslctl::hub {
namespace {

TEST(InstalledLibraries, BeginAtTheProgram) {
    own_path = "/opt/house/bin/kslctl";
    EXPECT_EQ(path_of_simulator("libhwa.so").find("/opt/house/bin/"), 0u);
}

// Without /proc nobody knows where the program is.
TEST(InstalledLibraries, NeverBeginAtTheCurrentFolder) {
    own_path.clear();
    EXPECT_EQ(path_of_simulator("libhwa.so").front(), '/');
    EXPECT_EQ(path_of_installed("libkslcfg_file.so").front(), '/');
}

} // namespace
} // namespace kslctl::hub
