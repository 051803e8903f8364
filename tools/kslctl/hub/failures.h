// SPDX-License-Identifier: Apache-2.0
// Failures that happened for the same reason: a chip that does not answer leaves many registers unread.
#pragma once

#include "kslctl/hub/fact.h"

namespace kslctl::hub {

// Whether both are of one chip, and have the same code or, without one, the same reason.
bool have_same_cause(const Failure &one, const Failure &other);

// Those with the same cause together. Both the groups and the failures of each are in the order in which they happened.
std::vector<Failures> by_cause(const Failures &failures);

} // namespace kslctl::hub
