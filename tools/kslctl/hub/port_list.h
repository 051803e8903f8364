// SPDX-License-Identifier: Apache-2.0
// Lists of ports, and words with a bit for each port.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kslctl::hub {

std::vector<uint32_t> all_ports();

// The ports whose bits are set, in ascending order; the bits above the last port are ignored.
std::vector<uint32_t> ports_of(uint32_t word);

// "ports 0-3, 7", "port 7", "no port"
std::string describe_ports(const std::vector<uint32_t> &ports);

} // namespace kslctl::hub
