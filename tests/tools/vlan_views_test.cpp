// SPDX-License-Identifier: Apache-2.0
// VLAN facts, and their comparison, as text and as JSON.
#include "kslctl/views/validation.h"
#include "kslctl/views/values.h"
#include "kslctl/views/vlans.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl;
using hub::Bytes;
using hub::Fact;
using testing::HasSubstr;
using testing::Not;

constexpr uint32_t kAll = 0x7FFFFFF;
const views::Style kPlain(false);
const hub::Failure kFailure{1, "operation", "register", 17};

Bytes entry(bool valid, unsigned field, uint32_t upper, uint32_t lower) {
    const uint64_t value = uint64_t{valid} << 59 | uint64_t{field} << 54 | uint64_t{upper} << 27 | uint64_t{lower};
    Bytes bytes;
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(value >> 8 * (7 - i));
    }
    return bytes;
}

hub::VlanEntry vlan(uint32_t vid, const Bytes &bytes) {
    return {vid, ksl_decode_vlan_entry(bytes.data())};
}

TEST(PortMap, HasAColumnForEachOfItsBits) {
    EXPECT_EQ(views::port_map(0).text, "...........................");
    EXPECT_EQ(views::port_map(kAll).text, "###########################");
    EXPECT_EQ(views::port_map(0xF8000000).text, views::port_map(0).text); // bits of something else
    for (unsigned bit = 0; bit < 27; ++bit) {
        std::string expected(27, '.');
        expected[bit] = '#';
        EXPECT_EQ(views::port_map(1U << bit).text, expected);
    }
}

TEST(PortMap, TheRulerNumbersTheColumns) {
    EXPECT_EQ(views::kMapRuler.size(), 27U);
    for (const unsigned bit : {0U, 5U, 10U, 15U, 20U, 25U}) {
        const std::string number = std::to_string(bit);
        EXPECT_EQ(views::kMapRuler.substr(bit, number.size()), number);
    }
}

TEST(PortMap, IsAListOfNumbersForPrograms) {
    EXPECT_EQ(views::port_map(0).json, Json::array());
    EXPECT_EQ(views::port_map(1U << 26 | 1U << 3 | 1U).json, Json({0, 3, 26}));
    EXPECT_EQ(views::port_map(kAll).json.size(), 27U);
}

TEST(VlanEntries, HaveFourParts) {
    const views::Shown shown = views::vlan_entries(
        {.entries = {vlan(100, entry(true, 31, 0x3, 0x4000000)), vlan(4094, entry(false, 1, 1, 2)), {5, kFailure}}},
        kPlain);
    EXPECT_EQ(shown.text, "VLAN 100   valid, field 31\n"
                          "           0    5    10   15   20   25\n"
                          "upper map  ##.........................\n"
                          "lower map  ..........................#\n"
                          "\n"
                          "VLAN 4094  not valid, field 1\n"
                          "           0    5    10   15   20   25\n"
                          "upper map  #..........................\n"
                          "lower map  .#.........................\n"
                          "\n"
                          "VLAN 5     ?\n");
    const Json expected = {
        {{"vid", 100}, {"valid", true}, {"field", 31}, {"upper", {0, 1}}, {"lower", {26}}},
        {{"vid", 4094}, {"valid", false}, {"field", 1}, {"upper", {0}}, {"lower", {1}}},
        {{"vid", 5}, {"valid", nullptr}, {"field", nullptr}, {"upper", nullptr}, {"lower", nullptr}}};
    EXPECT_EQ(shown.json["vlans"], expected);
}

TEST(VlanEntries, NoneIsAnEmptyList) {
    EXPECT_EQ(views::vlan_entries({}, kPlain).json["vlans"], Json::array());
}

TEST(VlanState, WithoutEntriesEndsWithThePorts) {
    const hub::VlanState state{kFailure, {{3, hub::Pvid{100, 1}}, {4, kFailure}}, {}, {}};
    const views::Shown shown = views::vlans(state, kPlain);
    EXPECT_EQ(shown.text, "VLAN support  ?\n"
                          "\n"
                          "port  VLAN  priority\n"
                          "   3   100         1\n"
                          "   4     ?         ?\n");
    const Json expected = {
        {"enabled", nullptr},
        {"ports",
         {{{"port", 3}, {"vid", 100}, {"priority", 1}}, {{"port", 4}, {"vid", nullptr}, {"priority", nullptr}}}},
        {"vlans", Json::array()}};
    EXPECT_EQ(shown.json, expected);
}

TEST(Values, PvidIsVlanAndPriority) {
    const views::Cell cell = views::value_of(hub::registers::pvid, {0xF0, 0x64});
    EXPECT_EQ(cell.text, "VLAN 100, priority 7");
    EXPECT_EQ(cell.json, (Json{{"vid", 100}, {"priority", 7}}));
}

// ---- Comparisons ----

const hub::PvidValidation kPvids{
    false,
    {{0, {0x00, 0x01}, Bytes{0x00, 0x01}, true}, {1, {0x20, 0x64}, Bytes{0, 1}, false}, {2, {}, kFailure, kFailure}}};

TEST(PvidValidations, TheTextHasTheDifferencesAndTheJsonAllPorts) {
    const views::Shown shown = views::pvid_validation(kPvids, false, kPlain);
    EXPECT_TRUE(shown.answer_is_no);
    EXPECT_EQ(shown.text, "PVIDs  not as expected\n"
                          "\n"
                          "port  expected              found\n"
                          "   1  VLAN 100, priority 1  VLAN 1, priority 0\n"
                          "   2  VLAN 0, priority 0    ?\n");
    ASSERT_EQ(shown.json["ports"].size(), 3U);
    EXPECT_EQ(shown.json["verdict"], false);
    EXPECT_EQ(shown.json["ports"][0]["same"], true);
    EXPECT_EQ(shown.json["ports"][1]["found"], (Json{{"vid", 1}, {"priority", 0}}));
    EXPECT_EQ(shown.json["ports"][2]["found"], nullptr);
    EXPECT_EQ(shown.json["ports"][2]["same"], nullptr);
}

TEST(PvidValidations, AsBytes) {
    const views::Shown shown = views::pvid_validation(kPvids, true, kPlain);
    EXPECT_THAT(shown.text, HasSubstr("   1  20 64     00 01\n"));
    EXPECT_EQ(shown.json["ports"][1]["expected"], "20 64");
}

TEST(PvidValidations, WithNothingReadHaveNoTable) {
    const views::Shown shown = views::pvid_validation({kFailure, {{0, {}, kFailure, kFailure}}}, false, kPlain);
    EXPECT_EQ(shown.text, "PVIDs  could not be compared\n");
    EXPECT_FALSE(shown.answer_is_no);
    EXPECT_EQ(shown.json["verdict"], nullptr);
}

TEST(VlanValidations, ShowBothMapsAndMarkTheDifference) {
    const Bytes expected = entry(true, 0, 0x3, 0x16);
    const Bytes found = entry(false, 0, 0x3, 0x2);
    const hub::VlanValidation validation{false, true, {100, expected, found, false}};
    const views::Shown shown = views::vlan_validations({validation}, false, kPlain);
    EXPECT_TRUE(shown.answer_is_no);
    EXPECT_EQ(shown.text, "VLAN 100  not as expected\n"
                          "An entry that is not valid is never as expected.\n"
                          "                     0    5    10   15   20   25\n"
                          "valid      expected  yes\n"
                          "           found     no\n"
                          "upper map  expected  ##.........................\n"
                          "           found     ##.........................\n"
                          "lower map  expected  .##.#......................\n"
                          "           found     .#.........................\n"
                          "           differ      ^ ^\n");
    const Json json = shown.json["vlans"][0];
    EXPECT_EQ(json["named"], true);
    EXPECT_EQ(json["expected"]["lower"], Json({1, 2, 4}));
    EXPECT_EQ(json["found"]["valid"], false);
}

TEST(VlanValidations, OfAVlanThatIsNotNamedSaySo) {
    const Bytes one = entry(true, 0, 1, 1);
    const views::Shown shown = views::vlan_validations({{kFailure, false, {1, one, one, true}}}, false, kPlain);
    EXPECT_EQ(shown.text, "VLAN 1  could not be compared\n"
                          "The configuration does not name this VLAN, so its last entry was taken, if there is any.\n");
    EXPECT_FALSE(shown.answer_is_no);
}

TEST(VlanValidations, WithoutAReadingHaveNoPicture) {
    const hub::VlanValidation validation{kFailure, true, {1, entry(true, 0, 1, 1), kFailure, kFailure}};
    EXPECT_EQ(views::vlan_validations({validation}, false, kPlain).text, "VLAN 1  could not be compared\n");
    const views::Shown raw = views::vlan_validations({validation}, true, kPlain);
    EXPECT_THAT(raw.text, HasSubstr("expected   08 00 00 00 08 00 00 01\nfound      ?\n"));
    EXPECT_EQ(raw.json["vlans"][0]["found"], nullptr);
}

TEST(VlanEnableValidation, IsOnAsExpected) {
    EXPECT_EQ(views::vlan_enable_validation(true, kPlain).text, "VLAN support  on, as expected\n");
    EXPECT_TRUE(views::vlan_enable_validation(false, kPlain).answer_is_no);
    EXPECT_FALSE(views::vlan_enable_validation(kFailure, kPlain).answer_is_no);
}

} // namespace
