// SPDX-License-Identifier: Apache-2.0
// Commands that repeat until the user ends them, or until nobody reads their output any more.
#pragma once

#include <chrono>
#include <signal.h>

namespace kslctl {

// While it exists, a first SIGINT or SIGTERM ends the watch; a second one ends the program as usual.
class Watch {
public:
    explicit Watch(std::chrono::duration<double> interval);
    ~Watch();
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    // Waits for the end of the interval; the first one begins with the watch. False when the watch ends: after a
    // signal, or when nobody reads the standard output any more.
    bool wait();

private:
    using Clock = std::chrono::steady_clock;

    Clock::duration interval_;
    Clock::time_point next_;
    struct sigaction former_interrupt_ {};
    struct sigaction former_termination_ {};
};

} // namespace kslctl
