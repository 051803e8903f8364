// SPDX-License-Identifier: Apache-2.0
// Which MAC addresses a user means: "02:00:00:00:01:10" in any of the usual forms, or with * for any part of one,
// "02:00:*", "*-1A".
#pragma once

#include <string>
#include <string_view>

namespace kslctl {

class MacPattern {
public:
    MacPattern() = default; // any address

    // Throws ArgumentError for a text that no address can match.
    explicit MacPattern(std::string_view text);

    // The address has small letters and colons.
    bool matches(const std::string &mac) const;

private:
    std::string pattern_ = "*";
};

} // namespace kslctl
