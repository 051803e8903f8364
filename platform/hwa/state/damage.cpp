// SPDX-License-Identifier: Apache-2.0
#include "state/damage.h"

#include "chip/ports.h"
#include "chip/stored.h"
#include "chip/vlan_table.h"
#include "state/clock.h"
#include "state/state_file.h"

#include <algorithm>
#include <cstring>

namespace hwa {
namespace {

// Bytes that are 0 or 1, all in one.
bool are_flags(int bytes) {
    return bytes <= 1;
}

bool are_notes(const HubImage &hub, size_t chips) {
    constexpr size_t kChips = offsetof(HubImage, chips);
    return std::all_of(hub.notes.begin(), hub.notes.begin() + hub.note_count, [&](const UndoNote &note) {
        const uint64_t position = from_bytes(note.position);
        return position >= kChips && position < kChips + chips * sizeof(ChipImage);
    });
}

// What no access changes.
bool is_fixed_part(const ChipImage &chip, const ChipImage &start) {
    return chip.present == start.present && chip.number == start.number && chip.firmware == start.firmware &&
           chip.seed == start.seed && chip.rates == start.rates;
}

bool are_addresses(const ChipImage &chip, const ChipImage &start) {
    const auto count = static_cast<size_t>(from_bytes(start.address_count));
    return chip.address_count == start.address_count &&
           std::memcmp(&chip.addresses, &start.addresses, count * sizeof(AddressImage)) == 0;
}

bool is_port(const ChipImage &chip, size_t number) {
    const PortImage &port = chip.ports[number];
    const uint64_t since = from_bytes(port.since);
    return are_flags(port.partner | port.partner_fast | port.partner_full_duplex | port.test_failed |
                     port.link_changed) &&
           from_bytes(port.active) <= since && since <= time_of(chip) &&
           (ksl_value16(stored(chip, ksl_phy_control_register, number).data()) & kPhySelfClearing) == 0;
}

// The walk or search has come to an entry, or to the end, and learned of no more addresses than it went past.
bool is_table_access(const ChipImage &chip) {
    const TableAccessImage &access = chip.table_access;
    const auto index = static_cast<size_t>(from_bytes(access.scan.index));
    const auto is_result = [&](const AddressImage &address) {
        return access.result.raw == address.raw && access.result.vid == address.vid;
    };
    return access.mode <= kSearching && access.looks <= kResultsAtOnce && index <= from_bytes(chip.address_count) &&
           std::all_of(access.scan.learned.begin(), access.scan.learned.end(),
                       [&](const auto &learned) { return from_bytes(learned) <= index; }) &&
           (is_result(AddressImage{}) || (index > 0 && is_result(chip.addresses[index - 1])));
}

// Only the entry that the address selects can be read next, and a command is carried out at once.
bool is_vlan_table(const VlanImage &vlan) {
    const VlanEntry *const entry = addressed(vlan);
    return (vlan.command[0] & kVlanStart) == 0 && (entry == nullptr || (entry->front() & ~kVlanFirstByte) == 0);
}

} // namespace

bool is_unfinished(const HubImage &hub) {
    return std::equal(kMagic.begin(), kMagic.end(), hub.magic.begin(),
                      [](uint8_t right, uint8_t found) { return found == right || found == 0; });
}

const char *damaged_part(const HubImage &hub, size_t chips) {
    return hub.resetting > chips ? "the mark of a reset" : !are_notes(hub, chips) ? "the notes of a change" : nullptr;
}

const char *damaged_part(const ChipImage &chip, const ChipImage &start) {
    if (!is_fixed_part(chip, start)) {
        return "what the scenario says of it";
    }
    if (!are_addresses(chip, start)) {
        return "the addresses";
    }
    if (!are_flags(chip.managed | chip.forwarding | chip.was_reset)) {
        return "the mode";
    }
    for (size_t port = 0; port < kPorts; ++port) {
        if (!is_port(chip, port)) {
            return "a port";
        }
    }
    return !is_table_access(chip)      ? "the walk of the address table"
           : !is_vlan_table(chip.vlan) ? "the VLAN table"
                                       : nullptr;
}

} // namespace hwa
