// SPDX-License-Identifier: Apache-2.0
// Source-address learning of the ports: how many addresses are learned and how many may be. And the MAC filter.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"

namespace {

using namespace ksl;

// The registers of the ports stand one behind the other.
constexpr Register learning_register(uint32_t offset) {
    return {0x41, offset, 2};
}

constexpr uint32_t sa_count(uint32_t port) {
    return 0x30 + 2 * port;
}

constexpr uint32_t learning_threshold(uint32_t port) {
    return 0x70 + 2 * port;
}

// The number stands in the lower 13 bits of the register, whose two bytes begin the word.
constexpr uint32_t kLowestBit = 16;
constexpr uint32_t kWidth = 13;

// What a caller finds where no number could be read.
constexpr uint32_t kPlaceholder = 1234;

// One more than the register can hold: it is accepted and arrives as 0.
constexpr uint32_t kHighestThreshold = 8192;

int32_t read_number(uint32_t chip, uint32_t offset, uint32_t *number, TracePlace<3> failure) {
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, learning_register(offset), bytes, failure);
    if (result == 0) {
        *number = field(load_word(bytes), kLowestBit, kWidth);
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
        result = read_number(chip, sa_count(port), count, points::get_sa_count_at_port_read_failed);
    }
    trace(points::get_sa_count_at_port_exit, result, port, *count);
    return frame.leave(result);
}

extern "C" int32_t ksl_get_learning_threshold_at_port(uint32_t chip, uint32_t port, uint32_t *threshold) {
    const CallFrame frame;
    trace(points::get_learning_threshold_at_port_entry, chip, port, *threshold);
    *threshold = kPlaceholder;
    int32_t result = -1;
    if (port >= KSL_PORTS) {
        trace(points::get_learning_threshold_at_port_port_refused, port);
    } else {
        result =
            read_number(chip, learning_threshold(port), threshold, points::get_learning_threshold_at_port_read_failed);
    }
    trace(points::get_learning_threshold_at_port_exit, result, port, *threshold);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_learning_threshold_at_port(uint32_t chip, uint32_t port, uint32_t threshold) {
    const CallFrame frame;
    trace(points::set_learning_threshold_at_port_entry, chip, port, threshold);
    int32_t result = -1;
    if (port >= KSL_PORTS) {
        trace(points::set_learning_threshold_at_port_port_refused, port);
    } else if (threshold > kHighestThreshold) {
        trace(points::set_learning_threshold_at_port_threshold_refused, threshold);
    } else {
        uint8_t bytes[12] = {};
        store_word(with_field(0, kLowestBit, kWidth, threshold), bytes);
        result = write_register(chip, learning_register(learning_threshold(port)), bytes,
                                points::second_register_write_failed);
    }
    trace(points::set_learning_threshold_at_port_exit, result, port, threshold);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_MAC_filter(uint32_t chip, uint32_t filter) {
    const CallFrame frame;
    trace(points::set_mac_filter_entry, chip, filter);
    trace(points::set_mac_filter_nothing_sent);
    trace(points::set_mac_filter_exit, 0);
    return frame.leave(0);
}
