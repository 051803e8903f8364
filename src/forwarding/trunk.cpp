// SPDX-License-Identifier: Apache-2.0
// Trunk groups: their registers, and whether two ports are members of one.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"

#include <ksl/decode.h>

namespace {

using namespace ksl;

// Bits of trunk control and of a group's register.
constexpr uint32_t kEnabledBit = 1;
constexpr uint32_t kGroupFlagBit = 27;

constexpr uint32_t kLastGroup = 1;

// The register's bytes come first in the word, the rest of the word is zero.
template <uint32_t Length>
[[gnu::always_inline]] inline int32_t read_word(uint32_t chip, const Register<Length> &place, ksl_word *word,
                                                TracePlace<3> failure) {
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, place, bytes, failure);
    if (result == 0) {
        copy_status_bytes(bytes, word, sizeof *word);
    }
    return result;
}

bool both_members(const ksl_trunk_group_regs &regs, uint32_t port_a, uint32_t port_b) {
    const uint32_t enabled = ksl_register_bit(&regs.control, ksl_trunk_control_register.length, kEnabledBit);
    const uint32_t group = load_word(&regs.group0);
    return (enabled & field(group, kGroupFlagBit, 1) & field(group, port_a, 1) & field(group, port_b, 1)) != 0;
}

} // namespace

extern "C" int32_t ksl_read_trunk_group_regs(uint32_t chip, ksl_trunk_group_regs *regs) {
    const CallFrame frame;
    trace(points::read_trunk_group_regs_entry, chip);
    if (regs == nullptr) {
        return -1;
    }
    int32_t result = read_word(chip, at<ksl_trunk_control_register>(), &regs->control, points::register_read_failed);
    if (result == 0) {
        trace(points::read_trunk_group_regs_control, chip, &regs->control);
        result = read_word(chip, at<ksl_trunk_group_0_register>(), &regs->group0, points::register_read_failed);
    }
    if (result == 0) {
        trace(points::read_trunk_group_regs_group0, chip, &regs->group0);
        // The same register once more: callers find it in the third word of their record.
        result = read_word(chip, at<ksl_trunk_group_0_register>(), &regs->group0_again, points::register_read_failed);
    }
    if (result == 0) {
        trace(points::read_trunk_group_regs_group0_again, chip, &regs->group0_again);
    }
    trace(points::read_trunk_group_regs_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_validate_trunk_group(uint32_t chip, uint32_t group, uint32_t port_a, uint32_t port_b,
                                            uint32_t *verdict) {
    const CallFrame frame;
    trace(points::validate_trunk_group_entry, chip, group, port_a, port_b, verdict);
    if (verdict == nullptr || port_a >= KSL_PORTS || port_b >= KSL_PORTS || group > kLastGroup) {
        return -1;
    }
    *verdict = 0;
    ksl_trunk_group_regs regs{};
    const int32_t result = ksl_read_trunk_group_regs(chip, &regs);
    if (result != 0) {
        trace(points::validate_trunk_group_read_failed);
    } else if (group == kLastGroup) {
        // Its register is none of those read, so its members are never confirmed.
        trace(points::validate_trunk_group_group1, group);
    } else {
        *verdict = both_members(regs, port_a, port_b) ? 1 : 0;
    }
    trace(points::validate_trunk_group_exit, result);
    return frame.leave(result);
}
