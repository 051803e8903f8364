// SPDX-License-Identifier: Apache-2.0
// Which MAC addresses a user means: "02:00:00:00:01:10", or with * for any part of one, "02:00:*", "*:1A".
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace kslctl {

using Mac = std::array<uint8_t, 6>;

// With colons and small letters.
std::string mac_text(const Mac &mac);

class MacPattern {
public:
    MacPattern() = default; // any address

    // Throws ArgumentError for a text that no address can match.
    explicit MacPattern(std::string_view text);

    bool matches(const std::string &mac) const;

private:
    std::string pattern_ = "*";
};

} // namespace kslctl
