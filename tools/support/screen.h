// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace tools {

// Of a terminal, in characters.
struct ScreenSize {
    size_t rows;
    size_t columns;
};

} // namespace tools
