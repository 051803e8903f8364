// SPDX-License-Identifier: Apache-2.0
#include "support/pager.h"

#include "support/terminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/core.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace tools {

namespace {

constexpr int kCommandNotFound = 127; // of the shell
constexpr int kNotExecutable = 126;

bool is_installed(std::string_view program) {
    const char *const path = std::getenv("PATH");
    std::string_view rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(rest.size(), folder.size() + 1));
        if (access((std::string(folder) + "/" + std::string(program)).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

std::string chosen_pager() {
    const char *const pager = std::getenv("PAGER");
    if (pager != nullptr) {
        return std::string_view(pager) == "cat" ? "" : pager;
    }
    return is_installed("less") ? "less" : "";
}

int exit_status(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 0;
}

// Else the shell ends with a status that pagers have, too. It says itself what is wrong.
bool is_shell_command(const char *command) {
    const pid_t process = fork();
    if (process == 0) {
        execl("/bin/sh", "sh", "-n", "-c", command, nullptr);
        _exit(kCommandNotFound);
    }
    return process > 0 && exit_status(process) == 0;
}

[[noreturn]] void run(const std::string &command, int input) {
    dup2(input, STDIN_FILENO);
    // Leave when it all fits on the screen, let colours through, and leave the text on the screen.
    setenv("LESS", "FRX", 0);
    (void)std::signal(SIGPIPE, SIG_DFL);
    (void)std::signal(SIGINT, SIG_DFL);
    if (is_shell_command(command.c_str())) {
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    }
    _exit(kCommandNotFound);
}

} // namespace

Pager::Pager() : command_(chosen_pager()) {
    int ends[2];
    if (command_.empty() || pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    process_ = fork();
    if (process_ == 0) {
        run(command_, ends[0]);
    }
    close(ends[0]);
    if (process_ > 0) {
        terminal_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        dup2(ends[1], STDOUT_FILENO);
        // Ctrl-C is the pager's own key.
        (void)std::signal(SIGINT, SIG_IGN);
    }
    close(ends[1]);
}

bool Pager::finish() {
    if (process_ <= 0) {
        return true;
    }
    dup2(terminal_, STDOUT_FILENO); // closes the pipe, so that the pager sees the end
    close(terminal_);
    const int code = exit_status(std::exchange(process_, -1));
    return code != kCommandNotFound && code != kNotExecutable;
}

bool write_paged(std::string_view program, const std::string &text, StandardOutput &out) {
    Pager pager;
    out.write(text);
    if (pager.finish()) {
        return true;
    }
    complain(program, fmt::format("the pager \"{}\" of PAGER cannot be run; PAGER=cat does without", pager.command()));
    StandardOutput(std::string(program)).write(text); // the first one may have lost its reader
    return false;
}

bool write_long(std::string_view program, const std::string &text, StandardOutput &out) {
    const auto lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    if (out.is_terminal() && lines >= Terminal::size().rows) {
        return write_paged(program, text, out);
    }
    out.write(text);
    return true;
}

} // namespace tools
