// SPDX-License-Identifier: Apache-2.0
// How a chip forwards: mirroring, trunk groups, learned addresses and their limits; and how long addresses are kept.
#pragma once

#include "kslctl/hub/changes.h"

namespace kslctl::hub {

struct TrunkGroup {
    bool flag;
    std::vector<uint32_t> ports;

    bool operator==(const TrunkGroup &) const = default;
};

struct Trunks {
    Fact<bool> enabled;
    Fact<TrunkGroup> group0;
    Fact<TrunkGroup> group0_again;  // the operation reads the register twice
    std::vector<Reading> registers; // in the order in which they were read
};

// All by one operation, which ends at the first failure.
Trunks read_trunks(uint32_t chip, Failures &failures);

struct TrunkQuestion {
    uint32_t group;
    uint32_t port_a;
    uint32_t port_b;
};

// Whether both ports are members of the group.
Fact<bool> ask_trunk(uint32_t chip, const TrunkQuestion &question, Failures &failures);

struct MirrorControl {
    bool enabled;
    std::vector<uint32_t> capture_ports;

    bool operator==(const MirrorControl &) const = default;
};

// Which frames a chip mirrors, and to which ports. The masks also hold what they did before it was switched off.
struct Mirroring {
    Fact<MirrorControl> control;
    Fact<std::vector<uint32_t>> ingress;
    Fact<std::vector<uint32_t>> egress;
    std::vector<Reading> registers; // in the order in which they were read
};

Mirroring read_mirroring(uint32_t chip, Failures &failures);

struct PortLearning {
    uint32_t port;
    Fact<uint32_t> learned;
    Fact<uint32_t> limit;
};

// The operations deliver the numbers alone; the registers' bytes are read on their own.
std::vector<PortLearning> read_learning(uint32_t chip, std::span<const uint32_t> ports, Failures &failures);
std::vector<Reading> read_learning_registers(uint32_t chip, std::span<const uint32_t> ports, Failures &failures);

// As many addresses as the table holds. Its number has no room in the register, where 0 takes its place.
inline constexpr uint32_t kHighestLearningLimit = 8192;
inline constexpr uint32_t kNoLearningLimit = 0;

// For change_ports().
Change new_learning_limit(uint32_t limit);

// For change_chip().
Change new_age_time(uint32_t time);
Change mirroring(uint32_t capture, uint32_t first, uint32_t last);
Change mirroring_off(uint32_t port);

// What the bits mean.
MirrorControl decode_mirror_control(const Bytes &bytes);
bool decode_trunk_control(const Bytes &bytes);
TrunkGroup decode_trunk_group(const Bytes &bytes);
uint32_t decode_learning(const Bytes &bytes);

} // namespace kslctl::hub
