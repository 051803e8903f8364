// SPDX-License-Identifier: Apache-2.0
// The speed of a port, read and forced through its PHY. Any port number is taken: it makes a page all the same.
#include "frame/call_frame.h"
#include "frame/words.h"
#include "port/phy.h"
#include "port/trace_points.h"

namespace {

using namespace ksl;

constexpr Register speed_indication(uint32_t port) {
    return {kPhyPages + port, 0x30, 2};
}
constexpr uint32_t kSpeedIndicationBit = 17;

// Bits of the PHY control word.
constexpr uint32_t kSpeedBit = 29;
constexpr uint32_t kAutoNegotiationBit = 28;

// What the bits say of a speed in Mb/s.
constexpr uint32_t ksl_speed_code(uint32_t speed) {
    return speed == 100 ? 1 : 0;
}

} // namespace

extern "C" int32_t ksl_get_port_speed(uint32_t chip, uint32_t port, uint32_t *out) {
    const CallFrame frame;
    trace(points::get_port_speed_entry, chip);
    uint8_t bytes[kRegisterBytes];
    const int32_t result = read_register(chip, speed_indication(port), bytes, points::get_port_speed_read_failed);
    if (result == 0) {
        *out = field(load_word(bytes), kSpeedIndicationBit, 1);
    }
    trace(points::get_port_speed_exit, out);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_port_speed(uint32_t chip, uint32_t port, uint32_t speed) {
    const CallFrame frame;
    trace(points::set_port_speed_entry, chip, port, speed);
    int32_t result = -1;
    // A refused speed is shown by the exit record as it came.
    uint32_t code = speed;
    if (speed == 10 || speed == 100) {
        code = ksl_speed_code(speed);
        trace(points::set_port_speed_access);
        const Register control = phy_control(port);
        uint8_t bytes[kRegisterBytes];
        result = read_register(chip, control, bytes);
        if (result == 0) {
            // 100 Mb/s goes with auto-negotiation, 10 Mb/s without.
            const uint32_t word = with_field(load_word(bytes), kSpeedBit, 1, code);
            store_word(with_field(word, kAutoNegotiationBit, 1, code), bytes);
            result = write_register(chip, control, bytes, points::register_read_failed);
        }
    }
    trace(points::set_port_speed_exit, result, code);
    return frame.leave(result);
}
