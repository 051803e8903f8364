// SPDX-License-Identifier: Apache-2.0
// Ports switched on and off, their control register, and the reset of a PHY. What is written are fixed values: nothing
// is read and merged before.
#include "frame/call_frame.h"
#include "frame/words.h"
#include "port/phy.h"
#include "port/trace_points.h"

namespace {

using namespace ksl;

constexpr Register port_control(uint32_t port) {
    return {0x00, 0xD0 + port, 1};
}

constexpr uint8_t kPhyReset[4] = {0x80, 0x00};

// What switches a port, and the records that tell of it.
struct PortSwitch {
    uint8_t phy_control[4];
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
    const Register control = port_control(port);
    uint8_t bytes[kRegisterBytes] = {to.port_control};
    int32_t result = write_register(chip, phy_control(port), to.phy_control, to.phy_write_failed);
    if (result == 0) {
        trace(to.writing, port, control.offset, bytes);
        result = write_register(chip, control, bytes, to.write_failed);
    }
    if (result == 0) {
        trace(to.written, port, result);
        // Read back for the trace alone: what it shows changes nothing.
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
        .phy_control = {0x30, 0x00},
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
        .phy_control = {0x40, 0x00},
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
    const int32_t result = read_register(chip, port_control(port), bytes);
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
        trace(points::reset_PHY_refused, port);
    } else {
        const Register control = phy_control(port);
        trace(points::reset_PHY_writing, port, control.page, kPhyReset);
        result = write_register(chip, control, kPhyReset, points::second_register_write_failed);
    }
    trace(points::reset_PHY_exit, result);
    return frame.leave(result);
}
