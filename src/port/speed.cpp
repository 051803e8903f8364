// SPDX-License-Identifier: Apache-2.0
// The speed of a port, read and forced through its PHY. No port number is refused: each makes a page.
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"
#include "port/trace_points.h"

#include <linux/mii.h>

namespace {

using namespace ksl;

constexpr uint32_t kSpeedIndicationBit = 1;

// 100 Mb/s is set together with auto-negotiation, 10 Mb/s without it.
constexpr uint32_t kFast = BMCR_SPEED100 | BMCR_ANENABLE;

// The code of a speed in Mb/s, as the trace shows it.
constexpr uint32_t ksl_speed_code(uint32_t speed) {
    return speed == 100 ? 1 : 0;
}

} // namespace

extern "C" int32_t ksl_get_port_speed(uint32_t chip, uint32_t port, uint32_t *out) {
    const CallFrame frame;
    trace(points::get_port_speed_entry, chip);
    uint8_t bytes[kRegisterBytes];
    const int32_t result =
        read_register(chip, at<ksl_speed_indication_register>(port), bytes, points::get_port_speed_read_failed);
    if (result == 0) {
        *out = field(load_half(bytes), kSpeedIndicationBit, 1);
    }
    // The address of the output, not what it holds.
    trace(points::get_port_speed_exit, out);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_port_speed(uint32_t chip, uint32_t port, uint32_t speed) {
    const CallFrame frame;
    trace(points::set_port_speed_entry, chip, port, speed);
    int32_t result = -1;
    // The exit record shows a refused speed as it came.
    uint32_t code = speed;
    if (speed == 10 || speed == 100) {
        code = ksl_speed_code(speed);
        trace(points::set_port_speed_access);
        const auto control = at<ksl_phy_control_register>(port);
        uint8_t bytes[kRegisterBytes];
        result = read_register(chip, control, bytes);
        if (result == 0) {
            const uint32_t others = load_half(bytes) & ~kFast;
            store_half(code != 0 ? others | kFast : others, bytes);
            // A failed write leaves the record of a failed read: readers of the trace know it by that.
            result = write_register(chip, control, bytes, points::register_read_failed);
        }
    }
    trace(points::set_port_speed_exit, result, code);
    return frame.leave(result);
}
