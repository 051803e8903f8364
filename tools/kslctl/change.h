// SPDX-License-Identifier: Apache-2.0
// Changes of registers: what is written, and what the registers held before and hold afterwards.
#pragma once

#include "kslctl/arguments.h"
#include "kslctl/command.h"
#include "kslctl/port_registers.h"

#include <functional>
#include <vector>

namespace kslctl {

// An operation that writes registers of a port, or of a whole chip.
struct Change {
    const char *operation;
    const char *what;   // "speed of port {}"
    const char *undone; // what it is after a failure: "not set"
    struct Written {
        const PortRegister *which;
        std::function<Bytes(const Bytes &before)> value; // what is written into it
    };
    std::vector<Written> registers; // in the order of the writes
    // Gets what the first of the registers holds; the port is 0 for registers of the chip.
    std::function<int32_t(uint32_t chip, uint32_t port, const Bytes &before)> run;
    const char *refusal = nullptr; // why the operation returns -1, where it does so for an argument
};

// Changes the ports one after the other, on each chip; or, in a dry run, tells what would be written. A port whose
// registers cannot be read first is left as it is: nobody could say what was changed.
Result change_ports(Context &context, const NumberSet &ports, const Change &change, bool dry_run);
// The same of registers of the chip.
Result change_chips(Context &context, const Change &change, bool dry_run);

} // namespace kslctl
