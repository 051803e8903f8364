// SPDX-License-Identifier: Apache-2.0
// How the simulated hub tells its user what is wrong.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace hwa {

// The text without the characters that would break a line or steer a terminal.
std::string printable(std::string text);

// The hub cannot be used; the text says why and what to do, in one sentence. It may quote what the user wrote.
struct Unusable : std::runtime_error {
    explicit Unusable(std::string sentence) : std::runtime_error(printable(std::move(sentence))) {}
};

// Prints one line on stderr.
void complain(const std::string &sentence);

// The system's words for an error number.
std::string system_error(int number);

} // namespace hwa
