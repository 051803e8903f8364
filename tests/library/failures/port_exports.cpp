// SPDX-License-Identifier: Apache-2.0
// Status registers, port speed and port control.
#include "exported.h"

#include "port/trace_points.h"

namespace ksl::test {

Exports port_exports() {
    // A port whose page does not fit its byte.
    constexpr uint32_t kWidePort = 0xF3;
    return {
        {.name = "ksl_read_bist_status_reg",
         .run = [] { return ksl_read_bist_status_reg(kChip, memory()); },
         .accesses = {read(1, 0x00, {0x01, 2, 3, 4, 5, 6}, {{0, {0x01, 2, 3, 4, 5, 6, 0, 0}}})},
         // The top bit of what the caller had there.
         .ending = [](int32_t, size_t) { return leave(points::read_bist_status_reg_exit, kUntouched >> 7); }},
        {.name = "ksl_read_link_status_regs",
         .run = [] { return ksl_read_link_status_regs(kChip, memory(), memory(8)); },
         .accesses = {read(1, 0x10, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}}),
                      read(1, 0x14, {5, 6, 7, 8}, {{8, {5, 6, 7, 8}}})},
         .ending = [](int32_t result, size_t) { return leave(points::read_link_status_regs_exit, memory(8), result); }},
        {.name = "ksl_read_link_status_reg",
         .run = [] { return ksl_read_link_status_reg(kChip, memory()); },
         .accesses = {read(1, 0x10, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         .ending = [](int32_t result, size_t) { return leave(points::read_link_status_reg_exit, memory(), result); }},
        {.name = "ksl_read_switch_mode_reg",
         .run = [] { return ksl_read_switch_mode_reg(kChip, memory()); },
         .accesses = {read(0, 0x00, {0x5A}, {{0, {0x5A, 0, 0, 0}}})},
         .ending = [](int32_t, size_t) { return leave(points::read_switch_mode_reg_exit, memory()); }},
        {.name = "ksl_read_port_speed_reg",
         .run = [] { return ksl_read_port_speed_reg(kChip, memory()); },
         .accesses = {read(1, 0x18, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         .ending = [](int32_t, size_t) { return leave(points::read_port_speed_reg_exit, memory()); }},
        {.name = "ksl_read_port_duplex_reg",
         .run = [] { return ksl_read_port_duplex_reg(kChip, memory()); },
         .accesses = {read(1, 0x1C, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         .ending = [](int32_t, size_t) { return leave(points::read_port_duplex_reg_exit, memory()); }},

        {.name = "ksl_get_port_speed",
         .run = [] { return ksl_get_port_speed(kChip, kWidePort, memory_as<uint32_t>()); },
         .accesses = {read(0x103, 0x30, {0, 2}, {{0, native(1)}}, points::get_port_speed_read_failed)},
         .ending = [](int32_t, size_t) { return leave(points::get_port_speed_exit, memory()); }},
        {.name = "ksl_set_port_speed",
         .run = [] { return ksl_set_port_speed(kChip, kWidePort, 100); },
         // Its failed write leaves the record of a failed read.
         .accesses = {read(0x103, 0x00, {0x01, 0x40}), write(0x103, 0x00, {0x31, 0x40}, points::register_read_failed)},
         .ending = [](int32_t result, size_t) { return leave(points::set_port_speed_exit, result, 1); }},

        {.name = "ksl_activate_port",
         .run = [] { return ksl_activate_port(kChip, kPort); },
         .accesses = {write(0x13, 0x00, {0x30, 0x00}), write(0x00, 0xD3, {0x00}), read(0x00, 0xD3, {0x03})},
         .ending = leave_with_result(points::activate_port_exit)},
        {.name = "ksl_deactivate_port",
         .run = [] { return ksl_deactivate_port(kChip, kPort); },
         .accesses = {write(0x13, 0x00, {0x40, 0x00}), write(0x00, 0xD3, {0x03}), read(0x00, 0xD3, {0x00})},
         .ending = leave_with_result(points::deactivate_port_exit)},
        {.name = "ksl_read_port_cntrl_reg",
         .run = [] { return ksl_read_port_cntrl_reg(kChip, kPort, memory_as<ksl_word>()); },
         .accesses = {read(0x00, 0xD3, {0x5A}, {{0, {0x5A, 0, 0, 0}}})},
         .ending = leave_with_result(points::read_port_cntrl_reg_exit)},
        {.name = "ksl_reset_PHY",
         .run = [] { return ksl_reset_PHY(kChip, kPort); },
         .accesses = {write(0x13, 0x00, {0x80, 0x00}, points::second_register_write_failed)},
         .ending = leave_with_result(points::reset_PHY_exit)},
    };
}

} // namespace ksl::test
