// SPDX-License-Identifier: Apache-2.0
// Several traces as one.
#pragma once

#include "ksltrace/decoder.h"

namespace ksltrace {

// Each trace keeps its own order, which is the order of writing; between traces the time decides. A record whose clock
// was set back is placed as if it had the latest time before it in its trace, so that the others stay in order, too.
// `names` are the traces' names.
Trace merge(std::vector<Trace> traces, std::vector<std::string> names);

} // namespace ksltrace
