// SPDX-License-Identifier: Apache-2.0
// The age timer of the address table, and the chip's main control and status registers in one record.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"

namespace {

using namespace ksl;

constexpr Register kAgeTimer{0x02, 0x06, 4};

constexpr uint32_t age_time(uint32_t word) {
    return field(word, 0, 20);
}

} // namespace

extern "C" int32_t ksl_read_age_timer_reg(uint32_t chip, ksl_word *value) {
    const CallFrame frame;
    trace(points::read_age_timer_reg_entry, chip);
    if (value == nullptr) {
        return -1;
    }
    uint8_t bytes[sizeof(ksl_word)] = {};
    const int32_t result = read_register(chip, kAgeTimer, bytes);
    if (result == 0) {
        for (const uint8_t byte : bytes) {
            trace(points::read_age_timer_reg_byte, byte);
        }
        copy_status_bytes(bytes, value, sizeof bytes);
    }
    trace(points::read_age_timer_reg_exit, age_time(load_word(value)), result);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_age_timer_reg(uint32_t chip, uint32_t value) {
    const CallFrame frame;
    trace(points::set_age_timer_reg_entry, chip, value);
    uint8_t bytes[sizeof(ksl_word)];
    store_word(age_time(value), bytes);
    const int32_t result = write_register(chip, kAgeTimer, bytes, points::register_write_failed);
    trace(points::set_age_timer_reg_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_cntrl_regs(uint32_t chip, ksl_cntrl_regs *regs) {
    const CallFrame frame;
    trace(points::read_cntrl_regs_entry, chip);
    // The first read refuses a null record; no other step sees one.
    int32_t result = ksl_read_switch_mode_reg(chip, reinterpret_cast<uint8_t *>(regs));
    if (result != 0) {
        trace(points::read_cntrl_regs_switch_mode_failed);
    } else if ((result = ksl_read_bist_status_reg(chip, regs->bist_status)) != 0) {
        trace(points::read_cntrl_regs_bist_status_failed);
    } else if ((result = ksl_read_link_status_regs(chip, regs->link_status1, regs->link_status2)) != 0) {
        trace(points::read_cntrl_regs_link_status_failed);
    } else if ((result = ksl_read_port_speed_reg(chip, regs->port_speed)) != 0) {
        trace(points::read_cntrl_regs_port_speed_failed);
    } else if ((result = ksl_read_port_duplex_reg(chip, regs->port_duplex)) != 0) {
        trace(points::read_cntrl_regs_port_duplex_failed);
    } else if ((result = ksl_read_age_timer_reg(chip, &regs->age_timer)) != 0) {
        trace(points::read_cntrl_regs_age_timer_failed);
    }
    trace(points::read_cntrl_regs_exit, result);
    return frame.leave(result);
}
