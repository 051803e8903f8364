// SPDX-License-Identifier: Apache-2.0
// VLAN registers, and their validation against a configuration library.
#include "export.h"

#include "vlan/trace_points.h"

namespace ksl::test {

namespace {

constexpr uint32_t kVid = 10;

// A register for each port; `deliver` says where the caller finds the port's.
std::vector<Access> pvid_reads(const std::function<Writes(uint32_t port, const Bytes &)> &deliver) {
    std::vector<Access> reads;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        const Bytes pvid{static_cast<uint8_t>(port << 5), static_cast<uint8_t>(port + 1)};
        reads.push_back(read(0x34, 0x10 + 2 * port, pvid, deliver(port, pvid)));
    }
    return reads;
}

// The same expected of every port.
std::vector<ksl_cfg_record> expected_pvids() {
    std::vector<ksl_cfg_record> records;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        records.push_back({0,
                           0x34,
                           static_cast<uint8_t>(0x10 + 2 * port),
                           0,
                           {static_cast<uint8_t>(port << 5), static_cast<uint8_t>(port + 1)}});
    }
    records.push_back(kEndOfList);
    return records;
}

const Bytes kEntry{0x08, 0x40, 0, 3, 0x80, 0, 0, 4};

std::vector<Access> entry_accesses(const Writes &delivered) {
    return {write(0x08, 0x32, {0x00, 0x20, kVid}), write(0x08, 0x30, {0x81, 0x00, 0x00}),
            read(0x08, 0x38, kEntry, delivered)};
}

std::vector<ksl_cfg_record> expected_entry() {
    return {{0, 0x08, 0x38, 0, {0x08, 0x40, 0, 3, 0x80, 0, 0, 4}}, {0, 0x08, 0x32, 0, {0x00, 0x20, kVid}}, kEndOfList};
}

// ---- Rules for fuzzers ----

using fuzz::require;

int32_t fuzz_set_pvid(fuzz::Call &call) {
    const uint32_t vid = call.input.word();
    const uint32_t priority = call.input.word();
    return ksl_set_PVID(call.chip, vid, priority, call.port());
}

int32_t fuzz_read_vlan_map(fuzz::Call &call) {
    constexpr uint32_t kBounds[] = {0, 1, 4094, 4095};
    const uint32_t choice = call.input.up_to(7);
    const uint32_t vid = choice < std::size(kBounds) ? kBounds[choice] : call.input.word();
    call.refuse(vid == 0 || vid > 4094);
    return ksl_read_VLAN_map(call.chip, vid, call.memory_or_null(8));
}

int32_t fuzz_validate_vlan_enable(fuzz::Call &call) {
    auto *const verdict = call.memory<uint32_t>();
    const int32_t result = ksl_validate_VLAN_enable(call.chip, verdict);
    require(*verdict <= (result == 0 ? 1U : 0U), "a verdict is 0 or 1, and 0 without an answer");
    return result;
}

} // namespace

Exports vlan_exports() {
    const auto verdict = [] { return memory_as<uint32_t>(); };
    const Write no{0, native(0)};
    const Write yes{0, native(1)};
    return {
        {.name = "ksl_read_VLAN_PVID_regs",
         .frame = {{points::read_VLAN_PVID_regs_entry, points::read_VLAN_PVID_regs_exit}},
         .refused = [] { return ksl_read_VLAN_PVID_regs(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) {
                      return ksl_read_VLAN_PVID_regs(call.chip, call.memory_or_null<ksl_word>(KSL_PORTS));
                  },
                  fuzz::Result::first_failure, fuzz::Outputs::partly_written},
         .run = [] { return ksl_read_VLAN_PVID_regs(kChip, memory_as<ksl_word>()); },
         .accesses = pvid_reads([](uint32_t port, const Bytes &pvid) {
             return Writes{{4 * port, {pvid[0], pvid[1], 0, 0}}};
         }),
         .ending = [](int32_t, size_t) { return leave(points::read_VLAN_PVID_regs_exit); }},
        {
            .name = "ksl_set_PVID",
            .frame = {{points::set_PVID_entry, points::set_PVID_exit, {kChip, 5, 1, kPort}}},
            .refused = [] { return ksl_set_PVID(kChip, 5, 1, KSL_PORTS); },
            .fuzz = {fuzz_set_pvid},
            .run = [] { return ksl_set_PVID(kChip, 5, 1, kPort); },
            .accesses = {write(0x34, 0x16, {0x20, 0x05})},
        },
        {.name = "ksl_read_VLAN_enable",
         .frame = {{points::read_VLAN_enable_entry, points::read_VLAN_enable_exit}},
         .refused = [] { return ksl_read_VLAN_enable(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) { return ksl_read_VLAN_enable(call.chip, call.memory_or_null<ksl_word>()); }},
         .run = [] { return ksl_read_VLAN_enable(kChip, memory_as<ksl_word>()); },
         .accesses = {read(0x34, 0x00, {0x80}, {{0, {0x80, 0, 0, 0}}})},
         .ending = [](int32_t result, size_t) { return leave(points::read_VLAN_enable_exit, memory(), result); }},
        {
            .name = "ksl_read_VLAN_map",
            .frame = {{points::read_VLAN_map_entry, points::read_VLAN_map_exit, {kChip, kVid}}},
            .refused = [] { return ksl_read_VLAN_map(kChip, kVid, nullptr); },
            .fuzz = {fuzz_read_vlan_map},
            .run = [] { return ksl_read_VLAN_map(kChip, kVid, memory()); },
            .accesses = entry_accesses({{0, kEntry}}),
        },
        {
            .name = "ksl_read_extended_VLAN_cntrl_regs",
            .frame = {{points::read_extended_VLAN_cntrl_regs_entry,
                       points::read_extended_VLAN_cntrl_regs_exit,
                       {kChip, 200}}},
            .fuzz = {[](fuzz::Call &call) {
                return ksl_read_extended_VLAN_cntrl_regs(call.chip, call.any_port(), call.memory<ksl_word>());
            }},
            .run = [] { return ksl_read_extended_VLAN_cntrl_regs(kChip, 200, memory_as<ksl_word>()); },
            .accesses = {read(0x34, 0x1A0, {1, 2}, {{0, {1, 2, 0, 0}}})},
        },

        {.name = "ksl_validate_VLAN_enable",
         .frame = {{.entry = points::validate_VLAN_enable_entry,
                    .exit = points::validate_VLAN_enable_exit,
                    .values = {kChip, kUntouchedNumber},
                    .inner_operations = 1}},
         .fuzz = {fuzz_validate_vlan_enable, fuzz::Result::first_failure, fuzz::Outputs::partly_written},
         .run = [=] { return ksl_validate_VLAN_enable(kChip, verdict()); },
         .accesses = {read(0x34, 0x00, {0x80}, {yes})},
         .ending =
             [](int32_t result, size_t) {
                 Calls calls = leave(points::read_VLAN_enable_exit, kOwnMemory, result);
                 calls += {record(points::validate_VLAN_enable_unread)};
                 return calls += leave(points::validate_VLAN_enable_exit, result);
             },
         .at_once = {no}},
        {.name = "ksl_validate_VLAN_PVID_set",
         .frame = {{.entry = points::validate_VLAN_PVID_set_entry,
                    .exit = points::validate_VLAN_PVID_set_exit,
                    .values = {kChip, address(kConfigurationPath), address(memory())},
                    .inner_operations = 1}},
         .run = [=] { return ksl_validate_VLAN_PVID_set(kChip, kConfigurationPath, verdict()); },
         .accesses =
             pvid_reads([=](uint32_t port, const Bytes &) { return port == KSL_PORTS - 1 ? Writes{yes} : Writes{}; }),
         .ending =
             [](int32_t result, size_t) {
                 Calls calls = leave(points::read_VLAN_PVID_regs_exit);
                 calls += {record(points::validate_VLAN_PVID_set_unread)};
                 return calls += leave(points::validate_VLAN_PVID_set_exit, 0, result);
             },
         .at_once = {no},
         .leaves_configuration_open = true,
         .prepare = [](ScriptedPlatform &platform) { platform.configuration = expected_pvids(); }},
        {.name = "ksl_validate_VLAN_map",
         .frame = {{.entry = points::validate_VLAN_map_entry,
                    .exit = points::validate_VLAN_map_exit,
                    .values = {kVid, address(kConfigurationPath)},
                    .inner_operations = 1}},
         .run = [=] { return ksl_validate_VLAN_map(kChip, kVid, kConfigurationPath, verdict()); },
         .accesses = entry_accesses({yes}),
         .ending =
             [](int32_t result, size_t) {
                 Calls calls = leave(points::read_VLAN_map_exit, result);
                 calls += {record(points::validate_VLAN_map_unread)};
                 return calls += leave(points::validate_VLAN_map_exit, 0, result);
             },
         .at_once = {no},
         .leaves_configuration_open = true,
         .prepare = [](ScriptedPlatform &platform) { platform.configuration = expected_entry(); }},
    };
}

} // namespace ksl::test
