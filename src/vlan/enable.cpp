// SPDX-License-Identifier: Apache-2.0
// VLAN support, on or off.
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "vlan/trace_points.h"

#include <ksl/decode.h>

namespace {

using namespace ksl;

constexpr uint32_t kEnableBit = 7;

} // namespace

extern "C" int32_t ksl_read_VLAN_enable(uint32_t chip, ksl_word *out) {
    const CallFrame frame;
    trace(points::read_VLAN_enable_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, at<ksl_vlan_enable_register>(), bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_VLAN_enable_exit, out, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_validate_VLAN_enable(uint32_t chip, uint32_t *verdict) {
    const CallFrame frame;
    // With what the caller's word held before.
    trace(points::validate_VLAN_enable_entry, chip, *verdict);
    *verdict = 0;
    ksl_word word = 0;
    const int32_t result = ksl_read_VLAN_enable(chip, &word);
    if (result == 0) {
        *verdict = ksl_register_bit(&word, ksl_vlan_enable_register.length, kEnableBit);
        trace(points::validate_VLAN_enable_found, *verdict, result);
    } else {
        trace(points::validate_VLAN_enable_unread);
    }
    trace(points::validate_VLAN_enable_exit, result);
    return frame.leave(result);
}
