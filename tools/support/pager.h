// SPDX-License-Identifier: Apache-2.0
// Long text on a terminal, a screen at a time.
#pragma once

#include "support/standard_streams.h"

#include <string>
#include <sys/types.h>

namespace tools {

// While it lives, the standard output goes to the user's pager: what PAGER says, else "less" if there is one. An
// empty PAGER, and "cat", mean none.
class Pager {
public:
    Pager();
    ~Pager() { finish(); }
    Pager(const Pager &) = delete;
    Pager &operator=(const Pager &) = delete;

    // Waits until the user leaves it. False when it could not be run; `command` is what was tried.
    bool finish();
    const std::string &command() const { return command_; }

private:
    std::string command_;
    pid_t process_ = -1;
    int terminal_ = -1;
};

// Writes a text through the pager. When that cannot be run, it says so on stderr, writes the text without it and
// returns false.
bool write_paged(std::string_view program, const std::string &text, StandardOutput &out);

// The same for a text that would scroll off the terminal; any other is just written.
bool write_long(std::string_view program, const std::string &text, StandardOutput &out);

} // namespace tools
