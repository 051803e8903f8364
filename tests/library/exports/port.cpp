// SPDX-License-Identifier: Apache-2.0
// Status registers, port speed and port control.
#include "export.h"

#include "port/trace_points.h"

namespace ksl::test {

namespace {

// A port whose page does not fit its byte.
constexpr uint32_t kWidePort = 0xF3;

// ---- Rules for fuzzers ----

using fuzz::require;

int32_t fuzz_set_port_speed(fuzz::Call &call) {
    constexpr uint32_t kSpeeds[] = {10, 100, 0, 1000};
    const uint32_t speed = kSpeeds[call.input.up_to(3)];
    call.refuse(speed != 10 && speed != 100);
    const uint32_t port = call.any_port();
    return ksl_set_port_speed(call.chip, port, speed);
}

int32_t fuzz_get_port_speed(fuzz::Call &call) {
    const uint32_t port = call.any_port();
    auto *const speed = call.memory<uint32_t>();
    const int32_t result = ksl_get_port_speed(call.chip, port, speed);
    require(result != 0 || *speed <= 1, "a speed indication is 0 or 1");
    return result;
}

} // namespace

Exports port_exports() {
    return {
        {.name = "ksl_read_bist_status_reg",
         .frame = {{points::read_bist_status_reg_entry, points::read_bist_status_reg_exit}},
         .refused = [] { return ksl_read_bist_status_reg(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) { return ksl_read_bist_status_reg(call.chip, call.memory_or_null(8)); }},
         .run = [] { return ksl_read_bist_status_reg(kChip, memory()); },
         .accesses = {read(1, 0x00, {0x01, 2, 3, 4, 5, 6}, {{0, {0x01, 2, 3, 4, 5, 6, 0, 0}}})},
         // The top bit of what the caller had there.
         .ending = [](int32_t, size_t) { return leave(points::read_bist_status_reg_exit, kUntouched >> 7); }},
        {.name = "ksl_read_link_status_regs",
         .frame = {{points::read_link_status_regs_entry, points::read_link_status_regs_exit}},
         .refused = [] { return ksl_read_link_status_regs(kChip, nullptr, memory()); },
         .fuzz = {[](fuzz::Call &call) {
                      auto *const second = call.memory(4);
                      return ksl_read_link_status_regs(call.chip, call.memory_or_null(4), second);
                  },
                  fuzz::Result::first_failure, fuzz::Outputs::partly_written},
         .run = [] { return ksl_read_link_status_regs(kChip, memory(), memory(8)); },
         .accesses = {read(1, 0x10, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}}),
                      read(1, 0x14, {5, 6, 7, 8}, {{8, {5, 6, 7, 8}}})},
         .ending = [](int32_t result, size_t) { return leave(points::read_link_status_regs_exit, memory(8), result); }},
        {.name = "ksl_read_link_status_reg",
         .frame = {{points::read_link_status_reg_entry, points::read_link_status_reg_exit}},
         .refused = [] { return ksl_read_link_status_reg(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) { return ksl_read_link_status_reg(call.chip, call.memory_or_null(4)); }},
         .run = [] { return ksl_read_link_status_reg(kChip, memory()); },
         .accesses = {read(1, 0x10, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         .ending = [](int32_t result, size_t) { return leave(points::read_link_status_reg_exit, memory(), result); }},
        {.name = "ksl_read_switch_mode_reg",
         .frame = {{points::read_switch_mode_reg_entry, points::read_switch_mode_reg_exit}},
         .refused = [] { return ksl_read_switch_mode_reg(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) { return ksl_read_switch_mode_reg(call.chip, call.memory_or_null(4)); }},
         .run = [] { return ksl_read_switch_mode_reg(kChip, memory()); },
         .accesses = {read(0, 0x00, {0x5A}, {{0, {0x5A, 0, 0, 0}}})},
         .ending = [](int32_t, size_t) { return leave(points::read_switch_mode_reg_exit, memory()); }},
        {.name = "ksl_read_port_speed_reg",
         .frame = {{points::read_port_speed_reg_entry, points::read_port_speed_reg_exit}},
         .refused = [] { return ksl_read_port_speed_reg(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) { return ksl_read_port_speed_reg(call.chip, call.memory_or_null(4)); }},
         .run = [] { return ksl_read_port_speed_reg(kChip, memory()); },
         .accesses = {read(1, 0x18, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         .ending = [](int32_t, size_t) { return leave(points::read_port_speed_reg_exit, memory()); }},
        {.name = "ksl_read_port_duplex_reg",
         .frame = {{points::read_port_duplex_reg_entry, points::read_port_duplex_reg_exit}},
         .refused = [] { return ksl_read_port_duplex_reg(kChip, nullptr); },
         .fuzz = {[](fuzz::Call &call) { return ksl_read_port_duplex_reg(call.chip, call.memory_or_null(4)); }},
         .run = [] { return ksl_read_port_duplex_reg(kChip, memory()); },
         .accesses = {read(1, 0x1C, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         .ending = [](int32_t, size_t) { return leave(points::read_port_duplex_reg_exit, memory()); }},

        {.name = "ksl_get_port_speed",
         .frame = {{points::get_port_speed_entry, points::get_port_speed_exit, {kChip}}},
         .fuzz = {fuzz_get_port_speed},
         .run = [] { return ksl_get_port_speed(kChip, kWidePort, memory_as<uint32_t>()); },
         .accesses = {read(0x103, 0x30, {0, 2}, {{0, native(1)}}, points::get_port_speed_read_failed)},
         .ending = [](int32_t, size_t) { return leave(points::get_port_speed_exit, memory()); }},
        {.name = "ksl_set_port_speed",
         .frame = {{points::set_port_speed_entry, points::set_port_speed_exit, {kChip, kWidePort, 100}}},
         .fuzz = {fuzz_set_port_speed},
         .run = [] { return ksl_set_port_speed(kChip, kWidePort, 100); },
         // Its failed write leaves the record of a failed read.
         .accesses = {read(0x103, 0x00, {0x01, 0x40}), write(0x103, 0x00, {0x31, 0x40}, points::register_read_failed)},
         .ending = [](int32_t result, size_t) { return leave(points::set_port_speed_exit, result, 1); }},

        {
            .name = "ksl_activate_port",
            .frame = {{points::activate_port_entry, points::activate_port_exit, {kChip, kPort}}},
            .refused = [] { return ksl_activate_port(kChip, KSL_PORTS); },
            .fuzz = {[](fuzz::Call &call) { return ksl_activate_port(call.chip, call.port()); }},
            .run = [] { return ksl_activate_port(kChip, kPort); },
            .accesses = {write(0x13, 0x00, {0x30, 0x00}), write(0x00, 0xD3, {0x00}), read(0x00, 0xD3, {0x03})},
        },
        {
            .name = "ksl_deactivate_port",
            .frame = {{points::deactivate_port_entry, points::deactivate_port_exit, {kChip, kPort}}},
            .refused = [] { return ksl_deactivate_port(kChip, KSL_PORTS); },
            .fuzz = {[](fuzz::Call &call) { return ksl_deactivate_port(call.chip, call.port()); }},
            .run = [] { return ksl_deactivate_port(kChip, kPort); },
            .accesses = {write(0x13, 0x00, {0x40, 0x00}), write(0x00, 0xD3, {0x03}), read(0x00, 0xD3, {0x00})},
        },
        {
            .name = "ksl_read_port_cntrl_reg",
            .frame = {{points::read_port_cntrl_reg_entry, points::read_port_cntrl_reg_exit, {kChip, kPort}}},
            .refused = [] { return ksl_read_port_cntrl_reg(kChip, KSL_PORTS, memory_as<ksl_word>()); },
            .fuzz = {[](fuzz::Call &call) {
                return ksl_read_port_cntrl_reg(call.chip, call.port(), call.memory<ksl_word>());
            }},
            .run = [] { return ksl_read_port_cntrl_reg(kChip, kPort, memory_as<ksl_word>()); },
            .accesses = {read(0x00, 0xD3, {0x5A}, {{0, {0x5A, 0, 0, 0}}})},
        },
        {
            .name = "ksl_reset_PHY",
            .frame = {{points::reset_PHY_entry, points::reset_PHY_exit}},
            .fuzz = {[](fuzz::Call &call) { return ksl_reset_PHY(call.chip, call.port()); }},
            .run = [] { return ksl_reset_PHY(kChip, kPort); },
            .accesses = {write(0x13, 0x00, {0x80, 0x00}, points::second_register_write_failed)},
        },
    };
}

} // namespace ksl::test
