// SPDX-License-Identifier: Apache-2.0
// The links of a chip over a while, by their status alone: a read of the link change register would take its marks away
// from whoever else looks at them.
#pragma once

#include "kslctl/hub/registers.h"

#include <chrono>

namespace kslctl::hub {

// By port: how often its link was not as at the read before.
using LinkChanges = std::array<uint32_t, KSL_PORTS>;

// Reads several times within that time, at the beginning and at the end, too.
Fact<LinkChanges> watch_links(uint32_t chip, std::chrono::duration<double> time, Failures &failures);

} // namespace kslctl::hub
