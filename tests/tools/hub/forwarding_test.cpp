// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/forwarding.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using TrunkRegisters = hub_test::HubTest;
using TrunkMembers = hub_test::HubTest;
using MirrorRegisters = hub_test::HubTest;
using Learning = hub_test::HubTest;
using ForwardingChanges = hub_test::HubTest;

const TrunkGroup kGroup0{true, {22, 23}};
const char *const kAboutGroup0 = "trunk group 0 (page 0x32, offset 0x10)";

TEST_F(TrunkRegisters, GroupZeroIsReadTwice) {
    open();
    Failures failures;
    const Trunks trunks = read_trunks(0, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(trunks.enabled, Fact<bool>(true));
    EXPECT_EQ(trunks.group0, Fact<TrunkGroup>(kGroup0));
    EXPECT_EQ(trunks.group0_again, Fact<TrunkGroup>(kGroup0));
    ASSERT_THAT(trunks.registers, SizeIs(3));
    EXPECT_STREQ(trunks.registers[0].name, "trunk_control");
    EXPECT_EQ(trunks.registers[0].length, 1U);
    EXPECT_STREQ(trunks.registers[2].name, "trunk_group_0");
    EXPECT_EQ(trunks.registers[2].bytes, Fact<Bytes>(Bytes{0x08, 0xC0, 0x00, 0x00}));
}

TEST_F(TrunkRegisters, WithoutTrunkControlNothingIsRead) {
    open("getreg page=0x32 offset=0 code=17");
    Failures failures;
    const Trunks trunks = read_trunks(0, failures);
    const Failure expected{0, "ksl_read_trunk_group_regs", "trunk control (page 0x32, offset 0x00)", 17};
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_EQ(trunks.enabled, Fact<bool>(expected));
    EXPECT_EQ(trunks.group0, Fact<TrunkGroup>(expected));
    EXPECT_EQ(trunks.group0_again, Fact<TrunkGroup>(expected));
}

TEST_F(TrunkRegisters, AFailureOfTheGroupLeavesTrunkControl) {
    open("getreg page=0x32 offset=0x10 code=17");
    Failures failures;
    const Trunks trunks = read_trunks(0, failures);
    const Failure expected{0, "ksl_read_trunk_group_regs", kAboutGroup0, 17};
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_EQ(trunks.enabled, Fact<bool>(true));
    EXPECT_EQ(trunks.group0, Fact<TrunkGroup>(expected));
    EXPECT_EQ(trunks.group0_again, Fact<TrunkGroup>(expected));
}

TEST_F(TrunkRegisters, AFailureOfTheSecondReadLeavesTheFirst) {
    open("getreg page=0x32 offset=0x10 nth=2 code=17");
    Failures failures;
    const Trunks trunks = read_trunks(0, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].about, kAboutGroup0);
    EXPECT_EQ(trunks.group0, Fact<TrunkGroup>(kGroup0));
    EXPECT_EQ(trunks.group0_again, Fact<TrunkGroup>(failures[0]));
}

TEST_F(TrunkMembers, AreThoseOfGroupZero) {
    open();
    Failures failures;
    EXPECT_EQ(ask_trunk(0, {0, 22, 23}, failures), Fact<bool>(true));
    EXPECT_EQ(ask_trunk(0, {0, 22, 21}, failures), Fact<bool>(false));
    EXPECT_EQ(ask_trunk(0, {1, 22, 23}, failures), Fact<bool>(false));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(TrunkMembers, AFailureIsNoAnswer) {
    open("getreg page=0x32 offset=0x10 code=17");
    Failures failures;
    const Fact<bool> answer = ask_trunk(0, {0, 22, 23}, failures);
    const Failure expected{0, "ksl_validate_trunk_group", "trunk group 0", 17, "not checked"};
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_EQ(answer, Fact<bool>(expected));
}

TEST_F(MirrorRegisters, SayWhatWasSet) {
    open();
    Failures failures;
    change_chip(0, mirroring(5, 1, 3), false, failures);
    const Mirroring found = read_mirroring(0, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(found.control, Fact<MirrorControl>(MirrorControl{true, {5}}));
    EXPECT_EQ(found.ingress, Fact<std::vector<uint32_t>>(std::vector<uint32_t>{}));
    EXPECT_EQ(found.egress, Fact<std::vector<uint32_t>>(std::vector<uint32_t>{1, 2, 3}));
    ASSERT_THAT(found.registers, SizeIs(3));
    EXPECT_STREQ(found.registers[2].name, "egress_mirror_mask");
    EXPECT_EQ(found.registers[2].bytes, Fact<Bytes>(Bytes{0x00, 0x00, 0x00, 0x0E}));
}

TEST_F(MirrorRegisters, EachMayFail) {
    open("getreg page=2 offset=0x14 code=17");
    Failures failures;
    const Mirroring found = read_mirroring(0, failures);
    const Failure expected{0, "dbg_ksl_get_reg", "ingress mirror mask (page 0x02, offset 0x14)", 17};
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_TRUE(found.control.is_read());
    EXPECT_EQ(found.ingress, Fact<std::vector<uint32_t>>(expected));
    EXPECT_TRUE(found.egress.is_read());
}

TEST_F(Learning, NumbersAndRegistersAgree) {
    open();
    Failures failures;
    const uint32_t ports[] = {7, 8};
    const std::vector<PortLearning> list = read_learning(0, ports, failures);
    const std::vector<Reading> readings = read_learning_registers(0, ports, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_THAT(list, SizeIs(2));
    ASSERT_THAT(readings, SizeIs(4));
    EXPECT_EQ(list[1].port, 8U);
    EXPECT_EQ(list[1].limit, Fact<uint32_t>(16));
    EXPECT_EQ(readings[2].bytes.map(decode_learning), list[1].learned);
    EXPECT_EQ(readings[3].bytes.map(decode_learning), list[1].limit);
    EXPECT_EQ(readings[3].of->second, 8U);
    EXPECT_EQ(readings[3].offset, 0x80U);
}

TEST_F(Learning, EachReadMayFail) {
    open("getreg page=0x41 offset=0x40 code=17; getreg page=0x41 offset=0x82 code=18");
    Failures failures;
    const uint32_t ports[] = {8, 9};
    const std::vector<PortLearning> list = read_learning(0, ports, failures);
    const Failure count{0, "ksl_get_SA_count_at_port", "learned addresses of port 8 (page 0x41, offset 0x40)", 17};
    const Failure limit{0, "ksl_get_learning_threshold_at_port", "learning limit of port 9 (page 0x41, offset 0x82)",
                        18};
    EXPECT_THAT(failures, ElementsAre(count, limit));
    EXPECT_EQ(list[0].learned, Fact<uint32_t>(count));
    EXPECT_TRUE(list[0].limit.is_read());
    EXPECT_TRUE(list[1].learned.is_read());
    EXPECT_EQ(list[1].limit, Fact<uint32_t>(limit));
}

TEST_F(Learning, EachRegisterMayFail) {
    open("getreg page=0x41 offset=0x40 code=17");
    Failures failures;
    const uint32_t ports[] = {8};
    const std::vector<Reading> readings = read_learning_registers(0, ports, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].operation, "dbg_ksl_get_reg");
    EXPECT_EQ(readings[0].bytes, Fact<Bytes>(failures[0]));
    EXPECT_TRUE(readings[1].bytes.is_read());
}

// What a dry run announces is what the operation writes.
TEST_F(ForwardingChanges, ADryRunAnnouncesWhatIsWritten) {
    const Change changes[] = {new_age_time(0xFFFFF),   new_age_time(60),         mirroring(5, 1, 3),
                              mirroring(23, 0, 23),    mirroring(0, 23, 23),     mirroring_off(7),
                              new_learning_limit(300), new_learning_limit(8191), new_learning_limit(8192),
                              new_learning_limit(0)};
    for (const Change &change : changes) {
        open();
        Failures failures;
        const Changes announced = change_chip(0, change, true, failures);
        const Changes made = change_chip(0, change, false, failures);
        EXPECT_THAT(failures, IsEmpty());
        ASSERT_EQ(announced.registers.size(), made.registers.size());
        for (size_t i = 0; i < made.registers.size(); ++i) {
            EXPECT_EQ(announced.registers[i].before, made.registers[i].before) << change.operation;
            EXPECT_EQ(announced.registers[i].after, made.registers[i].after) << change.operation;
        }
    }
}

TEST_F(ForwardingChanges, ALimitThatTheLibraryRefuses) {
    open();
    Failures failures;
    const uint32_t ports[] = {8};
    const Changes changes = change_ports(0, ports, new_learning_limit(8193), false, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].code, -1);
    EXPECT_EQ(failures[0].refusal, "the library takes limits from 0 to 8192");
    EXPECT_EQ(changes.registers[0].after, changes.registers[0].before);
}

TEST_F(ForwardingChanges, AFailureBetweenTheWritesLeavesTheFirst) {
    open("setreg page=2 offset=0x20 code=17");
    Failures failures;
    const Changes changes = change_chip(0, mirroring(5, 1, 3), false, failures);
    EXPECT_THAT(failures, ElementsAre(Failure{0, "ksl_set_mirror_port", "mirroring", 17, "not set"}));
    EXPECT_EQ(changes.registers[0].after, Fact<Bytes>(Bytes{0x80, 0x00, 0x00, 0x20}));
    EXPECT_EQ(changes.registers[2].after, changes.registers[2].before);
}

TEST(ForwardingBits, EachHasItsPlace) {
    EXPECT_EQ(decode_mirror_control({0x80, 0x00, 0x00, 0x20}), (MirrorControl{true, {5}}));
    EXPECT_EQ(decode_mirror_control({0x7F, 0x80, 0x00, 0x01}), (MirrorControl{false, {0, 23}}));
    EXPECT_EQ(decode_trunk_group({0x08, 0x00, 0x00, 0x03}), (TrunkGroup{true, {0, 1}}));
    EXPECT_EQ(decode_trunk_group({0xF7, 0x00, 0x00, 0x00}), (TrunkGroup{false, {}}));
    EXPECT_TRUE(decode_trunk_control({0x02}));
    EXPECT_FALSE(decode_trunk_control({0xFD, 0xFF}));
    EXPECT_EQ(decode_learning({0xFF, 0xFF}), 8191U);
    EXPECT_EQ(decode_learning({0xE0, 0x01, 0xFF}), 1U);
}

} // namespace
