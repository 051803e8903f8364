// SPDX-License-Identifier: Apache-2.0
// Commands whose effect nobody can take back or read back ask first.
#pragma once

#include "kslctl/command_line/errors.h"

#include <string>

namespace kslctl {

// Returns if the user agrees: by --yes, or by an answer on a terminal. `action` completes "Really ...?". Throws
// Declined, and UsageError where there is nobody to ask.
void confirm(const std::string &action, bool yes);

} // namespace kslctl
