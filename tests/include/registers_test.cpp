// SPDX-License-Identifier: Apache-2.0
// The table of registers against numbers written by hand.
#include "face.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

// name, text, page, page step, offset, offset step, length
using Row = std::tuple<std::string, std::string, int, int, int, int, int>;

const std::vector<Row> kRows{
    {"switch_mode", "switch mode", 0, 0, 0, 0, 1},
    {"port_control", "port control", 0, 0, 208, 1, 1},
    {"self_test", "self-test status", 1, 0, 0, 0, 6},
    {"link_status", "link status", 1, 0, 16, 0, 4},
    {"link_change", "link change", 1, 0, 20, 0, 4},
    {"port_speed", "port speed status", 1, 0, 24, 0, 4},
    {"port_duplex", "port duplex status", 1, 0, 28, 0, 4},
    {"age_timer", "age timer", 2, 0, 6, 0, 4},
    {"mirror_control", "mirror control", 2, 0, 16, 0, 4},
    {"ingress_mirror_mask", "ingress mirror mask", 2, 0, 20, 0, 4},
    {"egress_mirror_mask", "egress mirror mask", 2, 0, 32, 0, 4},
    {"address_search_control", "address search control", 5, 0, 32, 0, 8},
    {"address_entry", "address entry", 5, 0, 36, 0, 8},
    {"address_vlan", "address VLAN", 5, 0, 44, 0, 2},
    {"vlan_table_command", "VLAN table command", 8, 0, 48, 0, 3},
    {"vlan_table_address", "VLAN table address", 8, 0, 50, 0, 3},
    {"vlan_table_entry", "VLAN table entry", 8, 0, 56, 0, 8},
    {"phy_control", "PHY control", 16, 1, 0, 0, 2},
    {"speed_indication", "speed indication", 16, 1, 48, 0, 2},
    {"trunk_control", "trunk control", 50, 0, 0, 0, 1},
    {"trunk_group_0", "trunk group 0", 50, 0, 16, 0, 4},
    {"vlan_enable", "VLAN enable", 52, 0, 0, 0, 1},
    {"vlan_control_1", "VLAN control 1", 52, 0, 1, 0, 1},
    {"vlan_control_2", "VLAN control 2", 52, 0, 2, 0, 1},
    {"vlan_control_7", "VLAN control 7", 52, 0, 7, 0, 1},
    {"vlan_control_8", "VLAN control 8", 52, 0, 8, 0, 1},
    {"pvid", "PVID", 52, 0, 16, 2, 2},
    {"learned_addresses", "learned addresses", 65, 0, 48, 2, 2},
    {"learning_limit", "learning limit", 65, 0, 112, 2, 2},
};

const std::vector<std::pair<int, int>> kCounters{
    {0, 8},  {8, 4},   {16, 4},  {24, 4},  {28, 4},  {48, 4},  {56, 4},  {80, 4},  {84, 4},  {88, 4},  {92, 4},
    {96, 4}, {100, 4}, {104, 4}, {112, 4}, {116, 4}, {120, 4}, {124, 8}, {132, 4}, {136, 4}, {144, 4}, {152, 4},
};

class Registers : public testing::TestWithParam<const face *> {};

TEST_P(Registers, AreWhereTheChipHasThem) {
    std::vector<Row> rows;
    for (uint32_t i = 0; i < GetParam()->register_count; ++i) {
        const named_register &row = GetParam()->registers[i];
        const ksl_register &place = *row.place;
        rows.emplace_back(row.name, row.text, place.page, place.page_step, place.offset, place.offset_step,
                          place.length);
    }
    EXPECT_EQ(rows, kRows);
}

TEST_P(Registers, CountersAreOnPagesOfTheirPorts) {
    EXPECT_EQ(GetParam()->counter_page, 80u);
    std::vector<std::pair<int, int>> counters;
    for (uint32_t i = 0; i < GetParam()->counter_count; ++i) {
        counters.emplace_back(GetParam()->counters[i].offset, GetParam()->counters[i].length);
    }
    EXPECT_EQ(counters, kCounters);
}

INSTANTIATE_TEST_SUITE_P(Languages, Registers, testing::Values(&face_c11, &face_cxx17),
                         [](const auto &language) { return language.param == &face_c11 ? "C11" : "Cxx17"; });

} // namespace
