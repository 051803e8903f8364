// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/standard_streams.h"

#include <string>

namespace ksltrace {

// Writes a trace as text. Returns the exit status.
int show(const std::string &file_or_name, tools::StandardOutput &out);

} // namespace ksltrace
