// SPDX-License-Identifier: Apache-2.0
// The VLAN registers: port VLAN ids, VLAN support, the VLAN table, and the extended VLAN control registers.
#include "vlan/registers.h"
#include "frame/call_frame.h"
#include "vlan/trace_points.h"

namespace {

using namespace ksl;

constexpr uint32_t kVlanEnableBit = 31;

constexpr uint32_t kLastVlanId = 0xFFE;
// The address register selects what stands in its top bits: the VLAN table.
constexpr uint32_t kTableBit = 20;
constexpr uint32_t kTableBits = 12;
constexpr uint32_t kVlanTable = 0x002;
constexpr uint8_t kReadEntry[4] = {0x81, 0x00, 0x00};

} // namespace

extern "C" int32_t ksl_read_VLAN_PVID_regs(uint32_t chip, ksl_word *out) {
    const CallFrame frame;
    trace(points::read_VLAN_PVID_regs_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    int32_t result = 0;
    uint8_t bytes[kRegisterBytes] = {};
    for (uint32_t port = 0; port < KSL_PORTS && result == 0; ++port) {
        result = read_register(chip, pvid(port), bytes);
        if (result == 0) {
            copy_status_bytes(bytes, &out[port], 4);
            trace(points::read_VLAN_PVID_regs_port, port, &out[port]);
        }
    }
    trace(points::read_VLAN_PVID_regs_exit);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_PVID(uint32_t chip, uint32_t vid, uint32_t priority, uint32_t port) {
    const CallFrame frame;
    trace(points::set_PVID_entry, chip, vid, priority, port);
    if (port >= KSL_PORTS) {
        return -1;
    }
    const uint32_t id = with_field(0, kPvidVlanIdBit, kPvidVlanIdBits, vid);
    uint8_t bytes[4];
    store_word(with_field(id, kPvidPriorityBit, kPvidPriorityBits, priority), bytes);
    const int32_t result = write_register(chip, pvid(port), bytes, points::register_write_failed);
    trace(points::set_PVID_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_VLAN_enable(uint32_t chip, ksl_word *out) {
    const CallFrame frame;
    trace(points::read_VLAN_enable_entry, chip);
    if (out == nullptr) {
        return -1;
    }
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, kVlanEnable, bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_VLAN_enable_exit, out, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_VLAN_map(uint32_t chip, uint32_t vid, uint8_t *out) {
    const CallFrame frame;
    trace(points::read_VLAN_map_entry, chip, vid);
    if (vid == 0 || vid > kLastVlanId || out == nullptr) {
        return -1;
    }
    const uint32_t table = with_field(0, kTableBit, kTableBits, kVlanTable);
    uint8_t address[4];
    store_word(with_field(table, kTableVlanIdBit, kTableVlanIdBits, vid), address);
    uint8_t bytes[kRegisterBytes] = {};
    int32_t result = write_register(chip, kVlanTableAddress, address, points::register_write_failed);
    if (result == 0) {
        result = write_register(chip, kVlanTableCommand, kReadEntry, points::register_write_failed);
    }
    if (result == 0) {
        result = fetch_register(chip, kVlanTableData, bytes, points::register_read_failed);
    }
    if (result == 0) {
        uint8_t entry[kRegisterBytes];
        copy_status_bytes(bytes, entry, 8);
        trace(points::read_VLAN_map_buffer, entry, &entry[3]);
        trace_vlan_entry(points::read_VLAN_map_fields, load_vlan_entry(entry));
        copy_status_bytes(entry, out, 8);
    }
    trace(points::read_VLAN_map_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_extended_VLAN_cntrl_regs(uint32_t chip, uint32_t index, ksl_word *out) {
    const CallFrame frame;
    trace(points::read_extended_VLAN_cntrl_regs_entry, chip, index);
    uint8_t bytes[kRegisterBytes] = {};
    const int32_t result = read_register(chip, pvid(index), bytes);
    if (result == 0) {
        copy_status_bytes(bytes, out, 4);
    }
    trace(points::read_extended_VLAN_cntrl_regs_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_validate_VLAN_enable(uint32_t chip, uint32_t *verdict) {
    const CallFrame frame;
    trace(points::validate_VLAN_enable_entry, chip, *verdict);
    *verdict = 0;
    ksl_word word = 0;
    const int32_t result = ksl_read_VLAN_enable(chip, &word);
    if (result == 0) {
        *verdict = field(load_word(&word), kVlanEnableBit, 1);
        trace(points::validate_VLAN_enable_found, *verdict, result);
    } else {
        trace(points::validate_VLAN_enable_unread);
    }
    trace(points::validate_VLAN_enable_exit, result);
    return frame.leave(result);
}
