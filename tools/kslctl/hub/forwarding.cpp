// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/forwarding.h"

#include <cstring>
#include <fmt/core.h>
#include <ksl/decode.h>

namespace kslctl::hub {

namespace {

constexpr uint32_t kMirrorEnable = 1U << 31;
constexpr uint32_t kGroupFlag = 1U << 27;
constexpr uint8_t kTrunksEnabled = 0x02;
constexpr uint32_t kAgeBits = 0xFFFFF;
constexpr uint32_t kLearningBits = 0x1FFF;

} // namespace

MirrorControl decode_mirror_control(const Bytes &bytes) {
    const uint32_t word = ksl_value32(bytes.data());
    return {(word & kMirrorEnable) != 0, ports_of(word)};
}

bool decode_trunk_control(const Bytes &bytes) {
    return (bytes[0] & kTrunksEnabled) != 0;
}

TrunkGroup decode_trunk_group(const Bytes &bytes) {
    const uint32_t word = ksl_value32(bytes.data());
    return {(word & kGroupFlag) != 0, ports_of(word)};
}

uint32_t decode_learning(const Bytes &bytes) {
    return ksl_value16(bytes.data()) & kLearningBits;
}

Trunks read_trunks(uint32_t chip, Failures &failures) {
    ksl_trunk_group_regs regs;
    std::memset(&regs, kUntouched, sizeof regs);
    const int32_t code = ksl_read_trunk_group_regs(chip, &regs);
    const Target targets[] = {{registers::trunk_control, regs.control},
                              {registers::trunk_group_0, regs.group0},
                              {registers::trunk_group_0, regs.group0_again}};
    const std::vector<Reading> readings = readings_of(chip, "ksl_read_trunk_group_regs", code, targets, failures);
    return {readings[0].bytes.map(decode_trunk_control), readings[1].bytes.map(decode_trunk_group),
            readings[2].bytes.map(decode_trunk_group), readings};
}

Fact<bool> ask_trunk(uint32_t chip, const TrunkQuestion &question, Failures &failures) {
    const auto &[group, port_a, port_b] = question;
    uint32_t answer = 0;
    if (const int32_t code = ksl_validate_trunk_group(chip, group, port_a, port_b, &answer); code != 0) {
        return note(failures,
                    {chip, "ksl_validate_trunk_group", fmt::format("trunk group {}", group), code, "not checked"});
    }
    return answer != 0;
}

Mirroring read_mirroring(uint32_t chip, Failures &failures) {
    constexpr uint32_t kChip[] = {0};
    const auto ports = [](const Bytes &mask) { return ports_of(ksl_value32(mask.data())); };
    std::vector<Reading> readings =
        read_ports({&registers::mirror_control, &registers::ingress_mirror_mask, &registers::egress_mirror_mask}, chip,
                   kChip, failures);
    return {readings[0].bytes.map(decode_mirror_control), readings[1].bytes.map(ports), readings[2].bytes.map(ports),
            std::move(readings)};
}

std::vector<PortLearning> read_learning(uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    std::vector<PortLearning> list;
    for (const uint32_t port : ports) {
        PortLearning &of_port = list.emplace_back(PortLearning{port, {}, {}});
        of_port.learned = read_number(registers::learned_addresses, chip, port, "ksl_get_SA_count_at_port",
                                      ksl_get_SA_count_at_port, failures);
        of_port.limit = read_number(registers::learning_limit, chip, port, "ksl_get_learning_threshold_at_port",
                                    ksl_get_learning_threshold_at_port, failures);
    }
    return list;
}

std::vector<Reading> read_learning_registers(uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    return read_ports({&registers::learned_addresses, &registers::learning_limit}, chip, ports, failures);
}

Change new_learning_limit(uint32_t limit) {
    return {
        .operation = "ksl_set_learning_threshold_at_port",
        .about = "learning limit of port {}",
        .undone = "not set",
        .writes = {{&registers::learning_limit, always(bytes16(limit & kLearningBits))}},
        .run = [limit](uint32_t chip, uint32_t port,
                       const Bytes &) { return ksl_set_learning_threshold_at_port(chip, port, limit); },
        .refusal = limit > kHighestLearningLimit ? "the library takes limits from 0 to 8192" : "",
    };
}

Change new_age_time(uint32_t time) {
    return {
        .operation = "ksl_set_age_timer_reg",
        .about = "age timer",
        .undone = "not set",
        .writes = {{&registers::age_timer, always(bytes32(time & kAgeBits))}},
        .run = [time](uint32_t chip, uint32_t, const Bytes &) { return ksl_set_age_timer_reg(chip, time); },
    };
}

Change mirroring(uint32_t capture, uint32_t first, uint32_t last) {
    const uint32_t mirrored = ((2U << last) - 1) & ~((1U << first) - 1);
    return {
        .operation = "ksl_set_mirror_port",
        .about = "mirroring",
        .undone = "not set",
        .writes = {{&registers::mirror_control, always(bytes32(kMirrorEnable | 1U << capture))},
                   {&registers::ingress_mirror_mask, always(bytes32(0))},
                   {&registers::egress_mirror_mask, always(bytes32(mirrored))}},
        .run = [=](uint32_t chip, uint32_t, const Bytes &) { return ksl_set_mirror_port(chip, capture, first, last); },
    };
}

Change mirroring_off(uint32_t port) {
    return {
        .operation = "ksl_unset_mirror_port",
        .about = "mirroring",
        .undone = "not switched off",
        .writes = {{&registers::mirror_control, always(bytes32(0))}},
        .run = [port](uint32_t chip, uint32_t, const Bytes &) { return ksl_unset_mirror_port(chip, port); },
    };
}

} // namespace kslctl::hub
