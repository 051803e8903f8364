// SPDX-License-Identifier: Apache-2.0
#include "support/terminal.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace tools {

namespace {

constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[2J";
constexpr std::string_view kLeave = "\x1b[?25h\x1b[?1049l";
constexpr char kEscape = '\x1b';

// Each ends the program at once. SIGINT, SIGTERM and SIGHUP are for the program itself.
constexpr std::array kDeadly = {SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGFPE, SIGSEGV};

// What the signal handlers need.
volatile sig_atomic_t is_taken = 0;
volatile sig_atomic_t needs_redraw = 0;
bool has_own_screen = false;
bool has_keyboard = false;
termios former_mode{};
std::array<struct sigaction, kDeadly.size()> former_deaths{};
struct sigaction former_stop {};
struct sigaction former_resize {};

void write_all(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return; // the terminal has gone
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
}

void take() {
    if (has_keyboard) {
        termios mode = former_mode;
        mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        mode.c_cc[VMIN] = 0;
        mode.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &mode);
    }
    if (has_own_screen) {
        write_all(kEnter);
    }
    is_taken = 1;
}

// Without escape sequences: ESC, "[" or "O", and all up to a letter or "~".
void add_keys(std::string_view pressed, std::string &keys) {
    for (size_t i = 0; i < pressed.size(); ++i) {
        if (pressed[i] != kEscape) {
            keys += pressed[i];
            continue;
        }
        ++i;
        constexpr char kFirstOfLast = '@';
        do {
            ++i;
        } while (i < pressed.size() && pressed[i] < kFirstOfLast);
    }
}

void on_resize(int) {
    needs_redraw = 1;
}

void on_death(int number) {
    const int error = errno;
    Terminal::restore();
    for (size_t i = 0; i < kDeadly.size(); ++i) {
        if (kDeadly[i] == number) {
            sigaction(number, &former_deaths[i], nullptr);
        }
    }
    (void)raise(number); // comes when this handler ends
    errno = error;
}

void on_stop(int number) {
    const int error = errno;
    Terminal::restore();
    struct sigaction own {};
    sigaction(number, &former_stop, &own);
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, number);
    (void)raise(number);
    // The program stops in this call, and continues in it.
    pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
    sigaction(number, &own, nullptr);
    take();
    needs_redraw = 1;
    errno = error;
}

struct sigaction handler(void (*handle)(int)) {
    struct sigaction action {};
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART;
    return action;
}

} // namespace

Terminal::Terminal(Screen screen) {
    has_own_screen = screen == Screen::own;
    // A program in the background that sets the mode would be stopped.
    has_keyboard = tcgetpgrp(STDIN_FILENO) == getpgrp() && tcgetattr(STDIN_FILENO, &former_mode) == 0;
    const struct sigaction death = handler(on_death);
    for (size_t i = 0; i < kDeadly.size(); ++i) {
        sigaction(kDeadly[i], &death, &former_deaths[i]);
    }
    const struct sigaction stop = handler(on_stop);
    sigaction(SIGTSTP, &stop, &former_stop);
    const struct sigaction resize = handler(on_resize);
    sigaction(SIGWINCH, &resize, &former_resize);
    take();
}

Terminal::~Terminal() {
    sigaction(SIGWINCH, &former_resize, nullptr);
    sigaction(SIGTSTP, &former_stop, nullptr);
    restore();
    for (size_t i = 0; i < kDeadly.size(); ++i) {
        sigaction(kDeadly[i], &former_deaths[i], nullptr);
    }
}

ScreenSize Terminal::size() {
    constexpr ScreenSize kUsual{24, 80};
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        return kUsual;
    }
    return {size.ws_row, size.ws_col};
}

int Terminal::keyboard() {
    return has_keyboard ? STDIN_FILENO : -1;
}

bool Terminal::read_keys(std::string &keys) {
    char pressed[64];
    const ssize_t count = ::read(STDIN_FILENO, pressed, sizeof pressed);
    add_keys(std::string_view(pressed, count > 0 ? static_cast<size_t>(count) : 0), keys);
    return count >= 0 || errno == EINTR;
}

bool Terminal::take_redraw() {
    const bool needed = needs_redraw != 0;
    needs_redraw = 0;
    return needed;
}

void Terminal::add_signals(sigset_t &signals) {
    sigaddset(&signals, SIGWINCH);
    sigaddset(&signals, SIGTSTP);
}

void Terminal::restore() {
    if (is_taken == 0) {
        return;
    }
    is_taken = 0;
    if (has_own_screen) {
        write_all(kLeave);
    }
    if (has_keyboard) {
        tcsetattr(STDIN_FILENO, TCSANOW, &former_mode);
    }
}

std::string drawn(const std::string &frame) {
    constexpr std::string_view kFromTheTop = "\x1b[H";
    constexpr std::string_view kClearLine = "\x1b[K"; // before its text: after a full line it takes the last character
    std::string text(kFromTheTop);
    text += kClearLine;
    for (const char character : frame) {
        text += character;
        if (character == '\n') {
            text += kClearLine;
        }
    }
    return text;
}

} // namespace tools
