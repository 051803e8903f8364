// SPDX-License-Identifier: Apache-2.0
#include "operations.h"

#include "port/trace_points.h"

namespace ksl::test {

namespace {

uint8_t out1[8];
uint8_t out2[8];

} // namespace

const std::vector<Operation> &operations() {
    static const std::vector<Operation> all{
        {"ksl_read_bist_status_reg", "port/status.cpp", points::read_bist_status_reg_entry,
         points::read_bist_status_reg_exit, [](uint32_t chip) { return ksl_read_bist_status_reg(chip, out1); },
         [](uint32_t chip) { return ksl_read_bist_status_reg(chip, nullptr); }},
        {"ksl_read_link_status_regs", "port/status.cpp", points::read_link_status_regs_entry,
         points::read_link_status_regs_exit, [](uint32_t chip) { return ksl_read_link_status_regs(chip, out1, out2); },
         [](uint32_t chip) { return ksl_read_link_status_regs(chip, nullptr, out2); }},
        {"ksl_read_link_status_reg", "port/status.cpp", points::read_link_status_reg_entry,
         points::read_link_status_reg_exit, [](uint32_t chip) { return ksl_read_link_status_reg(chip, out1); },
         [](uint32_t chip) { return ksl_read_link_status_reg(chip, nullptr); }},
        {"ksl_read_switch_mode_reg", "port/status.cpp", points::read_switch_mode_reg_entry,
         points::read_switch_mode_reg_exit, [](uint32_t chip) { return ksl_read_switch_mode_reg(chip, out1); },
         [](uint32_t chip) { return ksl_read_switch_mode_reg(chip, nullptr); }},
        {"ksl_read_port_speed_reg", "port/status.cpp", points::read_port_speed_reg_entry,
         points::read_port_speed_reg_exit, [](uint32_t chip) { return ksl_read_port_speed_reg(chip, out1); },
         [](uint32_t chip) { return ksl_read_port_speed_reg(chip, nullptr); }},
        {"ksl_read_port_duplex_reg", "port/status.cpp", points::read_port_duplex_reg_entry,
         points::read_port_duplex_reg_exit, [](uint32_t chip) { return ksl_read_port_duplex_reg(chip, out1); },
         [](uint32_t chip) { return ksl_read_port_duplex_reg(chip, nullptr); }},
    };
    return all;
}

} // namespace ksl::test
