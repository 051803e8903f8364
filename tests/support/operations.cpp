// SPDX-License-Identifier: Apache-2.0
#include "operations.h"

#include "chip/trace_points.h"
#include "forwarding/trace_points.h"
#include "port/trace_points.h"
#include "scripted_platform.h"
#include "vlan/trace_points.h"

namespace ksl::test {

namespace {

uint8_t out1[8];
uint8_t out2[8];
ksl_word words[KSL_PORTS];
uint32_t number;
ksl_mib_port_block blocks[KSL_PORTS];
ksl_cntrl_regs control_registers;
ksl_trunk_group_regs trunk_registers;
ksl_arl_entry addresses[1];
ksl_raw_arl_entry raw_addresses[1];

using Values = std::vector<uint32_t>;

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

        {"ksl_get_port_speed", "port/speed.cpp", points::get_port_speed_entry, points::get_port_speed_exit,
         [](uint32_t chip) { return ksl_get_port_speed(chip, 3, &number); }, nullptr},
        {"ksl_set_port_speed", "port/speed.cpp", points::set_port_speed_entry, points::set_port_speed_exit,
         [](uint32_t chip) { return ksl_set_port_speed(chip, 3, 10); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 3, 10};
         }},
        {"ksl_activate_port", "port/control.cpp", points::activate_port_entry, points::activate_port_exit,
         [](uint32_t chip) { return ksl_activate_port(chip, 3); },
         [](uint32_t chip) { return ksl_activate_port(chip, 24); },
         [](uint32_t chip) {
             return Values{chip, 3};
         }},
        {"ksl_deactivate_port", "port/control.cpp", points::deactivate_port_entry, points::deactivate_port_exit,
         [](uint32_t chip) { return ksl_deactivate_port(chip, 3); },
         [](uint32_t chip) { return ksl_deactivate_port(chip, 24); },
         [](uint32_t chip) {
             return Values{chip, 3};
         }},
        {"ksl_read_port_cntrl_reg", "port/control.cpp", points::read_port_cntrl_reg_entry,
         points::read_port_cntrl_reg_exit, [](uint32_t chip) { return ksl_read_port_cntrl_reg(chip, 3, words); },
         [](uint32_t chip) { return ksl_read_port_cntrl_reg(chip, 24, words); },
         [](uint32_t chip) {
             return Values{chip, 3};
         }},
        {"ksl_reset_PHY", "port/control.cpp", points::reset_PHY_entry, points::reset_PHY_exit,
         [](uint32_t chip) { return ksl_reset_PHY(chip, 3); }, nullptr},

        {"ksl_read_VLAN_PVID_regs", "vlan/registers.cpp", points::read_VLAN_PVID_regs_entry,
         points::read_VLAN_PVID_regs_exit, [](uint32_t chip) { return ksl_read_VLAN_PVID_regs(chip, words); },
         [](uint32_t chip) { return ksl_read_VLAN_PVID_regs(chip, nullptr); }},
        {"ksl_set_PVID", "vlan/registers.cpp", points::set_PVID_entry, points::set_PVID_exit,
         [](uint32_t chip) { return ksl_set_PVID(chip, 1, 2, 3); },
         [](uint32_t chip) { return ksl_set_PVID(chip, 1, 2, 24); },
         [](uint32_t chip) {
             return Values{chip, 1, 2, 3};
         }},
        {"ksl_read_VLAN_enable", "vlan/registers.cpp", points::read_VLAN_enable_entry, points::read_VLAN_enable_exit,
         [](uint32_t chip) { return ksl_read_VLAN_enable(chip, words); },
         [](uint32_t chip) { return ksl_read_VLAN_enable(chip, nullptr); }},
        {"ksl_read_VLAN_map", "vlan/registers.cpp", points::read_VLAN_map_entry, points::read_VLAN_map_exit,
         [](uint32_t chip) { return ksl_read_VLAN_map(chip, 10, out1); },
         [](uint32_t chip) { return ksl_read_VLAN_map(chip, 10, nullptr); },
         [](uint32_t chip) {
             return Values{chip, 10};
         }},
        {"ksl_read_extended_VLAN_cntrl_regs", "vlan/registers.cpp", points::read_extended_VLAN_cntrl_regs_entry,
         points::read_extended_VLAN_cntrl_regs_exit,
         [](uint32_t chip) { return ksl_read_extended_VLAN_cntrl_regs(chip, 3, words); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 3};
         }},
        {"ksl_validate_VLAN_enable", "vlan/registers.cpp", points::validate_VLAN_enable_entry,
         points::validate_VLAN_enable_exit,
         [](uint32_t chip) {
             number = 1;
             return ksl_validate_VLAN_enable(chip, &number);
         },
         nullptr,
         [](uint32_t chip) {
             return Values{chip, 1};
         },
         1},
        {"ksl_validate_VLAN_PVID_set", "vlan/validation.cpp", points::validate_VLAN_PVID_set_entry,
         points::validate_VLAN_PVID_set_exit,
         [](uint32_t chip) { return ksl_validate_VLAN_PVID_set(chip, kConfigurationPath, &number); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, address(kConfigurationPath), address(&number)};
         },
         1},
        // Its entry record does not tell the chip.
        {"ksl_validate_VLAN_map", "vlan/validation.cpp", points::validate_VLAN_map_entry,
         points::validate_VLAN_map_exit,
         [](uint32_t chip) { return ksl_validate_VLAN_map(chip, 10, kConfigurationPath, &number); }, nullptr,
         [](uint32_t) {
             return Values{10, address(kConfigurationPath)};
         },
         1},

        {"ksl_read_MIB_counters_at_port", "forwarding/mib.cpp", points::read_mib_counters_at_port_entry,
         points::read_mib_counters_at_port_exit,
         [](uint32_t chip) { return ksl_read_MIB_counters_at_port(chip, 3, blocks); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 3};
         }},
        {.name = "ksl_read_MIB_counters",
         .source = "forwarding/mib.cpp",
         .entry = points::read_mib_counters_entry,
         .exit = points::read_mib_counters_exit,
         .run = [](uint32_t chip) { return ksl_read_MIB_counters(chip, blocks); },
         .run_refused = nullptr,
         .inner_operations = KSL_PORTS,
         .stamps_its_start = false},
        {"ksl_read_age_timer_reg", "forwarding/age_timer.cpp", points::read_age_timer_reg_entry,
         points::read_age_timer_reg_exit, [](uint32_t chip) { return ksl_read_age_timer_reg(chip, words); },
         [](uint32_t chip) { return ksl_read_age_timer_reg(chip, nullptr); }},
        {"ksl_set_age_timer_reg", "forwarding/age_timer.cpp", points::set_age_timer_reg_entry,
         points::set_age_timer_reg_exit, [](uint32_t chip) { return ksl_set_age_timer_reg(chip, 300); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 300};
         }},
        {.name = "ksl_read_cntrl_regs",
         .source = "forwarding/age_timer.cpp",
         .entry = points::read_cntrl_regs_entry,
         .exit = points::read_cntrl_regs_exit,
         .run = [](uint32_t chip) { return ksl_read_cntrl_regs(chip, &control_registers); },
         .run_refused = nullptr,
         .inner_operations = 6},
        {"ksl_read_trunk_group_regs", "forwarding/trunk.cpp", points::read_trunk_group_regs_entry,
         points::read_trunk_group_regs_exit,
         [](uint32_t chip) { return ksl_read_trunk_group_regs(chip, &trunk_registers); },
         [](uint32_t chip) { return ksl_read_trunk_group_regs(chip, nullptr); }},
        {"ksl_validate_trunk_group", "forwarding/trunk.cpp", points::validate_trunk_group_entry,
         points::validate_trunk_group_exit,
         [](uint32_t chip) { return ksl_validate_trunk_group(chip, 0, 3, 4, &number); },
         [](uint32_t chip) { return ksl_validate_trunk_group(chip, 0, 3, 4, nullptr); },
         [](uint32_t chip) {
             return Values{chip, 0, 3, 4, address(&number)};
         },
         1},
        {"ksl_set_mirror_port", "forwarding/mirror.cpp", points::set_mirror_port_entry, points::set_mirror_port_exit,
         [](uint32_t chip) { return ksl_set_mirror_port(chip, 5, 3, 4); },
         [](uint32_t chip) { return ksl_set_mirror_port(chip, 24, 3, 4); },
         [](uint32_t chip) {
             return Values{chip, 5, 3, 4};
         }},
        {"ksl_unset_mirror_port", "forwarding/mirror.cpp", points::unset_mirror_port_entry,
         points::unset_mirror_port_exit, [](uint32_t chip) { return ksl_unset_mirror_port(chip, 5); },
         [](uint32_t chip) { return ksl_unset_mirror_port(chip, 24); },
         [](uint32_t chip) {
             return Values{chip, 5};
         }},
        {"ksl_read_ARL_table", "forwarding/address_table.cpp", points::read_arl_table_entry,
         points::read_arl_table_exit,
         [](uint32_t chip) {
             number = 1;
             return ksl_read_ARL_table(chip, 0, addresses, &number);
         },
         nullptr,
         [](uint32_t chip) {
             return Values{chip, 0, 1};
         }},
        {"dbg_ksl_search_ARL_table", "forwarding/address_search.cpp", points::search_arl_table_entry,
         points::search_arl_table_exit,
         [](uint32_t chip) {
             number = 1;
             return dbg_ksl_search_ARL_table(chip, words, raw_addresses, &number);
         },
         nullptr,
         [](uint32_t chip) {
             return Values{chip, 1};
         }},
        {"ksl_get_SA_count_at_port", "forwarding/learning.cpp", points::get_sa_count_at_port_entry,
         points::get_sa_count_at_port_exit,
         [](uint32_t chip) {
             number = 7;
             return ksl_get_SA_count_at_port(chip, 3, &number);
         },
         nullptr,
         [](uint32_t chip) {
             return Values{chip, 3, 7};
         }},
        {"ksl_get_learning_threshold_at_port", "forwarding/learning.cpp", points::get_learning_threshold_at_port_entry,
         points::get_learning_threshold_at_port_exit,
         [](uint32_t chip) {
             number = 7;
             return ksl_get_learning_threshold_at_port(chip, 3, &number);
         },
         nullptr,
         [](uint32_t chip) {
             return Values{chip, 3, 7};
         }},
        {"ksl_set_learning_threshold_at_port", "forwarding/learning.cpp", points::set_learning_threshold_at_port_entry,
         points::set_learning_threshold_at_port_exit,
         [](uint32_t chip) { return ksl_set_learning_threshold_at_port(chip, 3, 100); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 3, 100};
         }},
        {"ksl_set_MAC_filter", "forwarding/learning.cpp", points::set_mac_filter_entry, points::set_mac_filter_exit,
         [](uint32_t chip) { return ksl_set_MAC_filter(chip, 9); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 9};
         }},

        {"ksl_read_EPN_firmware_version", "chip/firmware.cpp", points::read_epn_firmware_version_entry,
         points::read_epn_firmware_version_exit,
         [](uint32_t chip) {
             uint8_t version[9];
             return ksl_read_EPN_firmware_version(chip, version, &number);
         },
         nullptr},
        {"ksl_reset_switch", "chip/reset.cpp", points::reset_switch_entry, points::reset_switch_exit,
         [](uint32_t chip) { return ksl_reset_switch(chip); }, nullptr},
        {"dbg_ksl_set_EPN_configuration", "chip/reset.cpp", points::set_epn_configuration_entry,
         points::set_epn_configuration_exit, [](uint32_t chip) { return dbg_ksl_set_EPN_configuration(chip, 2); },
         nullptr,
         [](uint32_t chip) {
             return Values{chip, 2};
         }},
        {"dbg_ksl_get_reg", "chip/debug.cpp", points::get_reg_entry, points::get_reg_exit,
         [](uint32_t chip) { return dbg_ksl_get_reg(chip, 1, 2, 8, out1); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 1, 2, 8};
         }},
        {"dbg_ksl_set_reg", "chip/debug.cpp", points::set_reg_entry, points::set_reg_exit,
         [](uint32_t chip) { return dbg_ksl_set_reg(chip, 1, 2, 8, out1); }, nullptr,
         [](uint32_t chip) {
             return Values{chip, 1, 2, 8};
         }},
        {"dbg_ksl_dump_reg", "chip/debug.cpp", points::dump_reg_entry, points::dump_reg_exit, dbg_ksl_dump_reg,
         nullptr},
    };
    return all;
}

} // namespace ksl::test
