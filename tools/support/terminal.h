// SPDX-License-Identifier: Apache-2.0
// The user's terminal while a program shows something on it that changes.
#pragma once

#include "support/screen.h"

#include <signal.h>
#include <string>

namespace tools {

// While it exists, keys arrive without Enter and are not shown. Whatever ends the program, the terminal becomes as it
// was before: the end of this object, a signal that kills, or one that stops (Ctrl-Z), after which it continues.
// One at a time. It writes its escape sequences itself, since a signal handler has to; all else goes through
// StandardOutput.
class Terminal {
public:
    // `own` is the alternate screen without a cursor, which leaves the text before it alone.
    enum class Screen { shared, own };
    explicit Terminal(Screen screen);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    // 24 x 80 for a terminal that does not know.
    static ScreenSize size();

    // What poll() is to look at for keys; negative if there is no keyboard.
    static int keyboard();
    // The keys that were pressed, without those that send escape sequences. False after the terminal has gone.
    static bool read_keys(std::string &keys);

    // Whether what is shown must be drawn anew, once: the window has another size, or the program was stopped.
    static bool take_redraw();

    // The signals after which there may be something to draw: to be blocked between a look and a wait.
    static void add_signals(sigset_t &signals);

    // Makes the terminal what it was before. Does nothing without one; also for signal handlers.
    static void restore();
};

// A frame of an own screen, drawn over the frame before: as many lines as it has rows, without an end of the last line.
std::string drawn(const std::string &frame);

} // namespace tools
