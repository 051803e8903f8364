// SPDX-License-Identifier: Apache-2.0
// Commands that go on until the user, or the reader of what they write, has had enough.
#pragma once

#include <chrono>
#include <signal.h>

namespace kslctl {

// As long as it is there, a first SIGINT or SIGTERM ends the watch; a second one ends the program as usual.
class Watch {
public:
    explicit Watch(std::chrono::duration<double> interval);
    ~Watch();
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    // Waits for the end of the interval; intervals follow one another from the start on. False when the watch ends:
    // after a signal, and when nobody reads the standard output any more.
    bool wait();

private:
    using Clock = std::chrono::steady_clock;

    Clock::duration interval_;
    Clock::time_point next_;
    struct sigaction former_interrupt_ {};
    struct sigaction former_termination_ {};
};

} // namespace kslctl
