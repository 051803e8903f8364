// SPDX-License-Identifier: Apache-2.0
// Command lines, as all tools treat them.
#pragma once

#include "support/completion.h"
#include "support/standard_streams.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace tools {

// A command line that cannot be carried out although it could be parsed; the text is the reason as one sentence.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
    std::string command{}; // whose help tells more, "kslctl port show"; else that of the program
};

// What every tool has: a version, commands of which one is required, and options that may also follow it.
void set_up(CLI::App &app, const char *help);

// Parses the command line. Returns the exit status when nothing is left to do: help and version have been
// written, or the mistake has been reported. A bare call gets the help on stderr, as a usage error. Shells get their
// answers here, too; only these need the suggestions.
std::optional<int> parse_command_line(CLI::App &app, int argc, const char *const *argv, Suggestions (*suggestions)(),
                                      StandardOutput &out);

// What main() is to return: the status of `run`, or that of what it throws, which is reported on stderr.
int run_program(const char *program, int (*run)(int argc, char **argv), int argc, char **argv);

} // namespace tools
