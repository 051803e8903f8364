// SPDX-License-Identifier: Apache-2.0
// Text that fits a terminal.
#pragma once

#include "support/standard_streams.h"

#include <string>
#include <string_view>

namespace ksltrace {

// Breaks lines that are longer than `width` at blanks; they go on after `indent` blanks. A word that is longer than a
// line stays whole. A width of 0 breaks nothing.
std::string fold(std::string_view text, size_t width, size_t indent);

// Columns of the terminal that the output is, as COLUMNS or the terminal itself says; 0 for none, or when unknown.
size_t terminal_width(const tools::StandardOutput &out);

} // namespace ksltrace
