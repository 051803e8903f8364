// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/status.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr uint32_t kPortWithLink = 3;
constexpr uint32_t kSlowPort = 6;
constexpr uint32_t kHalfDuplexPort = 4;
constexpr uint32_t kPortWithoutLink = 5;

const WantedRegisters kStatus = {&registers::self_test, &registers::switch_mode, &registers::link_status,
                                 &registers::port_speed, &registers::port_duplex};

std::vector<std::string> names_of(const std::vector<Reading> &readings) {
    std::vector<std::string> names;
    for (const Reading &reading : readings) {
        names.emplace_back(reading.name);
    }
    return names;
}

using Status = hub_test::HubTest;

TEST_F(Status, OfAWholeChip) {
    open();
    Failures failures;
    const ChipStatus status = read_status(0, kStatus, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(status.self_test, Fact<SelfTest>(SelfTest{true, {}}));
    EXPECT_EQ(status.mode, Fact<Mode>(Mode{true, true}));
    ASSERT_THAT(status.ports, SizeIs(24));
    EXPECT_EQ(status.ports[23].port, 23U);
    EXPECT_EQ(status.ports[kPortWithLink].link, Fact<bool>(true));
    EXPECT_EQ(status.ports[kPortWithLink].speed, Fact<uint32_t>(100));
    EXPECT_EQ(status.ports[kPortWithLink].duplex, Fact<Duplex>(Duplex::full));
    EXPECT_EQ(status.ports[kSlowPort].speed, Fact<uint32_t>(10));
    EXPECT_EQ(status.ports[kHalfDuplexPort].duplex, Fact<Duplex>(Duplex::half));
}

TEST_F(Status, SpeedAndDuplexMeanNothingWithoutALink) {
    open();
    Failures failures;
    const PortStatus port = read_status(0, kStatus, failures).ports[kPortWithoutLink];
    EXPECT_EQ(port.link, Fact<bool>(false));
    EXPECT_EQ(port.speed, Fact<uint32_t>());
    EXPECT_EQ(port.duplex, Fact<Duplex>());
}

TEST_F(Status, WhatIsNotWantedMeansNothing) {
    open();
    Failures failures;
    const ChipStatus status = read_status(0, {&registers::switch_mode}, failures);
    EXPECT_TRUE(status.mode.is_read());
    EXPECT_EQ(status.self_test, Fact<SelfTest>());
    EXPECT_EQ(status.age_timer, Fact<uint32_t>());
    EXPECT_EQ(status.ports[kPortWithLink].link, Fact<bool>());
    EXPECT_THAT(names_of(status.registers), ElementsAre("switch_mode"));
}

TEST_F(Status, OfSomePorts) {
    open();
    Failures failures;
    ChipStatus status = read_status(0, kStatus, failures);
    const uint32_t ports[] = {kPortWithLink, kSlowPort};
    keep_ports(status, ports);
    ASSERT_THAT(status.ports, SizeIs(2));
    EXPECT_EQ(status.ports[0].port, kPortWithLink);
    EXPECT_EQ(status.ports[1].port, kSlowPort);
    EXPECT_EQ(status.ports[1].speed, Fact<uint32_t>(10));
    EXPECT_THAT(status.registers, SizeIs(5));
}

TEST_F(Status, RegistersKeepTheirOwnLengthAndPlace) {
    open();
    Failures failures;
    const std::vector<Reading> readings = read_status(0, kStatus, failures).registers;
    EXPECT_THAT(names_of(readings),
                ElementsAre("self_test", "switch_mode", "link_status", "port_speed", "port_duplex"));
    EXPECT_EQ(readings[0].length, 6U);
    EXPECT_EQ(readings[1].length, 1U);
    EXPECT_EQ((*readings[1].bytes)[0], 0x03);
    EXPECT_EQ(readings[3].page, 0x01U);
    EXPECT_EQ(readings[3].offset, 0x18U);
    EXPECT_EQ(readings[3].of, std::nullopt);
    EXPECT_EQ(*readings[2].bytes, (Bytes{0x00, 0xCC, 0xDB, 0xDF}));
}

TEST_F(Status, AFailureConcernsItsRegisterAlone) {
    open("getreg page=1 offset=0x10 code=17");
    Failures failures;
    const ChipStatus status = read_status(0, kStatus, failures);
    const Failure expected{0, "ksl_read_link_status_reg", "link status (page 0x01, offset 0x10)", 17};
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_EQ(status.ports[kPortWithoutLink].link, Fact<bool>(expected));
    // Without the link, speed and duplex are as their registers have them.
    EXPECT_TRUE(status.ports[kPortWithoutLink].speed.is_read());
    EXPECT_TRUE(status.ports[kPortWithoutLink].duplex.is_read());
    EXPECT_TRUE(status.mode.is_read());
}

TEST_F(Status, ASpeedThatWasNotReadIsNotReadWithoutALinkEither) {
    open("getreg page=1 offset=0x18 code=17");
    Failures failures;
    const ChipStatus status = read_status(0, kStatus, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(status.ports[kPortWithoutLink].speed, Fact<uint32_t>(failures[0]));
    EXPECT_EQ(status.ports[kPortWithoutLink].duplex, Fact<Duplex>());
}

TEST_F(Status, LinkChangesAreClearedByTheLook) {
    open();
    Failures failures;
    const WantedRegisters wanted = {&registers::link_status, &registers::link_change};
    const ChipStatus first = read_status(0, wanted, failures);
    EXPECT_EQ(first.ports[kPortWithLink].changed, Fact<bool>(true));
    EXPECT_THAT(names_of(first.registers), ElementsAre("link_status", "link_change"));
    EXPECT_EQ(read_status(0, wanted, failures).ports[kPortWithLink].changed, Fact<bool>(false));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Status, TheLinkIsThereIfItsChangeAloneFails) {
    open("getreg page=1 offset=0x14 code=17");
    Failures failures;
    const PortStatus port = read_status(0, {&registers::link_status, &registers::link_change}, failures).ports[0];
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].about, "link change (page 0x01, offset 0x14)");
    EXPECT_EQ(port.link, Fact<bool>(true));
    EXPECT_EQ(port.changed, Fact<bool>(failures[0]));
}

TEST_F(Status, NeitherIsThereIfTheLinkFails) {
    open("getreg page=1 offset=0x10 code=17");
    Failures failures;
    const PortStatus port = read_status(0, {&registers::link_status, &registers::link_change}, failures).ports[0];
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].about, "link status (page 0x01, offset 0x10)");
    EXPECT_EQ(port.link, Fact<bool>(failures[0]));
    EXPECT_EQ(port.changed, Fact<bool>(failures[0]));
}

TEST_F(Status, AllControlRegistersByOneOperation) {
    open();
    Failures failures;
    const ChipStatus status = read_control_registers(0, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(status.age_timer, Fact<uint32_t>(300));
    EXPECT_EQ(status.ports[kSlowPort].speed, Fact<uint32_t>(10));
    EXPECT_THAT(names_of(status.registers), ElementsAre("switch_mode", "self_test", "link_status", "link_change",
                                                        "port_speed", "port_duplex", "age_timer"));
}

TEST_F(Status, TheOperationEndsAtTheFirstFailure) {
    const std::pair<const char *, size_t> rows[] = {
        {"getreg page=0 offset=0 code=17", 0},    {"getreg page=1 offset=0 code=17", 1},
        {"getreg page=1 offset=0x10 code=17", 2}, {"getreg page=1 offset=0x14 code=17", 3},
        {"getreg page=1 offset=0x18 code=17", 4}, {"getreg page=1 offset=0x1c code=17", 5},
        {"getreg page=2 offset=6 code=17", 6},
    };
    for (const auto &[fault, first_unread] : rows) {
        open(fault);
        Failures failures;
        const std::vector<Reading> readings = read_control_registers(0, failures).registers;
        ASSERT_THAT(failures, SizeIs(1)) << fault;
        EXPECT_EQ(failures[0].operation, "ksl_read_cntrl_regs");
        for (size_t i = 0; i < readings.size(); ++i) {
            EXPECT_EQ(readings[i].bytes.is_read(), i < first_unread) << fault << ", " << readings[i].name;
        }
        EXPECT_EQ(readings[first_unread].bytes, Fact<Bytes>(failures[0]));
    }
}

TEST(StatusBits, SelfTestVerdictIsTheTopBit) {
    EXPECT_TRUE(decode_self_test({}).passed);
    EXPECT_FALSE(decode_self_test({0x80}).passed);
    EXPECT_TRUE(decode_self_test({0x7F, 0xFF, 0xFF}).passed);
    EXPECT_THAT(decode_self_test({0xFF, 0xFF, 0xFF, 0, 0, 0, 0xFF, 0xFF}).failed_ports, IsEmpty());
}

TEST(StatusBits, SelfTestNamesThePortsOfTheLowest24Bits) {
    EXPECT_THAT(decode_self_test({0x80, 0, 0, 0x80, 0x01, 0x03}).failed_ports, ElementsAre(0, 1, 8, 23));
}

TEST(StatusBits, ModeIsTheLowestTwoBitsOfTheFirstByte) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const Mode mode = decode_mode({static_cast<uint8_t>(byte), 0xFF, 0xFF, 0xFF});
        EXPECT_EQ(mode, (Mode{(byte & 1) != 0, (byte & 2) != 0})) << byte;
    }
}

} // namespace
