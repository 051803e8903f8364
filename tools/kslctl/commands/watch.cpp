// SPDX-License-Identifier: Apache-2.0
#include "kslctl/commands/watch.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>

namespace kslctl {

namespace {

volatile sig_atomic_t ended = 0;

extern "C" void end_watch(int) {
    ended = 1;
}

timespec timespec_of(std::chrono::nanoseconds time) {
    constexpr std::chrono::nanoseconds::rep kPerSecond = 1'000'000'000;
    timespec result{};
    result.tv_sec = static_cast<time_t>(time.count() / kPerSecond);
    result.tv_nsec = static_cast<decltype(result.tv_nsec)>(time.count() % kPerSecond);
    return result;
}

} // namespace

Watch::Watch(std::chrono::duration<double> interval)
    : interval_(std::chrono::duration_cast<Clock::duration>(interval)), next_(Clock::now()) {
    struct sigaction action {};
    action.sa_handler = end_watch;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    sigaction(SIGINT, &action, &former_interrupt_);
    sigaction(SIGTERM, &action, &former_termination_);
}

Watch::~Watch() {
    sigaction(SIGINT, &former_interrupt_, nullptr);
    sigaction(SIGTERM, &former_termination_, nullptr);
}

bool Watch::wait() {
    next_ = std::max(next_ + interval_, Clock::now());
    // No signal is lost between the look at `ended` and the wait.
    sigset_t signals;
    sigset_t former;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    bool has_reader = true;
    for (Clock::time_point now = Clock::now(); ended == 0 && has_reader && now < next_; now = Clock::now()) {
        // It asks for no event, so it ends only when the other end of a pipe or terminal is closed.
        pollfd out{STDOUT_FILENO, 0, 0};
        const timespec left = timespec_of(next_ - now);
        has_reader = ppoll(&out, 1, &left, &former) <= 0;
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return ended == 0 && has_reader;
}

} // namespace kslctl
