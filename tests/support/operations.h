// SPDX-License-Identifier: Apache-2.0
// Every operation of the library that runs in the call frame, for the rules that hold for all of them.
#pragma once

#include "frame/trace.h"

#include <ksl/ksl.h>

#include <string>
#include <vector>

namespace ksl::test {

struct Operation {
    std::string name;
    // The source file that its records name the lines of.
    std::string source;
    TracePoint entry;
    TracePoint exit;
    // Runs it so that it succeeds on registers of zeros.
    int32_t (*run)(uint32_t chip);
    // Runs it with the output pointer that it checks being null; null where it checks none.
    int32_t (*run_without_output)(uint32_t chip);
};

const std::vector<Operation> &operations();

} // namespace ksl::test
