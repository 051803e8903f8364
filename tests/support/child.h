// SPDX-License-Identifier: Apache-2.0
// A child process of a test.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace ksl::test {

// fork(), without which no test can go on: kill() would take its -1 for every process that there is.
inline pid_t fork_child() {
    const pid_t pid = fork();
    if (pid == -1) {
        std::perror("fork");
        std::abort();
    }
    return pid;
}

} // namespace ksl::test
