// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/whole_chip.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::Each;
using testing::Field;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using TheWholeChip = hub_test::HubTest;

const auto kIsRead = Field(&Reading::bytes, testing::Property(&Fact<Bytes>::is_read, true));

TEST_F(TheWholeChip, HasAllItsFacts) {
    open();
    Failures failures;
    const std::optional<WholeChip> chip = read_whole_chip(0, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_TRUE(chip);
    EXPECT_TRUE(chip->status.mode.is_read());
    EXPECT_TRUE(chip->status.self_test.is_read());
    EXPECT_THAT(chip->status.ports, SizeIs(KSL_PORTS));
    ASSERT_THAT(chip->phy_controls, SizeIs(KSL_PORTS));
    EXPECT_EQ(chip->phy_controls[3].page, 0x13U);
    EXPECT_THAT(chip->phy_controls, Each(kIsRead));
    ASSERT_THAT(chip->port_controls, SizeIs(KSL_PORTS));
    EXPECT_EQ(chip->port_controls[3].offset, 0xD3U);
    EXPECT_EQ(decode_pvid(*chip->pvids[2]), (Pvid{100, 1}));
    EXPECT_TRUE(chip->vlan_enable.is_read());
    EXPECT_THAT(*chip->vlans, Not(IsEmpty()));
    EXPECT_THAT(chip->addresses, Not(IsEmpty()));
    EXPECT_THAT(chip->settings, SizeIs(10 + KSL_PORTS));
    EXPECT_THAT(chip->settings, Each(kIsRead));
}

// Each of these is one read of a kind of its own; nothing is read after it.
TEST_F(TheWholeChip, OneFailureLeavesNone) {
    for (const char *fault : {"getreg page=1 offset=0 code=17",
                              "getreg page=0 offset=0 code=17",
                              "getreg page=1 offset=0x10 code=17",
                              "getreg page=1 offset=0x18 code=17",
                              "getreg page=1 offset=0x1c code=17",
                              "getreg page=0x34 offset=0x16 code=17",
                              "getreg page=0x13 code=17",
                              "getreg page=0 offset=0xd3 code=17",
                              "getreg page=0x34 offset=0 code=17",
                              "getreg page=8 offset=0x38 nth=4094 code=17",
                              "getmacs code=17",
                              "getreg page=2 offset=6 code=17",
                              "getreg page=2 offset=0x10 code=17",
                              "getreg page=2 offset=0x14 code=17",
                              "getreg page=2 offset=0x20 code=17",
                              "getreg page=0x32 offset=0 code=17",
                              "getreg page=0x32 offset=0x10 code=17",
                              "getreg page=0x34 offset=1 code=17",
                              "getreg page=0x34 offset=2 code=17",
                              "getreg page=0x34 offset=7 code=17",
                              "getreg page=0x34 offset=8 code=17",
                              "getreg page=0x41 offset=0x9e code=17"}) {
        open(fault);
        Failures failures;
        EXPECT_FALSE(read_whole_chip(0, failures)) << fault;
        EXPECT_THAT(failures, SizeIs(1)) << fault;
    }
}

TEST_F(TheWholeChip, VlanSettings) {
    open();
    Failures failures;
    const std::optional<VlanSettings> settings = read_vlan_settings(1, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->chip, 1U);
    EXPECT_TRUE(settings->vlans.is_read());
}

TEST_F(TheWholeChip, OneFailureLeavesNoVlanSettings) {
    for (const char *fault : {"getreg page=0x34 offset=0x3e code=17", "setreg page=8 offset=0x30 nth=7 code=17"}) {
        open(fault);
        Failures failures;
        EXPECT_FALSE(read_vlan_settings(0, failures)) << fault;
        EXPECT_THAT(failures, SizeIs(1)) << fault;
    }
}

} // namespace
