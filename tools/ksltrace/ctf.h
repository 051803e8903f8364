// SPDX-License-Identifier: Apache-2.0
// A trace in the Common Trace Format (version 1.8), for that format's tools.
#pragma once

#include "ksltrace/decoder.h"

#include <string>

namespace ksltrace {

// The two files of a trace's folder. Each trace point is a class of events whose fields have an underscore before
// their names, as that format's tools expect of names that could be words of its language. Records that no table
// explains are events "unknown". Missing records are discarded events of the packet before the gap. In a
// merged trace each event says which file it is from.
struct CtfTrace {
    std::string metadata;
    std::string stream;
};

CtfTrace render_ctf(const Buffers &buffers, const Trace &trace, const std::vector<bool> &wanted);

} // namespace ksltrace
