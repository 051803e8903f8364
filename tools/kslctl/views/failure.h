// SPDX-License-Identifier: Apache-2.0
// Failures as sentences and as JSON.
#pragma once

#include "kslctl/hub/library.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// The sentence explains the codes of a simulated hub.
Shown failure(const hub::Failure &failure, bool simulated);

// A failure that is about no operation and no chip.
Shown failure(const std::string &sentence);

std::string sentence(const hub::LibraryProblem &problem);

} // namespace kslctl::views
