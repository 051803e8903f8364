// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/port_info.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Numbers = std::vector<uint32_t>;

constexpr Time kShort{0.02};

class PortInfos : public hub_test::HubTest {
protected:
    std::vector<PortInfo> read(const Numbers &ports) {
        failures_.clear();
        return read_port_infos(0, ports, kShort, failures_);
    }

    Failures failures_;
};

TEST_F(PortInfos, EachPortHasItsOwn) {
    open();
    const std::vector<PortInfo> infos = read({8, 16, 22});
    EXPECT_THAT(failures_, IsEmpty());
    ASSERT_THAT(infos, SizeIs(3));
    EXPECT_EQ(infos[0].port().status.port, 8U);
    EXPECT_EQ(infos[0].port().link_changes, Fact<uint32_t>(0));
    EXPECT_EQ(infos[0].port().learned, Fact<uint32_t>(2));
    EXPECT_THAT(*infos[0].addresses, SizeIs(2));
    EXPECT_EQ(mac_text((*infos[0].addresses)[1].mac), "02:00:00:00:01:16");
    EXPECT_THAT(*infos[1].addresses, IsEmpty());
    EXPECT_EQ(vlans_of(infos[0].chip, 8), Fact<Numbers>(Numbers{200}));
    EXPECT_EQ(vlans_of(infos[2].chip, 22), Fact<Numbers>(Numbers{1, 100, 200, 4094}));
    EXPECT_EQ(trunk_members(infos[2].chip), Fact<Numbers>(Numbers{22, 23}));
    EXPECT_THAT(infos[0].diagnosis.findings, IsEmpty());
    ASSERT_THAT(infos[1].diagnosis.findings, SizeIs(1));
    EXPECT_STREQ(infos[1].diagnosis.findings[0].rule->id, "port_off");
}

TEST_F(PortInfos, WhatIsSwitchedOffMeansNothing) {
    setenv("HWA_SIM_SCENARIO", FAULTS_FOLDER "/nothing_switched_on.json", 1);
    open();
    const std::vector<PortInfo> infos = read({2});
    EXPECT_THAT(failures_, IsEmpty());
    EXPECT_EQ(mirror_targets(infos[0].chip), Fact<Numbers>());
    EXPECT_EQ(trunk_members(infos[0].chip), Fact<Numbers>());
    EXPECT_EQ(vlans_of(infos[0].chip, 2), Fact<Numbers>());
}

TEST_F(PortInfos, CountersOfErrorsAreJudged) {
    setenv("HWA_SIM_SCENARIO", FAULTS_FOLDER "/errors_counted.json", 1);
    open();
    const CounterNames names = {{0x98, {"spoiled", "", true}}};
    const std::vector<uint32_t> ports = {1, 2};
    const std::vector<PortInfo> infos = read_port_infos(0, ports, kShort, failures_, names);
    EXPECT_THAT(failures_, IsEmpty());
    EXPECT_THAT(infos[0].diagnosis.findings, IsEmpty());
    ASSERT_THAT(infos[1].diagnosis.findings, SizeIs(1));
    EXPECT_STREQ(infos[1].diagnosis.findings[0].rule->id, "errors_counted");
    EXPECT_THAT(read_port_infos(0, ports, kShort, failures_)[1].diagnosis.findings, IsEmpty());
}

TEST_F(PortInfos, OnlyCountersThatMoveAreThere) {
    setenv("HWA_SIM_SCENARIO", BUSY_SCENARIO, 1);
    setenv("HWA_SIM_CLOCK", "50ms", 1);
    open();
    const std::vector<PortInfo> infos = read({0, 2});
    EXPECT_THAT(failures_, IsEmpty());
    std::vector<uint32_t> moved;
    for (const CounterValue &counter : *infos[0].counters.ports.at(0)) {
        moved.push_back(counter.which->offset);
        EXPECT_GT(counter.change->by, 0U);
    }
    EXPECT_THAT(moved, ElementsAre(0x00, 0x18, 0x50, 0x7C, 0x90));
    EXPECT_THAT(*infos[1].counters.ports.at(2), IsEmpty());
}

// The failure is noted once, although counters are read twice.
TEST_F(PortInfos, CountersThatCannotBeRead) {
    open("page=0x58 code=17");
    const std::vector<PortInfo> infos = read({8, 9});
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_EQ(failures_[0].about, "counters of port 8 (page 0x58)");
    EXPECT_EQ(*infos[0].counters.ports.at(8).failure(), failures_[0]);
    EXPECT_THAT(*infos[1].counters.ports.at(9), IsEmpty());
}

TEST_F(PortInfos, CountersThatCannotBeReadAtAnyPort) {
    open("page=0x58 code=17");
    const std::vector<PortInfo> infos = read({8});
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_EQ(*infos[0].counters.ports.at(8).failure(), failures_[0]);
}

TEST_F(PortInfos, AddressesThatCannotBeRead) {
    open("getmacs code=17");
    const std::vector<PortInfo> infos = read({8});
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_EQ(*infos[0].addresses.failure(), failures_[0]);
}

// The marks of changed links are for others, too.
TEST_F(PortInfos, ChangeMarksStay) {
    open();
    read({8});
    const ChipStatus status = read_status(0, {&registers::link_change}, failures_);
    EXPECT_EQ(status.ports[8].changed, Fact<bool>(true));
}

} // namespace
