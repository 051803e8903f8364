// SPDX-License-Identifier: Apache-2.0
// Age timer, control registers, trunk groups, mirroring and learning limits.
#include "export.h"

#include "forwarding/trace_points.h"
#include "port/trace_points.h"

namespace ksl::test {

namespace {

// The operations that gather the control registers, by the access at which each begins.
Calls leave_control_registers(int32_t result, size_t access) {
    const auto step = [&]() -> Calls {
        switch (access) {
        case 0:
            return leave(points::read_switch_mode_reg_exit, memory()) +=
                   {record(points::read_cntrl_regs_switch_mode_failed)};
        case 1:
            return leave(points::read_bist_status_reg_exit, kUntouched >> 7) +=
                   {record(points::read_cntrl_regs_bist_status_failed)};
        case 2:
        case 3:
            return leave(points::read_link_status_regs_exit, memory(16), result) +=
                   {record(points::read_cntrl_regs_link_status_failed)};
        case 4:
            return leave(points::read_port_speed_reg_exit, memory(20)) +=
                   {record(points::read_cntrl_regs_port_speed_failed)};
        case 5:
            return leave(points::read_port_duplex_reg_exit, memory(24)) +=
                   {record(points::read_cntrl_regs_port_duplex_failed)};
        default:
            return leave(points::read_age_timer_reg_exit, 0xEEEEE, result) +=
                   {record(points::read_cntrl_regs_age_timer_failed)};
        }
    };
    return step() += leave(points::read_cntrl_regs_exit, result);
}

// ---- Rules for fuzzers ----

using fuzz::require;

int32_t fuzz_validate_trunk_group(fuzz::Call &call) {
    const uint32_t group = call.input.up_to(2);
    call.refuse(group > 1);
    const uint32_t port_a = call.port();
    const uint32_t port_b = call.port();
    auto *const verdict = call.memory_or_null<uint32_t>();
    const int32_t result = ksl_validate_trunk_group(call.chip, group, port_a, port_b, verdict);
    if (!call.refused()) {
        require(*verdict <= (result == 0 && group == 0 ? 1U : 0U), "a verdict is 0 or 1, and never 1 for group 1");
    }
    return result;
}

int32_t fuzz_set_mirror(fuzz::Call &call) {
    const uint32_t capture = call.port();
    const uint32_t first = call.port();
    const uint32_t last = call.port();
    return ksl_set_mirror_port(call.chip, capture, first, last);
}

// Those of a port, where the number must not stay what it was.
template <int32_t (*Read)(uint32_t, uint32_t, uint32_t *)>
int32_t fuzz_read_learning(fuzz::Call &call) {
    const uint32_t port = call.port();
    auto *const number = call.memory<uint32_t>();
    const int32_t result = Read(call.chip, port, number);
    require(result == 0 ? *number <= 0x1FFF : *number == 1234, "a number has 13 bits, or is the placeholder");
    return result;
}

int32_t fuzz_set_limit(fuzz::Call &call) {
    const uint32_t port = call.port();
    const uint32_t limit = 8190 + call.input.up_to(4);
    call.refuse(limit > 8192);
    return ksl_set_learning_threshold_at_port(call.chip, port, limit);
}

int32_t fuzz_set_mac_filter(fuzz::Call &call) {
    const int32_t result = ksl_set_MAC_filter(call.chip, call.input.word());
    require(result == 0 && call.platform.accesses == 0, "the filter goes nowhere");
    return result;
}

} // namespace

Exports forwarding_exports() {
    const auto number = [] { return memory_as<uint32_t>(); };
    const Bytes trunk{0x08, 0, 0, 0x18};
    return {
        {.name = "ksl_read_age_timer_reg",
         .frame = {{points::read_age_timer_reg_entry, points::read_age_timer_reg_exit}},
         .refused = [] { return ksl_read_age_timer_reg(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) { return ksl_read_age_timer_reg(call.chip, call.memory_or_null<ksl_word>()); }},
         .run = [] { return ksl_read_age_timer_reg(kChip, memory_as<ksl_word>()); },
         .accesses = {read(2, 0x06, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         // The age time of the word that the caller had there.
         .ending = [](int32_t result, size_t) { return leave(points::read_age_timer_reg_exit, 0xEEEEE, result); }},
        {
            .name = "ksl_set_age_timer_reg",
            .frame = {{points::set_age_timer_reg_entry, points::set_age_timer_reg_exit, {kChip, 0x123456}}},
            .fuzz = {[](fuzz::Call &call) { return ksl_set_age_timer_reg(call.chip, call.input.word()); }},
            .run = [] { return ksl_set_age_timer_reg(kChip, 0x123456); },
            .accesses = {write(2, 0x06, {0x00, 0x02, 0x34, 0x56})},
        },
        {.name = "ksl_read_cntrl_regs",
         .frame = {{.entry = points::read_cntrl_regs_entry,
                    .exit = points::read_cntrl_regs_exit,
                    .inner_operations = 6}},
         .fuzz = {[](fuzz::Call &call) {
                      return ksl_read_cntrl_regs(call.chip, call.memory_or_null<ksl_cntrl_regs>());
                  },
                  fuzz::Result::first_failure, fuzz::Outputs::partly_written},
         .run = [] { return ksl_read_cntrl_regs(kChip, memory_as<ksl_cntrl_regs>()); },
         .accesses = {read(0, 0x00, {0x5A}, {{0, {0x5A, 0, 0, 0}}}),
                      read(1, 0x00, {1, 2, 3, 4, 5, 6}, {{4, {1, 2, 3, 4, 5, 6, 0, 0}}}),
                      read(1, 0x10, {11, 12, 13, 14}, {{12, {11, 12, 13, 14}}}),
                      read(1, 0x14, {21, 22, 23, 24}, {{16, {21, 22, 23, 24}}}),
                      read(1, 0x18, {31, 32, 33, 34}, {{20, {31, 32, 33, 34}}}),
                      read(1, 0x1C, {41, 42, 43, 44}, {{24, {41, 42, 43, 44}}}),
                      read(2, 0x06, {51, 52, 53, 54}, {{28, {51, 52, 53, 54}}})},
         .ending = leave_control_registers},

        {
            .name = "ksl_read_trunk_group_regs",
            .frame = {{points::read_trunk_group_regs_entry, points::read_trunk_group_regs_exit}},
            .refused = [] { return ksl_read_trunk_group_regs(kChip, nullptr); },
            .fuzz = {[](fuzz::Call &call) {
                         return ksl_read_trunk_group_regs(call.chip, call.memory_or_null<ksl_trunk_group_regs>());
                     },
                     fuzz::Result::first_failure, fuzz::Outputs::partly_written},
            .run = [] { return ksl_read_trunk_group_regs(kChip, memory_as<ksl_trunk_group_regs>()); },
            .accesses = {read(0x32, 0x00, {0x02}, {{0, {0x02, 0, 0, 0}}}), read(0x32, 0x10, trunk, {{4, trunk}}),
                         read(0x32, 0x10, trunk, {{8, trunk}})},
        },
        {.name = "ksl_validate_trunk_group",
         .frame = {{.entry = points::validate_trunk_group_entry,
                    .exit = points::validate_trunk_group_exit,
                    .values = {kChip, 0, 3, 4, address(memory())},
                    .inner_operations = 1}},
         .refused = [] { return ksl_validate_trunk_group(kChip, 0, 3, 4, nullptr); },
         .fuzz = {fuzz_validate_trunk_group, fuzz::Result::first_failure, fuzz::Outputs::partly_written},
         .run = [=] { return ksl_validate_trunk_group(kChip, 0, 3, 4, number()); },
         .accesses = {read(0x32, 0x00, {0x02}), read(0x32, 0x10, trunk), read(0x32, 0x10, trunk, {{0, native(1)}})},
         .ending =
             [](int32_t result, size_t) {
                 Calls calls = leave(points::read_trunk_group_regs_exit, result);
                 calls += {record(points::validate_trunk_group_read_failed)};
                 return calls += leave(points::validate_trunk_group_exit, result);
             },
         .at_once = {{0, native(0)}}},

        {
            .name = "ksl_set_mirror_port",
            .frame = {{points::set_mirror_port_entry, points::set_mirror_port_exit, {kChip, 5, 0, 3}}},
            .refused = [] { return ksl_set_mirror_port(kChip, KSL_PORTS, 0, 3); },
            .fuzz = {fuzz_set_mirror},
            .run = [] { return ksl_set_mirror_port(kChip, 5, 0, 3); },
            .accesses = {write(2, 0x10, {0x80, 0, 0, 0x20}), write(2, 0x14, {0, 0, 0, 0}),
                         write(2, 0x20, {0, 0, 0, 0x0F})},
        },
        {
            .name = "ksl_unset_mirror_port",
            .frame = {{points::unset_mirror_port_entry, points::unset_mirror_port_exit, {kChip, 5}}},
            .refused = [] { return ksl_unset_mirror_port(kChip, KSL_PORTS); },
            .fuzz = {[](fuzz::Call &call) { return ksl_unset_mirror_port(call.chip, call.port()); }},
            .run = [] { return ksl_unset_mirror_port(kChip, 5); },
            // Its failed write leaves the record of a failed read.
            .accesses = {write(2, 0x10, {0, 0, 0, 0}, points::register_read_failed)},
        },

        {.name = "ksl_get_SA_count_at_port",
         .frame = {{points::get_sa_count_at_port_entry,
                    points::get_sa_count_at_port_exit,
                    {kChip, kPort, kUntouchedNumber}}},
         .fuzz = {fuzz_read_learning<ksl_get_SA_count_at_port>, fuzz::Result::first_failure,
                  fuzz::Outputs::partly_written},
         .run = [=] { return ksl_get_SA_count_at_port(kChip, kPort, number()); },
         .accesses = {read(0x41, 0x36, {0xFF, 0x07}, {{0, native(0x1F07)}}, points::get_sa_count_at_port_read_failed)},
         .ending = [](int32_t result, size_t) { return leave(points::get_sa_count_at_port_exit, result, kPort, 1234); },
         .at_once = {{0, native(1234)}}},
        {.name = "ksl_get_learning_threshold_at_port",
         .frame = {{points::get_learning_threshold_at_port_entry,
                    points::get_learning_threshold_at_port_exit,
                    {kChip, kPort, kUntouchedNumber}}},
         .fuzz = {fuzz_read_learning<ksl_get_learning_threshold_at_port>, fuzz::Result::first_failure,
                  fuzz::Outputs::partly_written},
         .run = [=] { return ksl_get_learning_threshold_at_port(kChip, kPort, number()); },
         .accesses = {read(0x41, 0x76, {0xFF, 0x07}, {{0, native(0x1F07)}},
                           points::get_learning_threshold_at_port_read_failed)},
         .ending = [](int32_t result,
                      size_t) { return leave(points::get_learning_threshold_at_port_exit, result, kPort, 1234); },
         .at_once = {{0, native(1234)}}},
        {.name = "ksl_set_learning_threshold_at_port",
         .frame = {{points::set_learning_threshold_at_port_entry,
                    points::set_learning_threshold_at_port_exit,
                    {kChip, kPort, 8191}}},
         .fuzz = {fuzz_set_limit},
         .run = [] { return ksl_set_learning_threshold_at_port(kChip, kPort, 8191); },
         .accesses = {write(0x41, 0x76, {0x1F, 0xFF}, points::second_register_write_failed)},
         .ending = [](int32_t result,
                      size_t) { return leave(points::set_learning_threshold_at_port_exit, result, kPort, 8191); }},
        // Nothing is sent.
        {.name = "ksl_set_MAC_filter",
         .frame = {{points::set_mac_filter_entry, points::set_mac_filter_exit, {kChip, 9}}},
         .fuzz = {fuzz_set_mac_filter},
         .run = [] { return ksl_set_MAC_filter(kChip, 9); }},
    };
}

} // namespace ksl::test
