// SPDX-License-Identifier: Apache-2.0
// What a shell offers after the words that are already typed. The scripts of packaging/completions ask with
// "PROGRAM --complete WORD...", so that they know every command and option without naming one.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

inline constexpr char kComplete[] = "--complete";

// What options and arguments take, by their name; the parser knows no more than that they take a text.
using Suggestions = std::map<std::string, std::vector<std::string>, std::less<>>;
// First in its list, it means names of files, and the words after it: the shell knows the files itself.
inline constexpr char kFiles[] = ":files";

// The names of the commands, or options, that may follow a command.
std::vector<std::string> command_names(const CLI::App &command);
std::vector<std::string> option_names(const CLI::App &command);

// The numbers from 0 to that one.
std::vector<std::string> numbers_to(unsigned last);

// A line for each word that may take the place of the last one; commands and options with a tabulator and what they are
// for.
std::string complete(const CLI::App &app, std::vector<std::string> words, const Suggestions &suggestions);

} // namespace tools
