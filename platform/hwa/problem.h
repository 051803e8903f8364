// SPDX-License-Identifier: Apache-2.0
// How the simulated hub tells its user what is wrong.
#pragma once

#include <stdexcept>
#include <string>

namespace hwa {

// The hub cannot be used; the text says why and what to do, in one sentence.
struct Unusable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Prints one line on stderr.
void complain(const std::string &sentence);

// The system's words for an error number.
std::string system_error(int number);

} // namespace hwa
