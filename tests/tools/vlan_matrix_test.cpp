// SPDX-License-Identifier: Apache-2.0
// VLANs and ports as a table and as JSON.
#include "kslctl/views/vlan_matrix.h"

#include <gmock/gmock.h>
#include <sstream>

namespace {

using namespace kslctl;
using testing::HasSubstr;

const views::Style kPlain(false);
const hub::Failure kFailure{1, "operation", "register", 17};

hub::VlanMatrix made_matrix() {
    hub::VlanMatrix matrix{.state = {.enabled = true}, .contradictions = {}};
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        matrix.state.ports.push_back({port, hub::Pvid{1, 0}});
    }
    matrix.state.ports[2].pvid = hub::Pvid{30, 0};
    matrix.state.ports[5].pvid = kFailure;
    matrix.state.entries = {
        {1, ksl_vlan_entry{1, 0, 0xFFFFF1, 0xFFFFF2}}, {30, ksl_vlan_entry{0, 0, 1, 0}}, {200, kFailure}, {4095, {}}};
    matrix.contradictions = {{&hub::rule_named("pvid_vlan_invalid"), 30, {2}},
                             {&hub::rule_named("member_of_invalid_vlan"), 30, {0}}};
    return matrix;
}

TEST(VlanMatrix, HasARowForEachVlanAndAColumnForEachPort) {
    EXPECT_EQ(views::vlan_matrix(made_matrix(), kPlain).text,
              "VLAN support  on\n"
              "\n"
              "VLAN   0  1  2  3  4  5  6  7  8  9  10 11 12 13 14 15 16 17 18 19 20 21 22 23\n"
              "   1   ^* v* .  .* #* #? #* #* #* #* #* #* #* #* #* #* #* #* #* #* #* #* #* #*\n"
              "  30 x ^! .  .! .  .  .? .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .\n"
              " 200 ? ?  ?  ?  ?  ?  ?? ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?  ?\n"
              "4095 - -  -  -  -  -  -? -  -  -  -  -  -  -  -  -  -  -  -  -  -  -  -  -  -\n"
              "# both maps  ^ upper  v lower  . none  * PVID  ! contradiction  x not valid\n"
              "\n"
              "!  VLAN 30, port 2: the VLAN of the PVID is not valid [pvid_vlan_invalid]\n"
              "!  VLAN 30, port 0: the port is in a VLAN that is not valid\n"
              "   [member_of_invalid_vlan]\n"
              "?  register not read\n");
}

TEST(VlanMatrix, FitsATerminal) {
    hub::VlanMatrix matrix = made_matrix();
    matrix.contradictions[0].ports = {0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22};
    std::istringstream text(views::vlan_matrix(matrix, kPlain).text);
    for (std::string line; std::getline(text, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

TEST(VlanMatrix, IsTheSameWithEmphasis) {
    std::string text = views::vlan_matrix(made_matrix(), views::Style(true)).text;
    EXPECT_THAT(text, HasSubstr("\x1b[31m!\x1b[0m"));
    for (size_t begin = text.find('\x1b'); begin != std::string::npos; begin = text.find('\x1b')) {
        text.erase(begin, text.find('m', begin) + 1 - begin);
    }
    EXPECT_EQ(text, views::vlan_matrix(made_matrix(), kPlain).text);
}

TEST(VlanMatrix, HasItsRegistersAndContradictionsForPrograms) {
    const Json json = views::vlan_matrix(made_matrix(), kPlain).json;
    EXPECT_EQ(json["enabled"], true);
    EXPECT_EQ(json["ports"][5], (Json{{"port", 5}, {"vid", nullptr}, {"priority", nullptr}}));
    EXPECT_EQ(json["vlans"][1]["upper"], Json::array({0}));
    EXPECT_EQ(json["vlans"][2]["valid"], nullptr);
    EXPECT_EQ(json["contradictions"][0], (Json{{"rule", "pvid_vlan_invalid"},
                                               {"vid", 30},
                                               {"ports", {2}},
                                               {"title", "the VLAN of the PVID is not valid"}}));
}

TEST(VlanMatrix, WithoutVlansSaysSo) {
    hub::VlanMatrix matrix = made_matrix();
    matrix.state.entries.clear();
    matrix.contradictions.clear();
    EXPECT_EQ(views::vlan_matrix(matrix, kPlain).text,
              "VLAN support  on\n\nVLANs         none\n\n?  register not read\n");
    EXPECT_EQ(views::vlan_matrix(matrix, kPlain).json["vlans"], Json::array());
    matrix.unread_table = hub::Failure{1, "operation", "entry of VLAN 1", 17};
    EXPECT_EQ(views::vlan_matrix(matrix, kPlain).text,
              "VLAN support  on\n\nVLANs         ?\n\n?  register not read\n?  entry of VLAN 1 not read\n");
    EXPECT_EQ(views::vlan_matrix(matrix, kPlain).json["vlans"], nullptr);
}

} // namespace
