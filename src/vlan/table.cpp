// SPDX-License-Identifier: Apache-2.0
// The VLAN table, an entry at a time.
#include "vlan/table.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "vlan/trace_points.h"

namespace {

using namespace ksl;

constexpr uint32_t kLastVlanId = 0xFFE;
// The upper 12 bits of the address register select the VLAN table, the lower 12 a VLAN.
constexpr uint32_t kVlanTable = 0x002000;
constexpr uint8_t kReadEntry[3] = {0x81, 0x00, 0x00};

} // namespace

extern "C" int32_t ksl_read_VLAN_map(uint32_t chip, uint32_t vid, uint8_t *out) {
    const CallFrame frame;
    trace(points::read_VLAN_map_entry, chip, vid);
    if (vid == 0 || vid > kLastVlanId || out == nullptr) {
        return -1;
    }
    // The register's 3 bytes begin the word.
    uint8_t address[4];
    store_word((kVlanTable | vid) << 8, address);
    uint8_t bytes[kRegisterBytes] = {};
    int32_t result =
        write_register(chip, at<ksl_vlan_table_address_register>(), address, points::register_write_failed);
    if (result == 0) {
        result = write_register(chip, at<ksl_vlan_table_command_register>(), kReadEntry, points::register_write_failed);
    }
    if (result == 0) {
        // At once, without asking for a status before.
        result = fetch_register(chip, at<ksl_vlan_table_entry_register>(), bytes, points::register_read_failed);
    }
    if (result == 0) {
        // The trace shows where this copy is.
        uint8_t entry[kRegisterBytes];
        copy_status_bytes(bytes, entry, 8);
        trace(points::read_VLAN_map_buffer, entry, &entry[3]);
        trace_vlan_entry(points::read_VLAN_map_fields, ksl_decode_vlan_entry(entry));
        copy_status_bytes(entry, out, 8);
    }
    trace(points::read_VLAN_map_exit, result);
    return frame.leave(result);
}
