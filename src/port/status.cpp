// SPDX-License-Identifier: Apache-2.0
// Plain reads of the chip's status registers: self-test, link, switch mode, speed and duplex.
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "port/trace_points.h"

using namespace ksl;

extern "C" int32_t ksl_read_bist_status_reg(uint32_t chip, uint8_t *out) {
    const CallFrame frame;
    trace(points::read_bist_status_reg_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, at<ksl_self_test_register>(), bytes);
    if (result == 0) {
        for (uint32_t i = 0; i < ksl_self_test_register.length; ++i) {
            trace(points::read_bist_status_reg_byte, bytes[i]);
        }
        // Two bytes more than the register has: callers hold the status in two words.
        copy_status_bytes(bytes, out, 8);
    }
    // Of the output, also after a failed read: then it is the caller's own byte.
    trace(points::read_bist_status_reg_exit, out[0] >> 7);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_link_status_regs(uint32_t chip, uint8_t *out1, uint8_t *out2) {
    const CallFrame frame;
    trace(points::read_link_status_regs_entry, chip);
    if (out1 == nullptr) {
        return -1;
    }
    uint8_t first[kRegisterBytes] = {};
    int32_t result = read_register(chip, at<ksl_link_status_register>(), first);
    if (result == 0) {
        copy_status_bytes(first, out1, 4);
        trace(points::read_link_status_regs_first, out1);
        uint8_t second[kRegisterBytes] = {};
        result = read_register(chip, at<ksl_link_change_register>(), second);
        if (result == 0) {
            copy_status_bytes(second, out2, 4);
        }
    }
    trace(points::read_link_status_regs_exit, out2, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_link_status_reg(uint32_t chip, uint8_t *out) {
    const CallFrame frame;
    trace(points::read_link_status_reg_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, at<ksl_link_status_register>(), bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_link_status_reg_exit, out, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_switch_mode_reg(uint32_t chip, uint8_t *out) {
    const CallFrame frame;
    trace(points::read_switch_mode_reg_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, at<ksl_switch_mode_register>(), bytes);
    if (result == 0) {
        // A whole word: the register's byte and three zero bytes.
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_switch_mode_reg_exit, out);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_port_speed_reg(uint32_t chip, uint8_t *out) {
    const CallFrame frame;
    trace(points::read_port_speed_reg_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    // Not cleared: the register fills the output whole.
    uint8_t bytes[kRegisterBytes];
    const int32_t result = read_register(chip, at<ksl_port_speed_register>(), bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_port_speed_reg_exit, out);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_port_duplex_reg(uint32_t chip, uint8_t *out) {
    const CallFrame frame;
    trace(points::read_port_duplex_reg_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, at<ksl_port_duplex_register>(), bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_port_duplex_reg_exit, out);
    return frame.leave(result);
}
