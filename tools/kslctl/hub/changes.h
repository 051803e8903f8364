// SPDX-License-Identifier: Apache-2.0
// Changes of registers: what is written, and what the registers held before and hold afterwards.
#pragma once

#include "kslctl/hub/registers.h"

#include <functional>

namespace kslctl::hub {

// An operation that writes registers of a port, or of the whole chip.
struct Change {
    struct Write {
        const Register *which;
        std::function<Bytes(const Bytes &before)> value; // what is written
    };

    const char *operation;
    std::string about;         // "speed of port {}"
    const char *undone;        // what it is after a failure: "not set"
    std::vector<Write> writes; // in their order
    // Gets what the first of the registers holds; the port is 0 for registers of the chip.
    std::function<int32_t(uint32_t chip, uint32_t port, const Bytes &before)> run;
    std::string refusal{}; // why the operation returns -1, if it does so for an argument
};

// The value of a write that does not depend on what the register holds.
inline std::function<Bytes(const Bytes &)> always(const Bytes &bytes) {
    return [bytes](const Bytes &) { return bytes; };
}

struct ChangedRegister {
    const Register *which;
    uint32_t port;
    Fact<Bytes> before;
    std::optional<Bytes> write; // none: nothing is written
    Fact<Bytes> after;          // in a dry run what would be written
};

struct Changes {
    bool dry_run;
    std::vector<ChangedRegister> registers; // in the order of the writes
};

// Changes the ports one after the other, or in a dry run none of them. A port whose registers cannot be read first is
// left as it is: nobody could say what was changed.
Changes change_ports(uint32_t chip, std::span<const uint32_t> ports, const Change &change, bool dry_run,
                     Failures &failures);
// The same for registers of the chip.
Changes change_chip(uint32_t chip, const Change &change, bool dry_run, Failures &failures);

} // namespace kslctl::hub
