// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/ports.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr uint32_t kPort = 3;
constexpr uint32_t kPortOff = 16;

using Ports = hub_test::HubTest;
using PortChanges = hub_test::HubTest;

PortState state_of(uint32_t port) {
    Failures failures;
    const uint32_t ports[] = {port};
    const PortStates states = read_port_states(0, ports, failures);
    EXPECT_THAT(failures, IsEmpty());
    return states.ports.at(0);
}

TEST_F(Ports, StateOfThoseThatAreAskedFor) {
    open();
    Failures failures;
    const uint32_t ports[] = {kPort, kPortOff};
    const PortStates states = read_port_states(0, ports, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_THAT(states.ports, SizeIs(2));
    EXPECT_EQ(states.ports[0].status.port, kPort);
    EXPECT_EQ(states.ports[0].control, Fact<PortControl>(PortControl::on));
    EXPECT_EQ(states.ports[0].phy, Fact<PhyControl>(PhyControl{.negotiates = true,
                                                               .speed = 100,
                                                               .duplex = Duplex::full,
                                                               .loopback = false,
                                                               .power_down = false,
                                                               .isolated = false,
                                                               .reset = false}));
    EXPECT_EQ(states.ports[1].control, Fact<PortControl>(PortControl::off));
    EXPECT_TRUE(states.ports[1].phy->loopback);
}

TEST_F(Ports, SelfTestsAreThoseOfTheChip) {
    const uint32_t ports[] = {kPort, kPortOff};
    Failures failures;
    open();
    EXPECT_EQ(read_port_states(0, ports, failures).ports[1].passed, Fact<bool>(true));
    open("getreg page=1 offset=0 garble"); // all have failed
    const PortStates failed = read_port_states(0, ports, failures);
    EXPECT_FALSE(failed.self_test->passed);
    EXPECT_EQ(failed.ports[0].passed, Fact<bool>(false));
    EXPECT_THAT(failures, IsEmpty());
    open("getreg page=1 offset=0 code=17");
    const PortStates unknown = read_port_states(0, ports, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(unknown.self_test.failure()->code, 17);
    EXPECT_EQ(unknown.ports[1].passed, Fact<bool>(failures[0]));
}

TEST_F(Ports, RegistersNameTheirPort) {
    open();
    Failures failures;
    const uint32_t ports[] = {kPortOff};
    const std::vector<Reading> readings = read_port_states(0, ports, failures).registers;
    ASSERT_THAT(readings, SizeIs(6));
    EXPECT_STREQ(readings[0].name, "self_test");
    EXPECT_STREQ(readings[5].name, "phy_control");
    EXPECT_EQ(readings[5].of->second, kPortOff);
    EXPECT_EQ(readings[5].page, 0x20U);
    EXPECT_EQ(readings[4].offset, 0xE0U);
    EXPECT_EQ(*readings[5].bytes, (Bytes{0x40, 0x00}));
}

TEST_F(Ports, AFailureConcernsItsPortAlone) {
    open("getreg page=0 offset=0xd3 code=-5");
    Failures failures;
    const uint32_t ports[] = {2, 3, 4};
    const PortStates states = read_port_states(0, ports, failures);
    const Failure expected{0, "ksl_read_port_cntrl_reg", "port control of port 3 (page 0x00, offset 0xd3)", -5};
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_TRUE(states.ports[0].control.is_read());
    EXPECT_EQ(states.ports[1].control, Fact<PortControl>(expected));
    EXPECT_TRUE(states.ports[1].phy.is_read());
    EXPECT_TRUE(states.ports[2].control.is_read());
}

TEST_F(Ports, IndicatedSpeeds) {
    open("getreg page=0x14 offset=0x30 code=17");
    Failures failures;
    const uint32_t ports[] = {3, 4, 6};
    const std::vector<PortSpeed> speeds = read_port_speeds(0, ports, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].operation, "ksl_get_port_speed");
    EXPECT_EQ(speeds[0].speed, Fact<uint32_t>(100));
    EXPECT_EQ(speeds[1].speed, Fact<uint32_t>(failures[0]));
    EXPECT_EQ(speeds[2].speed, Fact<uint32_t>(10));
}

TEST_F(PortChanges, AreWrittenAndReadBack) {
    open();
    Failures failures;
    const uint32_t ports[] = {kPort, 4};
    const Changes changes = change_ports(0, ports, kDeactivatePort, false, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_THAT(changes.registers, SizeIs(4));
    const ChangedRegister &phy = changes.registers[0];
    EXPECT_EQ(phy.which, &registers::phy_control);
    EXPECT_EQ(phy.port, kPort);
    EXPECT_EQ(phy.before, Fact<Bytes>(Bytes{0x31, 0x00}));
    EXPECT_EQ(phy.after, Fact<Bytes>(Bytes{0x40, 0x00}));
    EXPECT_EQ(changes.registers[1].after, Fact<Bytes>(Bytes{0x03}));
    EXPECT_EQ(changes.registers[3].port, 4U);
    EXPECT_EQ(state_of(kPort).control, Fact<PortControl>(PortControl::off));
}

// What a dry run announces is what the operation writes.
TEST_F(PortChanges, ADryRunAnnouncesWhatIsWritten) {
    const Change fast = forced_speed(100);
    const Change slow = forced_speed(10);
    for (const Change *const change : {&kDeactivatePort, &kActivatePort, &slow, &fast}) {
        open();
        Failures failures;
        const uint32_t ports[] = {kPort};
        const Changes announced = change_ports(0, ports, *change, true, failures);
        EXPECT_TRUE(announced.dry_run);
        const Changes made = change_ports(0, ports, *change, false, failures);
        EXPECT_THAT(failures, IsEmpty());
        for (size_t i = 0; i < made.registers.size(); ++i) {
            EXPECT_EQ(announced.registers[i].before, made.registers[i].before) << change->operation;
            EXPECT_EQ(announced.registers[i].after, made.registers[i].after) << change->operation;
            EXPECT_EQ(announced.registers[i].write, std::optional(*made.registers[i].after)) << change->operation;
        }
    }
}

TEST_F(PortChanges, APortThatCannotBeReadFirstIsLeftAsItIs) {
    open("getreg page=0 offset=0xd3 code=17");
    Failures failures;
    const uint32_t ports[] = {kPort};
    const Changes changes = change_ports(0, ports, kDeactivatePort, false, failures);
    ASSERT_THAT(failures, SizeIs(2));
    EXPECT_EQ(failures[1].operation, "");
    EXPECT_EQ(failures[1].about, "port 3");
    EXPECT_EQ(failures[1].undone, "not switched off");
    EXPECT_EQ(changes.registers[0].write, std::nullopt);
    EXPECT_EQ(changes.registers[0].after, Fact<Bytes>(failures[1]));
    open();
    EXPECT_EQ(state_of(kPort).control, Fact<PortControl>(PortControl::on));
}

TEST_F(PortChanges, WhatAPortHadIsNotRestored) {
    open();
    Failures failures;
    const uint32_t ports[] = {2, 3};
    const uint32_t port_2[] = {2};
    change_ports(0, port_2, kActivatePort, false, failures);
    // Port 2 has what it gets again.
    EXPECT_THAT(ports_not_restored(change_ports(0, ports, kDeactivatePort, true, failures)), ElementsAre(3));
    EXPECT_THAT(ports_not_restored(change_ports(0, ports, kActivatePort, true, failures)), IsEmpty());

    EXPECT_THAT(ports_not_restored(change_ports(0, ports, kDeactivatePort, false, failures)), ElementsAre(3));
    EXPECT_THAT(ports_not_restored(change_ports(0, ports, kDeactivatePort, false, failures)), IsEmpty());
    EXPECT_THAT(ports_not_restored(change_ports(0, ports, kActivatePort, false, failures)), ElementsAre(2, 3));
    const Fact<Bytes> phy = read(registers::phy_control, 0, 3, failures);
    EXPECT_EQ(phy, Fact<Bytes>(kPhyControlWhenOn));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(PortChanges, OfWhatWasNotReadNothingIsSaid) {
    open("getreg page=0x13 offset=0 code=17");
    Failures failures;
    const uint32_t ports[] = {3, 4};
    EXPECT_THAT(ports_not_restored(change_ports(0, ports, kDeactivatePort, false, failures)), ElementsAre(4));
}

TEST_F(PortChanges, AFailureBetweenTheWritesLeavesTheFirst) {
    open("setreg page=0 offset=0xd3 code=17");
    Failures failures;
    const uint32_t ports[] = {kPort};
    const Changes changes = change_ports(0, ports, kDeactivatePort, false, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], (Failure{0, "ksl_deactivate_port", "port 3", 17, "not switched off"}));
    EXPECT_EQ(changes.registers[0].after, Fact<Bytes>(Bytes{0x40, 0x00}));
    EXPECT_EQ(changes.registers[1].after, Fact<Bytes>(Bytes{0x00}));
}

TEST(PhyControlBits, EachBitHasItsField) {
    constexpr PhyControl kNone{false, 10, Duplex::half, false, false, false, false};
    EXPECT_EQ(decode_phy_control({0x02, 0xFF, 0xFF}), kNone); // the others mean nothing
    const auto with = [&](auto field, auto value) {
        PhyControl phy = kNone;
        phy.*field = value;
        return phy;
    };
    EXPECT_EQ(decode_phy_control({0x80}), with(&PhyControl::reset, true));
    EXPECT_EQ(decode_phy_control({0x40}), with(&PhyControl::loopback, true));
    EXPECT_EQ(decode_phy_control({0x20}), with(&PhyControl::speed, 100U));
    EXPECT_EQ(decode_phy_control({0x10}), with(&PhyControl::negotiates, true));
    EXPECT_EQ(decode_phy_control({0x08}), with(&PhyControl::power_down, true));
    EXPECT_EQ(decode_phy_control({0x04}), with(&PhyControl::isolated, true));
    EXPECT_EQ(decode_phy_control({0x01}), with(&PhyControl::duplex, Duplex::full));
}

TEST(PhyControlBits, AForcedSpeedKeepsTheOtherBits) {
    const auto with_speed = [](uint32_t speed, const Bytes &before) {
        return forced_speed(speed).writes.at(0).value(before);
    };
    EXPECT_EQ(with_speed(100, {0x00, 0x00}), (Bytes{0x30, 0x00}));
    EXPECT_EQ(with_speed(100, {0xCF, 0xFF}), (Bytes{0xFF, 0xFF}));
    EXPECT_EQ(with_speed(10, {0xFF, 0xFF}), (Bytes{0xCF, 0xFF}));
    EXPECT_EQ(with_speed(10, {0x31, 0x40}), (Bytes{0x01, 0x40}));
}

TEST(PortControlBits, OnlyTheLowestTwoCount) {
    constexpr PortControl kExpected[] = {PortControl::on, PortControl::partly, PortControl::partly, PortControl::off};
    for (unsigned byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(decode_port_control({static_cast<uint8_t>(byte), 0xFF}), kExpected[byte & 3]) << byte;
    }
}

} // namespace
