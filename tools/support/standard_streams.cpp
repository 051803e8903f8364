// SPDX-License-Identifier: Apache-2.0
#include "support/standard_streams.h"

#include "support/exit_status.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/core.h>
#include <new>
#include <system_error>
#include <unistd.h>

namespace tools {

namespace {

// A file opened later must not get the number of a standard stream that the caller had closed: it would
// receive our text. Opened for reading only, so that writing to a closed stdout is still a failure.
void occupy_standard_streams() {
    int file = 0;
    do {
        file = open("/dev/null", O_RDONLY);
    } while (file >= 0 && file <= STDERR_FILENO);
    if (file > STDERR_FILENO) {
        close(file);
    }
}

// Whichever part of a program finds no memory, also before main(): it says so, without any.
[[noreturn]] void end_without_memory() {
    for (const std::string_view part : {std::string_view(program_invocation_short_name),
                                        std::string_view(": there is not enough memory; raise the limit of this "
                                                         "process (ulimit -v), or end others\n")}) {
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, part.data(), part.size());
    }
    _exit(kFailed);
}

// Before the constructors of all other objects.
[[gnu::constructor(101)]] void watch_memory() {
    std::set_new_handler(end_without_memory);
}

} // namespace

StandardOutput::StandardOutput(std::string program) : program_(std::move(program)) {
    occupy_standard_streams();
    (void)std::signal(SIGPIPE, SIG_IGN);
}

void StandardOutput::write(std::string_view text) {
    while (!text.empty() && !given_up_) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (errno == EPIPE) {
            given_up_ = true;
        } else if (errno != EINTR) {
            const std::string reason = std::generic_category().message(errno);
            complain(program_, fmt::format("the result cannot be written to the standard output: {}", reason));
            given_up_ = failed_ = true;
        }
    }
}

bool StandardOutput::is_terminal() const {
    return isatty(STDOUT_FILENO) != 0;
}

bool StandardOutput::can_redraw() const {
    const char *const terminal = std::getenv("TERM");
    return is_terminal() && (terminal == nullptr || std::string_view(terminal) != "dumb");
}

bool StandardOutput::wants_emphasis() const {
    const char *const no_color = std::getenv("NO_COLOR");
    return can_redraw() && (no_color == nullptr || no_color[0] == '\0');
}

void complain(std::string_view program, std::string_view sentence) {
    const std::string line = fmt::format("{}: {}\n", program, sentence);
    // There is nowhere to report a failure of stderr.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

} // namespace tools
