// SPDX-License-Identifier: Apache-2.0
// How many source addresses the ports have learned and may learn; and the MAC filter.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"

namespace {

using namespace ksl;

// The low 13 bits of both registers are their number.
constexpr uint32_t kNumberBits = 13;

// What a caller finds where no number could be read, also after a refused port.
constexpr uint32_t kPlaceholder = 1234;

// One more than the register can hold: it is accepted and written as 0.
constexpr uint32_t kHighestLimit = 8192;

int32_t read_number(uint32_t chip, const Register<2> &place, uint32_t *number, TracePlace<3> failure) {
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, place, bytes, failure);
    if (result == 0) {
        *number = field(load_half(bytes), 0, kNumberBits);
    }
    return result;
}

} // namespace

extern "C" int32_t ksl_get_SA_count_at_port(uint32_t chip, uint32_t port, uint32_t *count) {
    const CallFrame frame;
    trace(points::get_sa_count_at_port_entry, chip, port, *count);
    *count = kPlaceholder;
    int32_t result = -1;
    if (port >= KSL_PORTS) {
        trace(points::get_sa_count_at_port_port_refused, port);
    } else {
        result = read_number(chip, at<ksl_learned_addresses_register>(port), count,
                             points::get_sa_count_at_port_read_failed);
    }
    trace(points::get_sa_count_at_port_exit, result, port, *count);
    return frame.leave(result);
}

extern "C" int32_t ksl_get_learning_threshold_at_port(uint32_t chip, uint32_t port, uint32_t *limit) {
    const CallFrame frame;
    trace(points::get_learning_threshold_at_port_entry, chip, port, *limit);
    *limit = kPlaceholder;
    int32_t result = -1;
    if (port >= KSL_PORTS) {
        trace(points::get_learning_threshold_at_port_port_refused, port);
    } else {
        result = read_number(chip, at<ksl_learning_limit_register>(port), limit,
                             points::get_learning_threshold_at_port_read_failed);
    }
    trace(points::get_learning_threshold_at_port_exit, result, port, *limit);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_learning_threshold_at_port(uint32_t chip, uint32_t port, uint32_t limit) {
    const CallFrame frame;
    trace(points::set_learning_threshold_at_port_entry, chip, port, limit);
    int32_t result = -1;
    if (port >= KSL_PORTS) {
        trace(points::set_learning_threshold_at_port_port_refused, port);
    } else if (limit > kHighestLimit) {
        trace(points::set_learning_threshold_at_port_limit_refused, limit);
    } else {
        // The lower library is given 12 bytes for a register of 2: it may look at all of them and finds zeros.
        uint8_t bytes[12] = {};
        store_half(with_field(0, 0, kNumberBits, limit), bytes);
        // The second record of a failed write: by it readers of the trace know this write and a PHY reset from all
        // others.
        result =
            write_register(chip, at<ksl_learning_limit_register>(port), bytes, points::second_register_write_failed);
    }
    trace(points::set_learning_threshold_at_port_exit, result, port, limit);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_MAC_filter(uint32_t chip, uint32_t filter) {
    const CallFrame frame;
    trace(points::set_mac_filter_entry, chip, filter);
    // No filter reaches the chip. The lower library could set one, but callers of this operation never got it.
    trace(points::set_mac_filter_nothing_sent);
    trace(points::set_mac_filter_exit, 0);
    return frame.leave(0);
}
