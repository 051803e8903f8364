// SPDX-License-Identifier: Apache-2.0
// Switching ports on and off, their control register, and the reset of a PHY. All values written are fixed: nothing is
// read and merged before.
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"
#include "port/trace_points.h"

#include <linux/mii.h>

namespace {

using namespace ksl;

// The bytes of a PHY control register.
struct PhyControl {
    consteval PhyControl(uint32_t bits) : bytes{static_cast<uint8_t>(bits >> 8), static_cast<uint8_t>(bits)} {}

    uint8_t bytes[2];
};

constexpr PhyControl kReset = BMCR_RESET;

// The settings that switch a port, and the records about it.
struct PortSwitch {
    PhyControl phy_control;
    uint8_t port_control;
    TracePlace<2> entry;
    TracePlace<3> phy_write_failed;
    TracePlace<3> writing;
    TracePlace<3> write_failed;
    TracePlace<2> written;
    TracePlace<3> read_failed;
    TracePlace<3> read_back;
    TracePlace<1> exit;
};

int32_t switch_port(uint32_t chip, uint32_t port, const PortSwitch &to) {
    const CallFrame frame;
    trace(to.entry, chip, port);
    if (port >= KSL_PORTS) {
        return -1;
    }
    const auto control = at<ksl_port_control_register>(port);
    uint8_t bytes[kRegisterBytes] = {to.port_control};
    int32_t result =
        write_register(chip, at<ksl_phy_control_register>(port), to.phy_control.bytes, to.phy_write_failed);
    if (result == 0) {
        trace(to.writing, port, control.offset, bytes);
        result = write_register(chip, control, bytes, to.write_failed);
    }
    if (result == 0) {
        trace(to.written, port, result);
        // Read back for the trace alone: a port that did not switch is no failure.
        result = read_register(chip, control, bytes, to.read_failed);
        if (result == 0) {
            trace(to.read_back, port, field(bytes[0], 1, 1), field(bytes[0], 0, 1));
        }
    }
    trace(to.exit, result);
    return frame.leave(result);
}

} // namespace

extern "C" int32_t ksl_activate_port(uint32_t chip, uint32_t port) {
    static constexpr PortSwitch kOn{
        .phy_control = BMCR_SPEED100 | BMCR_ANENABLE,
        .port_control = 0x00,
        .entry = points::activate_port_entry,
        .phy_write_failed = points::register_write_failed,
        .writing = points::activate_port_writing,
        .write_failed = points::register_write_failed,
        .written = points::activate_port_written,
        .read_failed = points::register_read_failed,
        .read_back = points::activate_port_read_back,
        .exit = points::activate_port_exit,
    };
    return switch_port(chip, port, kOn);
}

extern "C" int32_t ksl_deactivate_port(uint32_t chip, uint32_t port) {
    static constexpr PortSwitch kOff{
        .phy_control = BMCR_LOOPBACK,
        .port_control = 0x03,
        .entry = points::deactivate_port_entry,
        .phy_write_failed = points::register_write_failed,
        .writing = points::deactivate_port_writing,
        .write_failed = points::register_write_failed,
        .written = points::deactivate_port_written,
        .read_failed = points::register_read_failed,
        .read_back = points::deactivate_port_read_back,
        .exit = points::deactivate_port_exit,
    };
    return switch_port(chip, port, kOff);
}

extern "C" int32_t ksl_read_port_cntrl_reg(uint32_t chip, uint32_t port, ksl_word *out) {
    const CallFrame frame;
    trace(points::read_port_cntrl_reg_entry, chip, port);
    if (port >= KSL_PORTS) {
        return -1;
    }
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, at<ksl_port_control_register>(port), bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_port_cntrl_reg_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_reset_PHY(uint32_t chip, uint32_t port) {
    const CallFrame frame;
    trace(points::reset_PHY_entry, chip);
    int32_t result = -1;
    if (port >= KSL_PORTS) {
        // Unlike the other operations on ports this one comes to its exit.
        trace(points::reset_PHY_refused, port);
    } else {
        const auto control = at<ksl_phy_control_register>(port);
        trace(points::reset_PHY_writing, port, control.page, kReset.bytes);
        // The second record of a failed write: by it readers of the trace know this write and that of a learning limit
        // from all others.
        result = write_register(chip, control, kReset.bytes, points::second_register_write_failed);
    }
    trace(points::reset_PHY_exit, result);
    return frame.leave(result);
}
