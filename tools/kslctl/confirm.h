// SPDX-License-Identifier: Apache-2.0
// Commands that interrupt the whole hub want to be confirmed.
#pragma once

#include <stdexcept>
#include <string>

namespace kslctl {

// The user said no.
struct Declined : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Returns when the user wants it: by --yes, or by an answer on a terminal. `action` completes "Really ...?". Throws
// Declined, and UsageError where there is nobody to ask.
void confirm(const std::string &action, bool yes);

} // namespace kslctl
