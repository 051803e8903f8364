// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command_line/mac_pattern.h"

#include "kslctl/command_line/numbers.h"

#include <algorithm>
#include <cctype>
#include <fmt/core.h>
#include <fnmatch.h>

namespace kslctl {

namespace {

bool is_digit(char character) {
    return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

// Whether some address matches: digits are all alike here.
bool is_possible(std::string pattern) {
    std::replace_if(pattern.begin(), pattern.end(), is_digit, 'X');
    return pattern.find_first_not_of("X:*") == std::string::npos &&
           fnmatch(pattern.c_str(), "XX:XX:XX:XX:XX:XX", 0) == 0;
}

// With colons, as kslctl prints addresses; other tools print 02-00-00-00-00-01, 0200.0000.0001 or 020000000001.
std::string with_colons(std::string pattern) {
    if (fnmatch("[!.][!.][!.][!.].[!.][!.][!.][!.].[!.][!.][!.][!.]", pattern.c_str(), 0) == 0) {
        std::erase(pattern, '.');
    }
    constexpr size_t kDigits = 12;
    if (pattern.size() == kDigits && std::all_of(pattern.begin(), pattern.end(), is_digit)) {
        for (size_t place = kDigits - 2; place > 0; place -= 2) {
            pattern.insert(place, ":");
        }
    }
    std::replace(pattern.begin(), pattern.end(), '-', ':');
    return pattern;
}

} // namespace

MacPattern::MacPattern(std::string_view text) : pattern_(with_colons(std::string(text))) {
    // A capital X is no digit and must not pass for one.
    if (text.find('X') != std::string_view::npos || !is_possible(pattern_)) {
        throw ArgumentError(
            fmt::format("no MAC address matches \"{}\"; write one like 02:00:00:00:01:1a, with * for any part of it "
                        "(02:00:*)",
                        text));
    }
    std::transform(pattern_.begin(), pattern_.end(), pattern_.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
}

bool MacPattern::matches(const std::string &mac) const {
    return fnmatch(pattern_.c_str(), mac.c_str(), 0) == 0;
}

} // namespace kslctl
