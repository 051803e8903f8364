// SPDX-License-Identifier: Apache-2.0
#include "kslctl/forwarding_registers.h"

#include <cstring>
#include <fmt/core.h>
#include <fmt/ranges.h>

namespace kslctl {

namespace {

constexpr uint32_t kMirrorEnable = 1U << 31;
constexpr uint32_t kGroupFlag = 1U << 27;
constexpr uint32_t kPortBits = (1U << KSL_PORTS) - 1;
constexpr uint32_t kAgeBits = 0xFFFFF;
constexpr uint32_t kLearningBits = 0x1FFF;

uint32_t word_of(const Bytes &bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

int32_t read_age_timer(uint32_t chip, uint32_t, const PortRegister &, uint8_t *bytes) {
    ksl_word word = 0;
    const int32_t code = ksl_read_age_timer_reg(chip, &word);
    std::memcpy(bytes, &word, sizeof word);
    return code;
}

std::string age_text(const Bytes &bytes) {
    return std::to_string(age_time(bytes));
}

Json age_json(const Bytes &bytes) {
    return age_time(bytes);
}

std::string mirror_control_text(const Bytes &bytes) {
    const uint32_t word = word_of(bytes);
    const std::string capture = (word & kPortBits) != 0 ? "capture " + ports_text(word) : "no capture port";
    return fmt::format("{}, {}", (word & kMirrorEnable) != 0 ? "on" : "off", capture);
}

Json mirror_control_json(const Bytes &bytes) {
    const uint32_t word = word_of(bytes);
    return {{"enabled", (word & kMirrorEnable) != 0}, {"capture_ports", ports_json(word)}};
}

std::string mask_text(const Bytes &bytes) {
    return ports_text(word_of(bytes));
}

Json mask_json(const Bytes &bytes) {
    return ports_json(word_of(bytes));
}

std::string trunk_control_text(const Bytes &bytes) {
    return trunking_enabled(bytes) ? "on" : "off";
}

Json trunk_control_json(const Bytes &bytes) {
    return trunking_enabled(bytes);
}

std::string trunk_group_text(const Bytes &bytes) {
    const uint32_t word = word_of(bytes);
    return fmt::format("flag {}, {}", (word & kGroupFlag) != 0 ? "set" : "clear", ports_text(word));
}

Json trunk_group_json(const Bytes &bytes) {
    const uint32_t word = word_of(bytes);
    return {{"flag", (word & kGroupFlag) != 0}, {"ports", ports_json(word)}};
}

std::string learning_text(const Bytes &bytes) {
    return std::to_string(learning_number(bytes));
}

Json learning_json(const Bytes &bytes) {
    return learning_number(bytes);
}

constexpr char kAnyRegister[] = "dbg_ksl_get_reg";
constexpr char kTrunkRegisters[] = "ksl_read_trunk_group_regs";

} // namespace

const PortRegister kAgeTimer = {"age_timer",    "age timer", 0x02,    0, 0x06, 0, 4, "ksl_read_age_timer_reg",
                                read_age_timer, age_text,    age_json};
const PortRegister kMirrorControl = {
    "mirror_control",    "mirror control",   0x02, 0, 0x10, 0, 4, kAnyRegister, read_by_place,
    mirror_control_text, mirror_control_json};
const PortRegister kIngressMirrorMask = {"ingress_mirror_mask", "ingress mirror mask", 0x02,      0,        0x14, 0, 4,
                                         kAnyRegister,          read_by_place,         mask_text, mask_json};
const PortRegister kEgressMirrorMask = {"egress_mirror_mask", "egress mirror mask", 0x02,      0,        0x20, 0, 4,
                                        kAnyRegister,         read_by_place,        mask_text, mask_json};
// These two are read together.
const PortRegister kTrunkControl = {
    "trunk_control",    "trunk control",   0x32, 0, 0x00, 0, 1, kTrunkRegisters, nullptr,
    trunk_control_text, trunk_control_json};
const PortRegister kTrunkGroup0 = {"trunk_group_0",  "trunk group 0", 0x32, 0, 0x10, 0, 4, kTrunkRegisters, nullptr,
                                   trunk_group_text, trunk_group_json};
const PortRegister kLearnedCount = {"learned_addresses", "learned addresses", 0x41,         0, 0x30, 2, 2, kAnyRegister,
                                    read_by_place,       learning_text,       learning_json};
const PortRegister kLearningLimit = {"learning_limit", "learning limit", 0x41,         0, 0x70, 2, 2, kAnyRegister,
                                     read_by_place,    learning_text,    learning_json};

uint32_t age_time(const Bytes &bytes) {
    return word_of(bytes) & kAgeBits;
}

Bytes age_time_bytes(uint32_t time) {
    return word_bytes(time & kAgeBits);
}

uint32_t learning_number(const Bytes &bytes) {
    return word_of(bytes) >> 16 & kLearningBits;
}

Bytes learning_bytes(uint32_t number) {
    return word_bytes((number & kLearningBits) << 16);
}

Bytes word_bytes(uint32_t word) {
    return {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 8),
            static_cast<uint8_t>(word)};
}

std::string ports_text(uint32_t word) {
    std::vector<std::string> ranges;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        if ((word >> port & 1) == 0) {
            continue;
        }
        const uint32_t first = port;
        while (port + 1 < KSL_PORTS && (word >> (port + 1) & 1) != 0) {
            ++port;
        }
        ranges.push_back(first == port ? std::to_string(port) : fmt::format("{}-{}", first, port));
    }
    const char *const noun = (word & kPortBits & ((word & kPortBits) - 1)) == 0 ? "port" : "ports";
    return ranges.empty() ? "no port" : fmt::format("{} {}", noun, fmt::join(ranges, ", "));
}

Json ports_json(uint32_t word) {
    Json ports = Json::array();
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        if ((word >> port & 1) != 0) {
            ports.push_back(port);
        }
    }
    return ports;
}

Bytes capture_bytes(uint32_t port) {
    return word_bytes(kMirrorEnable | 1U << port);
}

Bytes port_range_bytes(uint32_t first, uint32_t last) {
    return word_bytes(((2U << last) - 1) & ~((1U << first) - 1));
}

bool trunking_enabled(const Bytes &control) {
    return (control[0] & 0x02) != 0;
}

TrunkRegisters read_trunk_registers(uint32_t chip, Report &report) {
    // The control register's word ends with zeros, and a group has no such flags.
    constexpr ksl_word kUntouched = 0xFFFFFFFF;
    ksl_trunk_group_regs regs{kUntouched, kUntouched, kUntouched};
    const int32_t code = ksl_read_trunk_group_regs(chip, &regs);

    const ksl_word words[] = {regs.control, regs.group0, regs.group0_again};
    constexpr const PortRegister *kPlaces[] = {&kTrunkControl, &kTrunkGroup0, &kTrunkGroup0};
    // After a failure, those before the first that was left alone; the last is, then, in any case.
    const size_t most = code == 0 ? 3 : 2;
    TrunkRegisters registers;
    size_t whole = 0;
    for (; whole < most && (code == 0 || words[whole] != kUntouched); ++whole) {
        std::memcpy(registers[whole].emplace().data(), &words[whole], sizeof words[whole]);
    }
    if (code != 0) {
        report.fail({chip, kTrunkRegisters, describe(*kPlaces[whole], 0), code});
    }
    return registers;
}

} // namespace kslctl
