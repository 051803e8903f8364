// SPDX-License-Identifier: Apache-2.0
// Port mirroring: the traffic of a range of ports copied to a capture port.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"

namespace {

using namespace ksl;

constexpr uint32_t kMirrorEnable = 1u << 31;
constexpr uint32_t kNoPorts = 0;

// No bits where the first port is above the last.
constexpr uint32_t ports(uint32_t first, uint32_t last) {
    const uint32_t up_to_last = (2u << last) - 1;
    const uint32_t below_first = (1u << first) - 1;
    return up_to_last & ~below_first;
}

template <ksl_register Row>
int32_t write_word(uint32_t chip, uint32_t word, TracePlace<3> failure) {
    uint8_t bytes[sizeof(ksl_word)];
    store_word(word, bytes);
    return write_register(chip, at<Row>(), bytes, failure);
}

} // namespace

extern "C" int32_t ksl_set_mirror_port(uint32_t chip, uint32_t capture_port, uint32_t first_port, uint32_t last_port) {
    const CallFrame frame;
    trace(points::set_mirror_port_entry, chip, capture_port, first_port, last_port);
    if (capture_port >= KSL_PORTS || first_port >= KSL_PORTS || last_port >= KSL_PORTS) {
        return -1;
    }
    const uint32_t control = kMirrorEnable | ports(capture_port, capture_port);
    int32_t result = write_word<ksl_mirror_control_register>(chip, control, points::register_write_failed);
    if (result == 0) {
        // Received frames are never mirrored.
        result = write_word<ksl_ingress_mirror_mask_register>(chip, kNoPorts, points::register_write_failed);
    }
    if (result == 0) {
        result = write_word<ksl_egress_mirror_mask_register>(chip, ports(first_port, last_port),
                                                             points::register_write_failed);
    }
    trace(points::set_mirror_port_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_unset_mirror_port(uint32_t chip, uint32_t port) {
    const CallFrame frame;
    trace(points::unset_mirror_port_entry, chip, port);
    if (port >= KSL_PORTS) {
        return -1;
    }
    // A failed write leaves the record of a failed read: readers of the trace know it by that.
    const int32_t result = write_word<ksl_mirror_control_register>(chip, kNoPorts, points::register_read_failed);
    trace(points::unset_mirror_port_exit, result);
    return frame.leave(result);
}
