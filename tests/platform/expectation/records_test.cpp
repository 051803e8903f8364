// SPDX-License-Identifier: Apache-2.0
// The bytes of the records, and the fields of registers.
#include "expectation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace kslcfg {
namespace {

// Reserved byte, page, offset, end flag, value.
using Row = std::array<int, 12>;

std::vector<Row> rows(const std::vector<ksl_cfg_record> &list) {
    std::vector<Row> rows;
    for (const ksl_cfg_record &record : list) {
        std::array<uint8_t, 12> bytes;
        std::memcpy(bytes.data(), &record, sizeof record);
        std::copy(bytes.begin(), bytes.end(), rows.emplace_back().begin());
    }
    return rows;
}

const Row kNoEntry{0, 0x08, 0x38, 0};
const Row kEnd{0, 0, 0, 1};

TEST(CfgRecords, StateEveryPortThenTheRegistersThenEachEntryBeforeItsNumber) {
    Expectation expectation;
    expectation.pvids.fill({.vid = 0xABC, .priority = 5});
    expectation.pvids[23] = {.vid = 1, .priority = 0};
    expectation.registers = {{0, 0, {0x83}}, {0x41, 0x70, {1, 2, 3, 4, 5, 6, 7, 8}}};
    expectation.vlans = {{0x123, true, 0x15, 0x5000001, 0x4000003}, {4094, false, 0, 0x0000020, 0x1234567}};
    std::vector<Row> expected;
    for (int port = 0; port < 23; ++port) {
        expected.push_back({0, 0x34, 0x10 + 2 * port, 0, 0xAA, 0xBC});
    }
    expected.push_back({0, 0x34, 0x3E, 0, 0x00, 0x01});
    expected.push_back({0, 0x00, 0x00, 0, 0x83});
    expected.push_back({0, 0x41, 0x70, 0, 1, 2, 3, 4, 5, 6, 7, 8});
    // Valid, field 10101, upper map 101 0000 0000 0000 0000 0000 0001, lower map 100 0000 0000 0000 0000 0000 0011.
    expected.push_back({0, 0x08, 0x38, 0, 0x0D, 0x68, 0x00, 0x00, 0x0C, 0x00, 0x00, 0x03});
    expected.push_back({0, 0x08, 0x32, 0, 0x00, 0x21, 0x23});
    expected.push_back({0, 0x08, 0x38, 0, 0x00, 0x00, 0x00, 0x01, 0x01, 0x23, 0x45, 0x67});
    expected.push_back({0, 0x08, 0x32, 0, 0x00, 0x2F, 0xFE});
    expected.push_back(kNoEntry);
    expected.push_back(kEnd);
    EXPECT_EQ(rows(records(expectation)), expected);
}

TEST(CfgRecords, CutValuesToTheirFields) {
    Expectation expectation;
    expectation.pvids[0] = {.vid = 0xF001, .priority = 0x0A};
    expectation.vlans = {{1, false, 0xE0, 0xF8000000, 0xF8000000}};
    const std::vector<Row> list = rows(records(expectation));
    EXPECT_EQ(list[0], (Row{0, 0x34, 0x10, 0, 0x40, 0x01}));
    EXPECT_EQ(list[24], kNoEntry);
}

TEST(CfgRecords, EndWithAnEntryThatEqualsNone) {
    const std::vector<Row> list = rows(records(Expectation{}));
    ASSERT_EQ(list.size(), 26u);
    EXPECT_EQ(list[24], kNoEntry);
    EXPECT_EQ(list[25], kEnd);
}

TEST(CfgFields, AreThoseOfAPvid) {
    const auto pvid = [](uint8_t first, uint8_t second) {
        const uint8_t word[4] = {first, second, 0xFF, 0xFF};
        return pvid_from(word);
    };
    EXPECT_EQ(pvid(0x00, 0x00), (Pvid{0, 0}));
    EXPECT_EQ(pvid(0xE0, 0x00), (Pvid{0, 7}));
    EXPECT_EQ(pvid(0x10, 0x00), (Pvid{0, 0}));
    EXPECT_EQ(pvid(0x0F, 0xFF), (Pvid{4095, 0}));
    EXPECT_EQ(pvid(0xAA, 0xBC), (Pvid{0xABC, 5}));
}

TEST(CfgFields, AreThoseOfAVlanEntry) {
    for (int bit = 0; bit < 64; ++bit) {
        uint8_t bytes[8] = {};
        bytes[7 - bit / 8] = static_cast<uint8_t>(1 << bit % 8);
        VlanEntry expected{9, false, 0, 0, 0};
        if (bit < 27) {
            expected.lower = 1U << bit;
        } else if (bit < 54) {
            expected.upper = 1U << (bit - 27);
        } else if (bit < 59) {
            expected.field = static_cast<uint8_t>(1 << (bit - 54));
        } else {
            expected.valid = bit == 59;
        }
        EXPECT_EQ(vlan_entry_from(9, bytes), expected) << bit;
    }
}

TEST(CfgMatches, NeedsBothValidAndBothMapsEqual) {
    const VlanEntry entry{5, true, 3, 0x11, 0x22};
    const auto differing = [&entry](auto change) {
        VlanEntry other = entry;
        change(other);
        return other;
    };
    const VlanEntry invalid = differing([](VlanEntry &other) { other.valid = false; });
    const VlanEntry upper = differing([](VlanEntry &other) { other.upper ^= 0x4000000; });
    const VlanEntry lower = differing([](VlanEntry &other) { other.lower ^= 1; });
    const VlanEntry field = differing([](VlanEntry &other) { other.field ^= 31; });
    EXPECT_TRUE(matches(entry, entry));
    EXPECT_TRUE(matches(entry, field));
    for (const VlanEntry &other : {invalid, upper, lower}) {
        EXPECT_FALSE(matches(entry, other));
        EXPECT_FALSE(matches(other, entry));
    }
    EXPECT_FALSE(matches(invalid, invalid));
}

TEST(CfgFindVlan, FindsTheEntryOfItsNumber) {
    Expectation expectation;
    expectation.vlans = {{7, true, 0, 1, 1}, {4094, true, 0, 2, 2}};
    EXPECT_EQ(find_vlan(expectation, 7), &expectation.vlans[0]);
    EXPECT_EQ(find_vlan(expectation, 4094), &expectation.vlans[1]);
    EXPECT_EQ(find_vlan(expectation, 8), nullptr);
    EXPECT_EQ(find_vlan(expectation, 7 + 65536), nullptr);
}

} // namespace
} // namespace kslcfg
