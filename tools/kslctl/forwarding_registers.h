// SPDX-License-Identifier: Apache-2.0
// The registers of ageing, mirroring, trunk groups and learning limits, and what kslctl reads into their bits.
#pragma once

#include "kslctl/port_registers.h"

#include <ksl/ksl.h>

namespace kslctl {

extern const PortRegister kAgeTimer;
extern const PortRegister kMirrorControl;
extern const PortRegister kIngressMirrorMask;
extern const PortRegister kEgressMirrorMask;
extern const PortRegister kTrunkControl;
extern const PortRegister kTrunkGroup0;
extern const PortRegister kLearnedCount;
extern const PortRegister kLearningLimit;

// The register's number; the bits beside it are 0.
uint32_t age_time(const Bytes &bytes);
Bytes age_time_bytes(uint32_t time);
uint32_t learning_number(const Bytes &bytes);
Bytes learning_bytes(uint32_t number);

// A word with a bit for each port, and others beside them.
Bytes word_bytes(uint32_t word);
// "ports 0-3, 7"
std::string ports_text(uint32_t word);
Json ports_json(uint32_t word);

// What ksl_set_mirror_port() writes into the control register and the egress mask.
Bytes capture_bytes(uint32_t port);
Bytes port_range_bytes(uint32_t first, uint32_t last);

bool trunking_enabled(const Bytes &control);

// By the registers of ksl_trunk_group_regs, in the order in which they are read.
using TrunkRegisters = std::array<std::optional<Bytes>, 3>;
// A read that fails, which is reported, also ends the reading.
TrunkRegisters read_trunk_registers(uint32_t chip, Report &report);

} // namespace kslctl
