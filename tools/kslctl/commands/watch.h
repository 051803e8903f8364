// SPDX-License-Identifier: Apache-2.0
// Commands that repeat until the user ends them, or until nobody reads their output any more.
#pragma once

#include "support/terminal.h"

#include <chrono>
#include <optional>
#include <signal.h>
#include <string>
#include <utility>
#include <vector>

namespace kslctl {

// In UTC: "2026-01-31T12:00:00.000000Z", and "12:00:00 UTC".
std::string time_now();
std::string clock_now();

// While it exists, a first SIGINT, SIGTERM or SIGHUP ends the watch; a second one ends the program as usual.
class Watch {
public:
    // With a screen, the terminal is taken, and its user may press keys; q ends the watch.
    explicit Watch(std::chrono::duration<double> interval,
                   std::optional<tools::Terminal::Screen> screen = std::nullopt);
    ~Watch();
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    // What a wait is over for.
    enum class Event {
        interval, // the first one begins with the watch
        key,      // see take_keys()
        redraw,   // the window has another size, or the program was stopped
        end,      // a signal or q came, or nobody reads the standard output any more
    };
    Event wait();
    // Until the end of the interval. False when the watch ends.
    bool wait_for_interval();

    // The interval that runs ends after this time at the latest.
    void hurry(std::chrono::duration<double> time);

    // The keys since the last call.
    std::string take_keys();

private:
    using Clock = std::chrono::steady_clock;

    std::optional<Event> event();
    void sleep(Clock::duration time, const sigset_t &signals);
    Event end_of_interval();

    Clock::duration interval_;
    Clock::time_point next_;
    std::optional<tools::Terminal> terminal_;
    std::string keys_;
    bool is_over_ = false;
    std::vector<std::pair<int, struct sigaction>> former_; // what each signal did before
};

} // namespace kslctl
