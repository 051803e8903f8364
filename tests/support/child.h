// SPDX-License-Identifier: Apache-2.0
// A child process of a test.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace ksl::test {

// fork(), which must succeed: kill() would take its -1 for all processes.
inline pid_t fork_child() {
    const pid_t pid = fork();
    if (pid == -1) {
        std::perror("fork");
        std::abort();
    }
    return pid;
}

} // namespace ksl::test
