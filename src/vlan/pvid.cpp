// SPDX-License-Identifier: Apache-2.0
// The VLAN ids and priorities of the ports, and the extended VLAN control registers, which are the same registers.
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"
#include "vlan/trace_points.h"

namespace {

using namespace ksl;

// Bits of a PVID register.
constexpr uint32_t kVlanIdBit = 0;
constexpr uint32_t kVlanIdBits = 12;
constexpr uint32_t kPriorityBit = 13;
constexpr uint32_t kPriorityBits = 3;

} // namespace

extern "C" int32_t ksl_read_VLAN_PVID_regs(uint32_t chip, ksl_word *out) {
    const CallFrame frame;
    trace(points::read_VLAN_PVID_regs_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    int32_t result = 0;
    // Cleared once for all ports: bytes that a read leaves out are those of the read before.
    uint8_t bytes[kRegisterBytes] = {};
    for (uint32_t port = 0; port < KSL_PORTS && result == 0; ++port) {
        result = read_register(chip, at<ksl_pvid_register>(port), bytes);
        if (result == 0) {
            copy_status_bytes(bytes, &out[port], 4);
            trace(points::read_VLAN_PVID_regs_port, port, &out[port]);
        }
    }
    // This exit carries no values.
    trace(points::read_VLAN_PVID_regs_exit);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_PVID(uint32_t chip, uint32_t vid, uint32_t priority, uint32_t port) {
    const CallFrame frame;
    trace(points::set_PVID_entry, chip, vid, priority, port);
    if (port >= KSL_PORTS) {
        return -1;
    }
    const uint32_t id = with_field(0, kVlanIdBit, kVlanIdBits, vid);
    uint8_t bytes[2];
    store_half(with_field(id, kPriorityBit, kPriorityBits, priority), bytes);
    const int32_t result = write_register(chip, at<ksl_pvid_register>(port), bytes, points::register_write_failed);
    trace(points::set_PVID_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_extended_VLAN_cntrl_regs(uint32_t chip, uint32_t index, ksl_word *out) {
    const CallFrame frame;
    trace(points::read_extended_VLAN_cntrl_regs_entry, chip, index);
    // No index is refused: callers reach every register of the page with it.
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, at<ksl_pvid_register>(index), bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_extended_VLAN_cntrl_regs_exit, result);
    return frame.leave(result);
}
