// SPDX-License-Identifier: Apache-2.0
#include "kslctl/commands/watch.h"

#include "kslctl/hub/own_trace.h"
#include "ksltrace/values.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace kslctl {

namespace {

constexpr int kEndSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr char kEndKey = 'q';

volatile sig_atomic_t ended = 0;

void end_watch(int number) {
    if (ended != 0) {
        tools::Terminal::restore();
        (void)signal(number, SIG_DFL);
        (void)raise(number); // comes when this handler ends
    }
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

std::string time_now() {
    return ksltrace::render_time(hub::now_ns());
}

std::string clock_now() {
    constexpr size_t kClock = std::string_view("YYYY-MM-DDT").size();
    constexpr size_t kClockLength = std::string_view("hh:mm:ss").size();
    return time_now().substr(kClock, kClockLength) + " UTC";
}

Watch::Watch(std::chrono::duration<double> interval, std::optional<tools::Terminal::Screen> screen)
    : interval_(std::chrono::duration_cast<Clock::duration>(interval)), next_(Clock::now() + interval_) {
    struct sigaction action {};
    action.sa_handler = end_watch;
    action.sa_flags = SA_RESTART;
    for (const int number : kEndSignals) {
        struct sigaction former {};
        sigaction(number, &action, &former);
        // A program that "nohup" started goes on without its terminal.
        if (number == SIGHUP && former.sa_handler == SIG_IGN) {
            sigaction(number, &former, nullptr);
        }
        former_.emplace_back(number, former);
    }
    if (screen) {
        terminal_.emplace(*screen);
    }
}

Watch::~Watch() {
    terminal_.reset();
    for (const auto &[number, former] : former_) {
        sigaction(number, &former, nullptr);
    }
}

void Watch::hurry(std::chrono::duration<double> time) {
    next_ = std::min(next_, Clock::now() + std::chrono::duration_cast<Clock::duration>(time));
}

std::string Watch::take_keys() {
    return std::exchange(keys_, {});
}

Watch::Event Watch::wait() {
    // No signal is lost between the look at what happened and the sleep.
    sigset_t signals;
    sigset_t former;
    sigemptyset(&signals);
    for (const int number : kEndSignals) {
        sigaddset(&signals, number);
    }
    tools::Terminal::add_signals(signals);
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    // Keys and readers who went away count even where every look takes longer than the interval.
    sleep(Clock::duration::zero(), former);
    std::optional<Event> happened = event();
    while (!happened) {
        sleep(std::max(next_ - Clock::now(), {}), former);
        happened = event();
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return *happened;
}

bool Watch::wait_for_interval() {
    Event happened = wait();
    while (happened == Event::key || happened == Event::redraw) {
        keys_.clear();
        happened = wait();
    }
    return happened == Event::interval;
}

// At most that long.
void Watch::sleep(Clock::duration time, const sigset_t &signals) {
    const timespec left = timespec_of(time);
    // The output is asked for no event, so it has one only when the other end of a pipe or terminal is closed.
    pollfd files[] = {{STDOUT_FILENO, 0, 0}, {terminal_ ? tools::Terminal::keyboard() : -1, POLLIN, 0}};
    if (ppoll(files, std::size(files), &left, &signals) <= 0) {
        return;
    }
    const bool has_keys = files[1].revents == POLLIN && tools::Terminal::read_keys(keys_);
    const bool has_gone = files[0].revents != 0 || (files[1].revents != 0 && !has_keys);
    is_over_ = has_gone || keys_.find(kEndKey) != std::string::npos;
}

std::optional<Watch::Event> Watch::event() {
    if (ended != 0 || is_over_) {
        return Event::end;
    }
    if (terminal_ && tools::Terminal::take_redraw()) {
        return Event::redraw;
    }
    if (!keys_.empty()) {
        return Event::key;
    }
    return Clock::now() < next_ ? std::nullopt : std::optional(end_of_interval());
}

Watch::Event Watch::end_of_interval() {
    next_ += interval_;
    if (const Clock::time_point now = Clock::now(); next_ < now) {
        next_ = now + interval_; // what took too long is not made up for
    }
    return Event::interval;
}

} // namespace kslctl
