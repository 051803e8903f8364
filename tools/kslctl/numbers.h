// SPDX-License-Identifier: Apache-2.0
// Numbers on the command line: decimal, or hexadecimal behind "0x"; lists of them may hold ranges ("0-3,7").
#pragma once

#include <cstdint>
#include <ksl/ksl.h>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace kslctl {

// What a number stands for, and from where to where it goes.
struct NumberKind {
    const char *what;
    uint32_t least;
    uint32_t most;
};

inline constexpr NumberKind kPorts{"port", 0, KSL_PORTS - 1};
inline constexpr NumberKind kVlans{"VLAN of the table", 1, 4094};

// What is wrong with an argument, as one sentence.
struct ArgumentError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Both throw ArgumentError.
uint32_t parse_number(std::string_view text, const NumberKind &kind);
// As they are written down, also several times.
std::vector<uint32_t> parse_list(std::string_view text, const NumberKind &kind);

} // namespace kslctl
