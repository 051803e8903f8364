// SPDX-License-Identifier: Apache-2.0
// Messages to the user of the simulated hub.
#pragma once

#include <json/problem.h>
#include <string>

namespace hwa {

using json::printable;
// The hub cannot be used; the text says why and what to do, in one line.
using json::Unusable;

// Prints one line on stderr.
void complain(const std::string &sentence);

// The system's words for an error number.
std::string system_error(int number);

} // namespace hwa
