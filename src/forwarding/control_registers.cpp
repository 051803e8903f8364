// SPDX-License-Identifier: Apache-2.0
// The chip's main control and status registers in one record.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"

using namespace ksl;

extern "C" int32_t ksl_read_cntrl_regs(uint32_t chip, ksl_cntrl_regs *regs) {
    const CallFrame frame;
    trace(points::read_cntrl_regs_entry, chip);
    // The first read refuses a null record, so no later one sees it.
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
