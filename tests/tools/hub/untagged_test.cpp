// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/untagged.h"
#include "kslctl/hub/vlans.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::IsEmpty;
using testing::SizeIs;

using Ports = std::vector<uint32_t>;

class Untagged : public hub_test::HubTest {
protected:
    // As it is for VLAN 200, which has the ports 8 to 15, 22 and 23.
    Fact<UntaggedTrouble> trouble(uint32_t vid, const Ports &ports, bool dry_run = true) {
        const Changes changes = change_ports(0, ports, set_pvid(vid, std::nullopt), dry_run, failures_);
        return read_untagged_trouble(0, vid, changes, failures_);
    }

    Failures failures_;
};

TEST_F(Untagged, NothingIsWrongForAMember) {
    open();
    EXPECT_EQ(trouble(200, {8, 15, 23}), Fact<UntaggedTrouble>());
    EXPECT_THAT(failures_, IsEmpty());
}

TEST_F(Untagged, OthersAreOutside) {
    open();
    EXPECT_EQ(trouble(200, {3, 8, 16}), Fact<UntaggedTrouble>(UntaggedTrouble{true, {3, 16}}));
    EXPECT_EQ(trouble(200, {3, 8, 16}, false), Fact<UntaggedTrouble>(UntaggedTrouble{true, {3, 16}}));
    EXPECT_THAT(failures_, IsEmpty());
}

// The table has no entries for 0 and 4095.
TEST_F(Untagged, AVlanMayNotBeValid) {
    open();
    for (const uint32_t vid : {0U, 300U, 4095U}) {
        EXPECT_EQ(trouble(vid, {3, 8}), Fact<UntaggedTrouble>(UntaggedTrouble{false, {3, 8}})) << vid;
    }
    EXPECT_THAT(failures_, IsEmpty());
}

// A PVID has no effect then.
TEST_F(Untagged, NothingIsWrongWithoutVlanSupport) {
    open();
    dbg_ksl_set_reg(0, registers::vlan_enable.place.page, registers::vlan_enable.place.offset, 1, Bytes{}.data());
    EXPECT_EQ(trouble(300, {3, 8}), Fact<UntaggedTrouble>());
    EXPECT_THAT(failures_, IsEmpty());
}

// Frames of a port that keeps its PVID do not move.
TEST_F(Untagged, APortThatDoesNotGetTheVlanIsLeftOut) {
    open("setreg page=0x34 offset=0x16 code=17; getreg page=0x34 offset=0x18 code=17");
    EXPECT_EQ(trouble(300, {3, 4, 5}, false), Fact<UntaggedTrouble>(UntaggedTrouble{false, {5}}));
    EXPECT_EQ(trouble(300, {3, 4}, false), Fact<UntaggedTrouble>());
}

TEST_F(Untagged, WhatCannotBeReadIsNotJudged) {
    open("getreg page=0x34 offset=0 code=17");
    const Fact<UntaggedTrouble> unread = trouble(300, {3});
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_EQ(failures_[0].about, "VLAN enable (page 0x34, offset 0x00)");
    EXPECT_EQ(unread, Fact<UntaggedTrouble>(failures_[0]));

    failures_.clear();
    open("getreg page=8 code=17");
    EXPECT_NE(trouble(300, {3}).failure(), nullptr);
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_EQ(failures_[0].operation, "ksl_read_VLAN_map");
}

} // namespace
