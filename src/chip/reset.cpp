// SPDX-License-Identifier: Apache-2.0
// Operations on a whole switch chip: its reset, and the hub's configuration for it.
#include "chip/trace_points.h"
#include "frame/call_frame.h"

namespace {

using namespace ksl;

constexpr uint32_t kLastConfiguration = 2;

} // namespace

extern "C" int32_t ksl_reset_switch(uint32_t chip) {
    const CallFrame frame;
    trace(points::reset_switch_entry, chip);
    // The lower library gets the whole chip number here, not the low 8 bits alone.
    const int32_t result = __hwa_reset_switch_chip(chip);
    if (result != 0) {
        trace(points::reset_switch_failed, chip);
    } else {
        trace(points::reset_switch_done);
    }
    trace(points::reset_switch_exit, result);
    return frame.leave(result);
}

extern "C" int32_t dbg_ksl_set_EPN_configuration(uint32_t chip, uint32_t configuration) {
    const CallFrame frame;
    trace(points::set_epn_configuration_entry, chip, configuration);
    int32_t result = -1;
    if (configuration > kLastConfiguration) {
        trace(points::set_epn_configuration_refused, configuration);
    } else {
        result = __hwa_setswitchconfig(chip, configuration);
        if (result != 0) {
            trace(points::set_epn_configuration_failed, chip, configuration, result);
        }
    }
    trace(points::set_epn_configuration_exit, result);
    return frame.leave(result);
}
