// SPDX-License-Identifier: Apache-2.0
// The VLAN table: the address selects an entry, the command copies it to or from the entry register.
#include "chip/vlan_table.h"

#include "chip/behaviour.h"
#include "state/transaction.h"

#include <algorithm>

namespace hwa {
namespace {

// First byte of the command. The others mean nothing.
constexpr uint8_t kWriteEntry = 0x80;
constexpr uint8_t kReadEntry = 0x81;

void deliver(std::span<const uint8_t> value, std::span<uint8_t> bytes) {
    std::copy_n(value.begin(), std::min(value.size(), bytes.size()), bytes.begin());
}

void take(Transaction &transaction, std::span<const uint8_t> value, std::span<const uint8_t> bytes) {
    for (size_t i = 0; i < std::min(value.size(), bytes.size()); ++i) {
        transaction.store(value[i], bytes[i]);
    }
}

void read_command(Transaction &, const ChipImage &chip, std::span<uint8_t> bytes) {
    deliver(chip.vlan.command, bytes);
}

void write_command(Transaction &transaction, const ChipImage &chip, std::span<const uint8_t> bytes) {
    const VlanImage &vlan = chip.vlan;
    take(transaction, vlan.command, bytes);
    const uint8_t command = vlan.command[0];
    transaction.store(vlan.command[0], static_cast<uint8_t>(command & ~kVlanStart));
    const VlanEntry *const entry = addressed(vlan);
    if (command == kReadEntry) {
        take(transaction, vlan.entry, entry != nullptr ? *entry : VlanEntry{});
    }
    if (command == kWriteEntry && entry != nullptr) {
        take(transaction, *entry, vlan.entry);
        transaction.store(entry->front(), entry->front() & kVlanFirstByte);
    }
}

void read_address(Transaction &, const ChipImage &chip, std::span<uint8_t> bytes) {
    deliver(chip.vlan.address, bytes);
}

void write_address(Transaction &transaction, const ChipImage &chip, std::span<const uint8_t> bytes) {
    take(transaction, chip.vlan.address, bytes);
}

void read_entry(Transaction &, const ChipImage &chip, std::span<uint8_t> bytes) {
    deliver(chip.vlan.entry, bytes);
}

void write_entry(Transaction &transaction, const ChipImage &chip, std::span<const uint8_t> bytes) {
    take(transaction, chip.vlan.entry, bytes);
}

constexpr Window kWindows[] = {
    {ksl_vlan_table_command_register, "vlan", read_command, write_command},
    {ksl_vlan_table_address_register, "vlan", read_address, write_address},
    {ksl_vlan_table_entry_register, "vlan", read_entry, write_entry},
};

} // namespace

const VlanEntry *addressed(const VlanImage &vlan) {
    constexpr uint64_t kTable = 0x002000; // selects the table; the other bits are the VLAN id
    const uint64_t address = from_bytes(vlan.address);
    const uint64_t vid = address - kTable;
    return address > kTable && vid <= kLastVid ? &vlan.entries[static_cast<size_t>(vid)] : nullptr;
}

const std::span<const Window> kVlanTable = kWindows;

} // namespace hwa
