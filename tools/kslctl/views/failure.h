// SPDX-License-Identifier: Apache-2.0
// Failures as sentences and as JSON.
#pragma once

#include "kslctl/hub/library.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// The sentence explains the codes of a simulated hub.
Shown failure(const hub::Failure &failure, bool simulated);

// Failures with the same cause, as one sentence.
std::string sentence(const hub::Failures &of_one_cause, bool simulated);

// A failure that is about no operation and no chip.
Shown failure(const std::string &sentence);

std::string sentence(const hub::LibraryProblem &problem);

} // namespace kslctl::views
