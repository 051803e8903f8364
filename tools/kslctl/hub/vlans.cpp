// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/vlans.h"

#include <algorithm>
#include <cstring>
#include <fmt/core.h>
#include <set>

namespace kslctl::hub {

namespace {

constexpr uint8_t kEnabled = 0x80;

std::string describe_entry(uint32_t vid) {
    return fmt::format("entry of VLAN {} (page 0x{:02x}, offsets 0x{:02x}, 0x{:02x} and 0x{:02x})", vid,
                       registers::vlan_table_entry.place.page, registers::vlan_table_address.place.offset,
                       registers::vlan_table_command.place.offset, registers::vlan_table_entry.place.offset);
}

bool is_chosen(const ksl_vlan_entry &entry, VlanChoice choice) {
    const bool has_ports = (entry.upper_map | entry.lower_map) != 0;
    return entry.valid != 0 || (choice == VlanChoice::valid_or_with_ports && has_ports);
}

// A PVID may name a VLAN that the table cannot have.
std::vector<uint32_t> vids_of(const std::vector<PortPvid> &ports) {
    std::set<uint32_t> vids;
    for (const PortPvid &port : ports) {
        if (port.pvid.is_read() && port.pvid->vid >= kFirstVlan && port.pvid->vid <= kLastVlan) {
            vids.insert(port.pvid->vid);
        }
    }
    return {vids.begin(), vids.end()};
}

} // namespace

Pvids read_pvids(uint32_t chip, Failures &failures) {
    std::array<ksl_word, KSL_PORTS> words;
    std::memset(words.data(), kUntouched, sizeof words);
    const int32_t code = ksl_read_VLAN_PVID_regs(chip, words.data());
    std::vector<Target> targets;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        targets.emplace_back(registers::pvid, words[port], port);
    }
    const std::vector<Reading> readings = readings_of(chip, "ksl_read_VLAN_PVID_regs", code, targets, failures);
    Pvids pvids;
    std::transform(readings.begin(), readings.end(), pvids.begin(), [](const Reading &pvid) { return pvid.bytes; });
    return pvids;
}

Fact<Bytes> read_vlan_entry(uint32_t chip, uint32_t vid, Failures &failures) {
    Bytes bytes{};
    if (const int32_t code = ksl_read_VLAN_map(chip, vid, bytes.data()); code != 0) {
        return note(failures, {chip, "ksl_read_VLAN_map", describe_entry(vid), code});
    }
    return bytes;
}

Fact<VlanTable> read_vlan_table(uint32_t chip, Failures &failures, VlanChoice choice) {
    VlanTable table;
    for (uint32_t vid = kFirstVlan; vid <= kLastVlan; ++vid) {
        const Fact<Bytes> entry = read_vlan_entry(chip, vid, failures);
        if (!entry.is_read()) {
            return *entry.failure();
        }
        if (is_chosen(ksl_decode_vlan_entry(entry->data()), choice)) {
            table[vid] = *entry;
        }
    }
    return table;
}

void add_pvids(VlanState &state, uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    const Pvids pvids = read_pvids(chip, failures);
    for (const uint32_t port : ports) {
        state.ports.push_back({port, pvids[port].map(decode_pvid)});
        state.registers.push_back(reading_of(registers::pvid, port, pvids[port]));
    }
}

void add_entry(VlanState &state, uint32_t vid, const Fact<Bytes> &bytes) {
    state.entries.push_back({vid, bytes.map([](const Bytes &entry) { return ksl_decode_vlan_entry(entry.data()); })});
    if (vid < kFirstVlan || vid > kLastVlan) {
        return;
    }
    state.registers.push_back(reading_of(registers::vlan_table_entry, 0, bytes));
    state.registers.back().of = {"vid", vid};
}

void add_entries(VlanState &state, uint32_t chip, std::span<const uint32_t> vids, Failures &failures) {
    for (const uint32_t vid : vids) {
        add_entry(state, vid, read_vlan_entry(chip, vid, failures));
    }
}

VlanState read_vlan_enable(uint32_t chip, Failures &failures) {
    const Fact<Bytes> bytes = read(registers::vlan_enable, chip, 0, failures);
    return {.enabled = bytes.map(decode_vlan_enable), .registers = {reading_of(registers::vlan_enable, 0, bytes)}};
}

VlanState read_pvids_of(uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    VlanState state;
    add_pvids(state, chip, ports, failures);
    return state;
}

VlanState read_vlan_entries(uint32_t chip, std::span<const uint32_t> vids, Failures &failures) {
    VlanState state;
    add_entries(state, chip, vids, failures);
    return state;
}

VlanState read_vlan_state(uint32_t chip, bool whole_table, Failures &failures) {
    VlanState state = read_vlan_enable(chip, failures);
    add_pvids(state, chip, all_ports(), failures);
    if (!whole_table) {
        add_entries(state, chip, vids_of(state.ports), failures);
    } else if (const Fact<VlanTable> table = read_vlan_table(chip, failures); table.is_read()) {
        for (const auto &[vid, bytes] : *table) {
            add_entry(state, vid, bytes);
        }
    }
    return state;
}

Reading read_extended_vlan_control(uint32_t chip, uint32_t index, Failures &failures) {
    Reading reading = reading_of(registers::pvid, index, {});
    reading.name = "extended_vlan_control";
    reading.of = {"index", index};
    reading.offset &= 0xFF;
    ksl_word word = 0;
    if (const int32_t code = ksl_read_extended_VLAN_cntrl_regs(chip, index, &word); code != 0) {
        const std::string about = fmt::format("extended VLAN control register {} (page 0x{:02x}, offset 0x{:02x})",
                                              index, reading.page, reading.offset);
        reading.bytes = note(failures, {chip, "ksl_read_extended_VLAN_cntrl_regs", about, code});
    } else {
        reading.bytes = word_bytes(word);
    }
    return reading;
}

Change set_pvid(uint32_t vid, std::optional<uint32_t> priority) {
    const auto wanted = [=](const Bytes &before) { return Pvid{vid, priority.value_or(decode_pvid(before).priority)}; };
    return {
        .operation = "ksl_set_PVID",
        .about = "PVID of port {}",
        .undone = "not set",
        .writes = {{&registers::pvid, [=](const Bytes &before) { return pvid_bytes(wanted(before)); }}},
        .run = [=](uint32_t chip, uint32_t port,
                   const Bytes &before) { return ksl_set_PVID(chip, vid, wanted(before).priority, port); },
    };
}

bool decode_vlan_enable(const Bytes &bytes) {
    return (bytes[0] & kEnabled) != 0;
}

Pvid decode_pvid(const Bytes &bytes) {
    return {ksl_pvid_vid(bytes.data()), ksl_pvid_priority(bytes.data())};
}

Bytes pvid_bytes(const Pvid &pvid) {
    return bytes16(pvid.priority << 13 | pvid.vid);
}

} // namespace kslctl::hub
