// SPDX-License-Identifier: Apache-2.0
// The VLAN table behind its registers: address an entry, command, and the data that goes to or comes from it.
#include "behaviour.h"
#include "transaction.h"

#include <algorithm>

namespace hwa {
namespace {

// First byte of the command. The others are without meaning.
constexpr Byte kStart = 0x80; // reads as 0 again, for the command is carried out at once
constexpr Byte kWriteEntry = 0x80;
constexpr Byte kReadEntry = 0x81;

// The table's part of the address; the rest is a VLAN id.
constexpr std::uint64_t kTable = 0x002000;

// The first four bits of an entry are not there.
constexpr Byte kFirstByte = 0x0F;

void deliver(std::span<const Byte> value, std::span<Byte> bytes) {
    std::copy_n(value.begin(), std::min(value.size(), bytes.size()), bytes.begin());
}

void take(Transaction &transaction, std::span<const Byte> value, std::span<const Byte> bytes) {
    for (std::size_t i = 0; i < std::min(value.size(), bytes.size()); ++i)
        transaction.store(value[i], bytes[i]);
}

// The entry that is addressed, or null.
const VlanEntry *addressed(const VlanImage &vlan) {
    const std::uint64_t address = from_bytes(vlan.address);
    const std::uint64_t vid = address - kTable;
    return address > kTable && vid <= kLastVid ? &vlan.entries[static_cast<std::size_t>(vid)] : nullptr;
}

void read_command(Transaction &, const ChipImage &chip, std::span<Byte> bytes) {
    deliver(chip.vlan.command, bytes);
}

void write_command(Transaction &transaction, const ChipImage &chip, std::span<const Byte> bytes) {
    const VlanImage &vlan = chip.vlan;
    take(transaction, vlan.command, bytes);
    const Byte command = vlan.command[0];
    transaction.store(vlan.command[0], static_cast<Byte>(command & ~kStart));
    const VlanEntry *const entry = addressed(vlan);
    if (command == kReadEntry)
        take(transaction, vlan.data, entry != nullptr ? *entry : VlanEntry{});
    if (command == kWriteEntry && entry != nullptr) {
        take(transaction, *entry, vlan.data);
        transaction.store(entry->front(), entry->front() & kFirstByte);
    }
}

void read_address(Transaction &, const ChipImage &chip, std::span<Byte> bytes) {
    deliver(chip.vlan.address, bytes);
}

void write_address(Transaction &transaction, const ChipImage &chip, std::span<const Byte> bytes) {
    take(transaction, chip.vlan.address, bytes);
}

void read_data(Transaction &, const ChipImage &chip, std::span<Byte> bytes) {
    deliver(chip.vlan.data, bytes);
}

void write_data(Transaction &transaction, const ChipImage &chip, std::span<const Byte> bytes) {
    take(transaction, chip.vlan.data, bytes);
}

constexpr Byte kPage = 0x08;
constexpr Window kWindows[] = {
    {kPage, 0x30, 3, "vlan", read_command, write_command},
    {kPage, 0x32, 3, "vlan", read_address, write_address},
    {kPage, 0x38, 8, "vlan", read_data, write_data},
};

} // namespace

const std::span<const Window> kVlanTable = kWindows;

} // namespace hwa
