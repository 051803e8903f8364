// SPDX-License-Identifier: Apache-2.0
// Why a command line is not carried out, each as one sentence.
#pragma once

#include <stdexcept>

namespace kslctl {

// An argument is wrong; the parser adds its name.
struct ArgumentError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Options do not go together.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The user was asked, and said no.
struct Declined : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace kslctl
