// SPDX-License-Identifier: Apache-2.0
// Sentences for a terminal of 80 columns.
#pragma once

#include "kslctl/views/shown.h"

namespace kslctl::views {

// The words of a text, on lines that begin at that column below each other. The first begins with a heading, which may
// be emphasised.
std::string paragraph(std::string_view heading, size_t column, const std::string &text, const Style &style);

} // namespace kslctl::views
