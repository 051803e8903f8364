// SPDX-License-Identifier: Apache-2.0
#include "expected_records.h"

#include <gmock/gmock.h>

namespace {

using namespace kslcfg;
using Bytes = RecordValue;

constexpr ksl_cfg_record kEnd{.reserved = 0, .page = 0, .offset = 0, .end_flag = 1, .value = {}};

constexpr ksl_cfg_record pvid(uint8_t offset, uint8_t first, uint8_t second) {
    return {.reserved = 9, .page = 0x34, .offset = offset, .end_flag = 0, .value = {first, second, 0xEE}};
}

constexpr ksl_cfg_record data(uint8_t last) {
    return {.reserved = 0, .page = 0x08, .offset = 0x38, .end_flag = 0, .value = {8, 1, 2, 3, 4, 5, 6, last}};
}

constexpr ksl_cfg_record address(uint8_t second, uint8_t third) {
    return {.reserved = 0, .page = 0x08, .offset = 0x32, .end_flag = 0, .value = {0x00, second, third, 0xEE}};
}

TEST(ExpectedPvids, AreZeroWhereNoRecordNamesThePort) {
    const ksl_cfg_record records[] = {kEnd};
    for (const Bytes &bytes : expected_pvids(records)) {
        EXPECT_EQ(bytes, Bytes{});
    }
}

TEST(ExpectedPvids, TheLastRecordOfAPortCounts) {
    const ksl_cfg_record records[] = {pvid(0x10, 1, 2), pvid(0x17, 3, 4), pvid(0x3E, 5, 6), pvid(0x3F, 7, 8), kEnd};
    const auto pvids = expected_pvids(records);
    EXPECT_EQ(pvids[0], (Bytes{1, 2}));
    EXPECT_EQ(pvids[3], (Bytes{3, 4}));
    EXPECT_EQ(pvids[23], (Bytes{7, 8}));
    EXPECT_EQ(pvids[1], Bytes{});
}

TEST(ExpectedPvids, OtherRegistersAreNone) {
    ksl_cfg_record other_page = pvid(0x10, 1, 2);
    other_page.page = 0x33;
    ksl_cfg_record no_end = kEnd; // without the flag it is a register like others
    no_end.end_flag = 0;
    ksl_cfg_record flagged = pvid(0x12, 9, 9); // a flag alone ends nothing
    flagged.end_flag = 1;
    const ksl_cfg_record records[] = {
        other_page, pvid(0x0F, 1, 2), pvid(0x40, 1, 2), pvid(0xFF, 1, 2), no_end, flagged, kEnd, pvid(0x10, 1, 2),
        kEnd};
    const auto pvids = expected_pvids(records);
    EXPECT_EQ(pvids[1], (Bytes{9, 9}));
    for (const size_t port : {0U, 2U, 22U, 23U}) {
        EXPECT_EQ(pvids[port], Bytes{}) << port;
    }
}

TEST(ExpectedVlanEntry, IsTheLastBeforeTheVlansFirstAddress) {
    const ksl_cfg_record before[] = {data(0xA), address(0x20, 10), data(0xB), address(0x20, 10), kEnd};
    EXPECT_EQ(expected_vlan_entry(before, 10).bytes[7], 0xA);
    const ksl_cfg_record later[] = {data(0xA), data(0xB), address(0x20, 10), kEnd};
    EXPECT_EQ(expected_vlan_entry(later, 10).bytes, (Bytes{8, 1, 2, 3, 4, 5, 6, 0xB}));
    EXPECT_TRUE(expected_vlan_entry(later, 10).named);
}

TEST(ExpectedVlanEntry, TheAddressesLow12BitsAreTheVlan) {
    const ksl_cfg_record records[] = {data(0xA), address(0xF1, 0x23), data(0xB), kEnd};
    EXPECT_EQ(expected_vlan_entry(records, 0x123).bytes[7], 0xA);
    EXPECT_FALSE(expected_vlan_entry(records, 0x023).named);
    EXPECT_FALSE(expected_vlan_entry(records, 0x122).named);
}

TEST(ExpectedVlanEntry, IsTheLastOfAllWhereNoneNamesTheVlan) {
    const ksl_cfg_record records[] = {data(0xA), address(0x20, 10), data(0xB), kEnd, data(0xC), kEnd};
    EXPECT_EQ(expected_vlan_entry(records, 11).bytes[7], 0xB);
    EXPECT_FALSE(expected_vlan_entry(records, 11).named);
    EXPECT_EQ(expected_vlan_entry(records + 3, 11).bytes, Bytes{});
}

TEST(ExpectedVlanEntry, OtherPagesAndOffsetsAreNone) {
    ksl_cfg_record other_data = data(0xA);
    other_data.page = 0x09;
    ksl_cfg_record other_address = address(0x20, 10);
    other_address.page = 0x09;
    ksl_cfg_record command = data(0xA);
    command.offset = 0x30;
    const ksl_cfg_record records[] = {other_data, other_address, command, kEnd};
    EXPECT_EQ(expected_vlan_entry(records, 10).bytes, Bytes{});
    EXPECT_FALSE(expected_vlan_entry(records, 10).named);
}

} // namespace
