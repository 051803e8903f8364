// SPDX-License-Identifier: Apache-2.0
#include "complaint.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

struct stat stderr_at_start;

[[gnu::constructor]] void remember_stderr() {
    if (fstat(STDERR_FILENO, &stderr_at_start) != 0) {
        stderr_at_start.st_mode = 0;
    }
}

bool takes_more() {
    pollfd stream{STDERR_FILENO, POLLOUT, 0};
    return poll(&stream, 1, 0) == 1 && (stream.revents & POLLOUT) != 0;
}

// Holds back what writing may raise in this thread: a pipe without a reader, a file at its limit, a terminal that
// belongs to another job.
class HeldSignals {
public:
    HeldSignals() {
        sigemptyset(&held_);
        for (const int number : {SIGPIPE, SIGXFSZ, SIGTTOU}) {
            sigaddset(&held_, number);
        }
        sigpending(&pending_);
        pthread_sigmask(SIG_BLOCK, &held_, &before_);
    }
    ~HeldSignals() {
        for (const int number : {SIGPIPE, SIGXFSZ}) {
            if (sigismember(&pending_, number) == 0) {
                sigset_t ours;
                sigemptyset(&ours);
                sigaddset(&ours, number);
                const timespec at_once{};
                sigtimedwait(&ours, nullptr, &at_once);
            }
        }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    HeldSignals(const HeldSignals &) = delete;
    HeldSignals &operator=(const HeldSignals &) = delete;

private:
    sigset_t held_, pending_, before_;
};

} // namespace

bool stderr_is_the_same() {
    struct stat now {};
    return stderr_at_start.st_mode != 0 && fstat(STDERR_FILENO, &now) == 0 && now.st_dev == stderr_at_start.st_dev &&
           now.st_ino == stderr_at_start.st_ino;
}

ssize_t write_unharmed(int file, const char *bytes, size_t count) {
    ssize_t written = 0;
    int error = 0;
    {
        const HeldSignals held;
        written = write(file, bytes, count);
        error = errno;
    }
    errno = error;
    return written;
}

void complain(const char *format, ...) { // NOLINT(cert-dcl50-cpp): the compiler checks the values by the format
    const int error = errno;
    std::array<char, PIPE_BUF> line; // less than a pipe takes at once
    va_list values;
    va_start(values, format);
    const int length = std::vsnprintf(line.data(), line.size(), format, values);
    va_end(values);
    if (length > 0 && stderr_is_the_same() && takes_more()) {
        const auto count = std::min(static_cast<size_t>(length), line.size() - 1);
        line[count - 1] = '\n';
        write_unharmed(STDERR_FILENO, line.data(), count);
    }
    errno = error;
}

} // namespace platform
