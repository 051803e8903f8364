// SPDX-License-Identifier: Apache-2.0
// What the command line says beside the command.
#pragma once

#include <cstdint>
#include <vector>

namespace kslctl {

struct Options {
    std::vector<uint32_t> chips{0};
    bool json = false;
    bool documents_are_lines = false; // of a command that writes several
    bool raw = false;
    bool trace = false;
    bool simulate = false;
};

} // namespace kslctl
