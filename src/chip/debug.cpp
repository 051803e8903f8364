// SPDX-License-Identifier: Apache-2.0
// Raw register access for debugging: any register read or written, and a fixed set dumped into the trace.
#include "chip/trace_points.h"
#include "frame/call_frame.h"

#include <iterator>
#include <ksl/registers.h>

namespace {

using namespace ksl;

struct DumpedRegister {
    uint8_t page;
    uint8_t offset;
    uint8_t length;

    consteval DumpedRegister(const ksl_register &row) : page(row.page), offset(row.offset), length(row.length) {}
};

// Trunk control is read and dumped twice: readers of the trace count on eleven registers.
constexpr DumpedRegister ksl_dump_reg_table[] = {
    ksl_switch_mode_register,        ksl_self_test_register,      ksl_age_timer_register,
    ksl_vlan_table_address_register, ksl_trunk_control_register,  ksl_trunk_control_register,
    ksl_vlan_enable_register,        ksl_vlan_control_1_register, ksl_vlan_control_2_register,
    ksl_vlan_control_7_register,     ksl_vlan_control_8_register,
};
constexpr uint32_t kDumpedRegisters = std::size(ksl_dump_reg_table);

} // namespace

extern "C" int32_t dbg_ksl_get_reg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *buffer) {
    const CallFrame frame;
    trace(points::get_reg_entry, chip, page, offset, length);
    const int32_t result = __hwa_getreg(chip, page, offset, length, buffer);
    if (result != 0) {
        trace(points::get_reg_failed, chip, page, offset, length);
    } else {
        __print_status_array(buffer, length);
    }
    trace(points::get_reg_exit, result);
    return frame.leave(result);
}

extern "C" int32_t dbg_ksl_set_reg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length,
                                   const uint8_t *buffer) {
    const CallFrame frame;
    trace(points::set_reg_entry, chip, page, offset, length);
    // Before the write: the trace shows what was tried.
    __print_status_array(buffer, length);
    const int32_t result = __hwa_setreg(chip, page, offset, length, buffer);
    if (result != 0) {
        trace(points::set_reg_failed, chip, page, offset, length);
    }
    trace(points::set_reg_exit, result);
    return frame.leave(result);
}

extern "C" int32_t dbg_ksl_dump_reg(uint32_t chip) {
    const CallFrame frame;
    trace(points::dump_reg_entry, chip);
    ksl_reg_request requests[kDumpedRegisters] = {};
    for (uint32_t i = 0; i < kDumpedRegisters; ++i) {
        requests[i].page = ksl_dump_reg_table[i].page;
        requests[i].offset = ksl_dump_reg_table[i].offset;
        requests[i].length = ksl_dump_reg_table[i].length;
    }
    const int32_t result = __hwa_get_multireg(chip, requests, kDumpedRegisters);
    if (result != 0) {
        trace(points::dump_reg_failed, result);
    } else {
        for (const ksl_reg_request &request : requests) {
            trace(points::dump_reg_register, request.page, request.offset, request.length);
            __print_status_array(request.data, request.length);
        }
    }
    trace(points::dump_reg_exit, result);
    return frame.leave(result);
}
