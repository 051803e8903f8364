// SPDX-License-Identifier: Apache-2.0
// Numbers on the command line: decimal, or hexadecimal after "0x"; lists of them may hold ranges ("0-3,7").
#pragma once

#include <chrono>
#include <cstdint>
#include <ksl/ksl.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kslctl {

// An argument is wrong; the text is one sentence, and the parser adds the argument's name.
struct ArgumentError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What a number means, and its range.
struct NumberKind {
    const char *what;
    uint32_t least;
    uint32_t most;
};

inline constexpr NumberKind kPorts{"port", 0, KSL_PORTS - 1};
inline constexpr NumberKind kVlans{"VLAN of the table", 1, 4094};

// In ascending order, each once.
using NumberSet = std::vector<uint32_t>;

// All throw ArgumentError.
uint32_t parse_number(std::string_view text, const NumberKind &kind);
// As they are written, also several times.
std::vector<uint32_t> parse_list(std::string_view text, const NumberKind &kind);
// The numbers of all lists.
NumberSet parse_set(const std::vector<std::string> &lists, const NumberKind &kind);
// A time in seconds: "5", "0.25".
std::chrono::duration<double> parse_seconds(const std::string &text);

} // namespace kslctl
