// SPDX-License-Identifier: Apache-2.0
// The firmware version of the hub, asked for through its command channel.
#include "chip/trace_points.h"
#include "frame/call_frame.h"
#include "frame/lower_library.h"
#include "frame/status_bytes.h"

namespace {

using namespace ksl;

constexpr uint32_t kVersionBytes = 9;
constexpr uint32_t kResponseBytes = 40;

} // namespace

extern "C" int32_t ksl_read_EPN_firmware_version(uint32_t chip, uint8_t *version, uint32_t *length) {
    const CallFrame frame;
    trace(points::read_epn_firmware_version_entry, chip);
    const uint8_t ksl_epn_version_command[] = {0x08, 0x78,           0,    0,    0,    0,   0, 0, 0,
                                               0,    low_byte(chip), 0x03, 0x00, 0xA2, 0x02};
    alignas(16) uint8_t response[kResponseBytes] = {};
    uint32_t response_length = kResponseBytes;
    const int32_t result =
        __hwa_engpowercmd(ksl_epn_version_command, sizeof ksl_epn_version_command, response, &response_length);
    if (result != 0) {
        trace(points::read_epn_firmware_version_command_failed);
    } else {
        // However long the answer is. Its bytes 2 and 4 are not traced.
        *length = kVersionBytes;
        copy_status_bytes(response, version, kVersionBytes);
        trace(points::read_epn_firmware_version_answer, response[0], response[1], response[3], response[5], response[6],
              response[7], response[8]);
    }
    trace(points::read_epn_firmware_version_exit, result);
    return frame.leave(result);
}
