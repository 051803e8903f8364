// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace kslcfg {

// The expected configuration cannot be used; the text names the place and says why, in one sentence.
struct Unusable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace kslcfg
