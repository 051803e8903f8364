// SPDX-License-Identifier: Apache-2.0
#include "kslctl/vlan_entry.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl;

constexpr uint32_t kAll = 0x7FFFFFF;
const Style kPlain(false);

Bytes entry(bool valid, unsigned field, uint32_t upper, uint32_t lower) {
    const uint64_t value = uint64_t{valid} << 59 | uint64_t{field} << 54 | uint64_t{upper} << 27 | uint64_t{lower};
    Bytes bytes;
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(value >> 8 * (7 - i));
    }
    return bytes;
}

TEST(VlanMap, HasAColumnForEachOfItsBits) {
    EXPECT_EQ(map_picture(0), "...........................");
    EXPECT_EQ(map_picture(kAll), "###########################");
    EXPECT_EQ(map_picture(0xF8000000), map_picture(0)); // bits of something else
    for (unsigned bit = 0; bit < 27; ++bit) {
        std::string expected(27, '.');
        expected[bit] = '#';
        EXPECT_EQ(map_picture(1U << bit), expected);
    }
}

TEST(VlanMap, TheRulerNumbersTheColumns) {
    EXPECT_EQ(kMapRuler.size(), 27U);
    for (const unsigned bit : {0U, 5U, 10U, 15U, 20U, 25U}) {
        const std::string number = std::to_string(bit);
        EXPECT_EQ(kMapRuler.substr(bit, number.size()), number);
    }
}

TEST(VlanMap, DifferencesAreMarkedUpToTheLast) {
    EXPECT_EQ(map_difference(kAll, kAll), "");
    EXPECT_EQ(map_difference(1, 0), "^");
    EXPECT_EQ(map_difference(0, 0x12), " ^  ^");
    EXPECT_EQ(map_difference(kAll, 0), std::string(27, '^'));
    EXPECT_EQ(map_difference(1U << 26, 0), std::string(26, ' ') + '^');
}

TEST(VlanMap, IsAListOfNumbersForPrograms) {
    EXPECT_EQ(map_json(0), Json::array());
    EXPECT_EQ(map_json(1U << 26 | 1U << 3 | 1U), Json({0, 3, 26}));
    EXPECT_EQ(map_json(kAll).size(), 27U);
}

TEST(VlanEntry, HasFourParts) {
    EXPECT_EQ(vlan_entry_json(entry(true, 0x1F, 0x4000000, 1)),
              (Json{{"valid", true}, {"field", 31}, {"upper", {26}}, {"lower", {0}}}));
    EXPECT_EQ(vlan_entry_json(entry(false, 1, 1, 0x4000000)),
              (Json{{"valid", false}, {"field", 1}, {"upper", {0}}, {"lower", {26}}}));
    EXPECT_EQ(vlan_entry_text(100, entry(true, 9, 0x3, 0x4000000), kPlain), "VLAN 100   valid, field 9\n"
                                                                            "           0    5    10   15   20   25\n"
                                                                            "upper map  ##.........................\n"
                                                                            "lower map  ..........................#\n");
    EXPECT_EQ(vlan_entry_text(4094, {}, kPlain).substr(0, 30), "VLAN 4094  not valid, field 0\n");
}

TEST(VlanEntry, AreTheSameWithBothValidAndEqualMaps) {
    const Bytes one = entry(true, 0, 5, 6);
    EXPECT_TRUE(same_vlan_entry(one, one));
    EXPECT_TRUE(same_vlan_entry(one, entry(true, 31, 5, 6)));
    EXPECT_FALSE(same_vlan_entry(one, entry(true, 0, 4, 6)));
    EXPECT_FALSE(same_vlan_entry(one, entry(true, 0, 5, 7)));
    EXPECT_FALSE(same_vlan_entry(one, entry(false, 0, 5, 6)));
    EXPECT_FALSE(same_vlan_entry(entry(false, 0, 5, 6), one));
    EXPECT_FALSE(same_vlan_entry({}, {}));
}

TEST(VlanEntry, ComparisonShowsBothAndMarksTheDifference) {
    EXPECT_EQ(vlan_comparison_text(entry(true, 0, 0x3, 0x6), entry(false, 0, 0x3, 0x2), kPlain),
              "                     0    5    10   15   20   25\n"
              "valid      expected  yes\n"
              "           found     no\n"
              "upper map  expected  ##.........................\n"
              "           found     ##.........................\n"
              "lower map  expected  .##........................\n"
              "           found     .#.........................\n"
              "           differ      ^\n");
}

} // namespace
