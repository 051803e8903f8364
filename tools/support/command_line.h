// SPDX-License-Identifier: Apache-2.0
// Command lines, as all tools treat them.
#pragma once

#include "support/completion.h"
#include "support/standard_streams.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace tools {

// Parses the command line. Returns the exit status when nothing is left to do: help and version have been
// written, or the mistake has been reported. A bare call gets the help on stderr, as a usage error. Shells get their
// answers here, too.
std::optional<int> parse_command_line(CLI::App &app, int argc, const char *const *argv, const Suggestions &suggestions,
                                      StandardOutput &out);

// What is wrong with a command line, and where to read more; the exit status is kUsage.
void complain_about_usage(const std::string &program, std::string_view sentence);

} // namespace tools
