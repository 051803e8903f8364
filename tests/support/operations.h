// SPDX-License-Identifier: Apache-2.0
// Every operation of the library that runs in the call frame, for the rules that hold for all of them.
#pragma once

#include "frame/trace.h"

#include <ksl/ksl.h>

#include <ostream>
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
    // Runs it with an argument for which it leaves at once, a null output or a port out of range; null where it has
    // none.
    int32_t (*run_refused)(uint32_t chip);
    // The values of its entry record in `run`; the chip number alone where nothing is said.
    std::vector<uint32_t> (*entry_values)(uint32_t chip) = [](uint32_t chip) { return std::vector<uint32_t>{chip}; };
    // How many operations it calls, each of which runs in a frame of its own.
    uint32_t inner_operations = 0;
    // Some leave the start stamp to the operations that they call.
    bool stamps_its_start = true;

    friend std::ostream &operator<<(std::ostream &out, const Operation &operation) { return out << operation.name; }
};

const std::vector<Operation> &operations();

} // namespace ksl::test
