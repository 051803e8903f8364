// SPDX-License-Identifier: Apache-2.0
// What kslctl reads into the bits of the status registers; the library only passes them on.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace kslctl {

// A register as the library hands it out, most significant byte first; zero behind its length.
using Bytes = std::array<uint8_t, 8>;

struct SelfTest {
    bool passed;
    std::vector<unsigned> failed_ports;
};

struct Mode {
    bool managed;
    bool forwarding;
};

SelfTest self_test(const Bytes &bytes);
Mode mode(const Bytes &bytes);

// Whether the port's bit is set in a word with a bit for each port.
bool port_bit(const Bytes &bytes, unsigned port);

} // namespace kslctl
