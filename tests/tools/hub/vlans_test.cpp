// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/vlans.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;

using Vlans = hub_test::HubTest;

TEST_F(Vlans, Pvids) {
    open();
    Failures failures;
    const Pvids pvids = read_pvids(0, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(decode_pvid(*pvids[2]), (Pvid{100, 1}));
    EXPECT_EQ(decode_pvid(*pvids[23]), (Pvid{1, 7}));
}

TEST_F(Vlans, AFailureEndsTheReadingOfPvids) {
    open("getreg page=0x34 offset=0x16 code=17");
    Failures failures;
    const Pvids pvids = read_pvids(0, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], (Failure{0, "ksl_read_VLAN_PVID_regs", "PVID of port 3 (page 0x34, offset 0x16)", 17}));
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        EXPECT_EQ(pvids[port].is_read(), port < 3) << port;
    }
    EXPECT_EQ(pvids[23], Fact<Bytes>(failures[0]));
}

TEST_F(Vlans, TheTableHasItsValidEntries) {
    open();
    Failures failures;
    const Fact<VlanTable> table = read_vlan_table(0, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_THAT(*table, ElementsAre(Key(1), Key(100), Key(200), Key(4094)));
    EXPECT_EQ(ksl_decode_vlan_entry(table->at(100).data()).field, 1U);
    EXPECT_EQ(ksl_decode_vlan_entry(table->at(100).data()).upper_map, 0x00000FCU);
}

TEST_F(Vlans, AnEntryThatFailsEndsTheReadingOfTheTable) {
    open("getreg page=8 offset=0x38 code=17");
    Failures failures;
    const Fact<VlanTable> table = read_vlan_table(0, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].about, "entry of VLAN 1 (page 0x08, offsets 0x32, 0x30 and 0x38)");
    EXPECT_EQ(table, Fact<VlanTable>(failures[0]));
}

TEST_F(Vlans, Support) {
    open();
    Failures failures;
    EXPECT_EQ(read(registers::vlan_enable, 0, 0, failures).map(decode_vlan_enable), Fact<bool>(true));
    EXPECT_FALSE(decode_vlan_enable({0x7F, 0xFF}));
}

using Owner = std::pair<std::string, uint32_t>;

// What the register belongs to.
Owner owner_of(const Reading &reading) {
    return reading.of.value_or(std::pair("", 0));
}

std::vector<uint32_t> vids_of(const VlanState &state) {
    std::vector<uint32_t> vids;
    for (const VlanEntry &entry : state.entries) {
        vids.push_back(entry.vid);
    }
    return vids;
}

TEST_F(Vlans, StateOfAWholeChip) {
    open();
    Failures failures;
    const VlanState state = read_vlan_state(0, false, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(state.enabled, Fact<bool>(true));
    ASSERT_THAT(state.ports, SizeIs(24));
    EXPECT_EQ(state.ports[23].port, 23U);
    EXPECT_EQ(state.ports[23].pvid, Fact<Pvid>(Pvid{1, 7}));
    EXPECT_THAT(vids_of(state), ElementsAre(1, 100, 200));
    EXPECT_EQ(state.entries[1].entry->lower_map, 0x0C000FCU);
    ASSERT_THAT(state.registers, SizeIs(1 + 24 + 3));
    EXPECT_STREQ(state.registers[0].name, "vlan_enable");
    EXPECT_STREQ(state.registers[24].name, "pvid");
    EXPECT_EQ(state.registers[24].offset, 0x3EU);
    EXPECT_STREQ(state.registers[26].name, "vlan_table_entry");
    EXPECT_EQ(owner_of(state.registers[26]), Owner("vid", 100));
    EXPECT_EQ(state.registers[26].bytes, Fact<Bytes>(Bytes{0x08, 0x40, 0x00, 0x07, 0xE0, 0xC0, 0x00, 0xFC}));
}

TEST_F(Vlans, StateWithTheWholeTable) {
    open();
    Failures failures;
    EXPECT_THAT(vids_of(read_vlan_state(0, true, failures)), ElementsAre(1, 100, 200, 4094));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Vlans, StateWhoseTableFailsHasNoEntries) {
    open("getreg page=8 offset=0x38 nth=150 code=17");
    Failures failures;
    const VlanState state = read_vlan_state(0, true, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].about, "entry of VLAN 150 (page 0x08, offsets 0x32, 0x30 and 0x38)");
    EXPECT_THAT(state.entries, IsEmpty());
    EXPECT_THAT(state.ports, SizeIs(24));
}

TEST_F(Vlans, SupportThatFailsLeavesTheRest) {
    open("getreg page=0x34 offset=0 code=17");
    Failures failures;
    const VlanState state = read_vlan_state(0, false, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].about, "VLAN enable (page 0x34, offset 0x00)");
    EXPECT_EQ(failures[0].code, 17);
    EXPECT_EQ(state.enabled, Fact<bool>(failures[0]));
    EXPECT_EQ(state.registers[0].bytes, Fact<Bytes>(failures[0]));
    EXPECT_THAT(vids_of(state), ElementsAre(1, 100, 200));
    EXPECT_EQ(read_vlan_enable(0, failures).enabled, Fact<bool>(failures[0]));
}

TEST_F(Vlans, TheVlansOfThePvidsBeforeAFailureAreLookedUp) {
    open("getreg page=0x34 offset=0x18 code=17");
    Failures failures;
    const VlanState state = read_vlan_state(0, false, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(state.ports[3].pvid, Fact<Pvid>(Pvid{100, 1}));
    EXPECT_EQ(state.ports[4].pvid, Fact<Pvid>(failures[0]));
    EXPECT_THAT(vids_of(state), ElementsAre(1, 100));
}

TEST_F(Vlans, AnEntryThatFailsLeavesTheOthers) {
    open("setreg page=8 offset=0x32 nth=2 code=17 once");
    Failures failures;
    const uint32_t vids[] = {1, 100, 200};
    const VlanState state = read_vlan_entries(0, vids, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0],
              (Failure{0, "ksl_read_VLAN_map", "entry of VLAN 100 (page 0x08, offsets 0x32, 0x30 and 0x38)", 17}));
    EXPECT_TRUE(state.entries[0].entry.is_read());
    EXPECT_EQ(*state.entries[1].entry.failure(), failures[0]);
    EXPECT_EQ(state.registers[1].bytes, Fact<Bytes>(failures[0]));
    EXPECT_EQ(state.entries[2].entry->field, 2U);
}

TEST_F(Vlans, APvidNeedNotNameAVlanOfTheTable) {
    open();
    Failures failures;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        EXPECT_EQ(ksl_set_PVID(0, port < 8 ? 4095 : port < 16 ? 0 : 4094, 0, port), 0);
    }
    EXPECT_THAT(vids_of(read_vlan_state(0, false, failures)), ElementsAre(4094));
}

TEST_F(Vlans, PvidsOfSomePorts) {
    open();
    Failures failures;
    const uint32_t ports[] = {3, 22};
    const VlanState state = read_pvids_of(0, ports, failures);
    ASSERT_THAT(state.ports, SizeIs(2));
    EXPECT_EQ(state.ports[0].port, 3U);
    EXPECT_EQ(state.ports[0].pvid, Fact<Pvid>(Pvid{100, 1}));
    EXPECT_EQ(owner_of(state.registers[1]), Owner("port", 22));
    EXPECT_EQ(state.registers[1].bytes, Fact<Bytes>(Bytes{0xE0, 0x01}));
    EXPECT_EQ(state.enabled, Fact<bool>());
}

TEST_F(Vlans, ExtendedRegistersTakeAnyIndex) {
    open();
    Failures failures;
    for (const uint32_t index : {3U, 131U, 0x80000003U}) {
        const Reading reading = read_extended_vlan_control(0, index, failures);
        EXPECT_EQ(owner_of(reading), Owner("index", index));
        EXPECT_EQ(reading.page, 0x34U);
        EXPECT_EQ(reading.offset, 0x16U);
        EXPECT_EQ(reading.length, 2U);
        EXPECT_EQ(reading.bytes, Fact<Bytes>(Bytes{0x20, 0x64}));
    }
    EXPECT_EQ(read_extended_vlan_control(0, 0xFFFFFFFB, failures).offset, 0x06U);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Vlans, AnExtendedRegisterThatFails) {
    open("getreg page=0x34 offset=0x16 code=17");
    Failures failures;
    const Reading reading = read_extended_vlan_control(0, 131, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], (Failure{0, "ksl_read_extended_VLAN_cntrl_regs",
                                    "extended VLAN control register 131 (page 0x34, offset 0x16)", 17}));
    EXPECT_EQ(reading.bytes, Fact<Bytes>(failures[0]));
}

constexpr uint32_t kPort[] = {3}; // VLAN 100, priority 1

TEST_F(Vlans, ADryRunAnnouncesThePvidThatIsWritten) {
    open();
    Failures failures;
    for (const auto &[priority, expected] : {std::pair(std::optional<uint32_t>(), Bytes{0x20, 0xC8}),
                                             std::pair(std::optional<uint32_t>(7), Bytes{0xE0, 0xC8})}) {
        const Change change = set_pvid(200, priority);
        const ChangedRegister announced = change_ports(0, kPort, change, true, failures).registers.at(0);
        const ChangedRegister made = change_ports(0, kPort, change, false, failures).registers.at(0);
        EXPECT_EQ(announced.write, std::optional(expected));
        EXPECT_EQ(announced.before, made.before);
        EXPECT_EQ(made.after, Fact<Bytes>(expected));
    }
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Vlans, APvidThatCannotBeReadFirstIsLeftAsItIs) {
    open("getreg page=0x34 offset=0x16 code=17 once");
    Failures failures;
    const ChangedRegister changed = change_ports(0, kPort, set_pvid(200, 7), false, failures).registers.at(0);
    ASSERT_THAT(failures, SizeIs(2));
    EXPECT_EQ(failures[1].about, "PVID of port 3");
    EXPECT_EQ(failures[1].undone, "not set");
    EXPECT_EQ(changed.write, std::nullopt);
    EXPECT_EQ(decode_pvid(*read(registers::pvid, 0, 3, failures)), (Pvid{100, 1}));
}

TEST_F(Vlans, APvidThatCannotBeWritten) {
    open("setreg page=0x34 offset=0x16 code=17");
    Failures failures;
    const ChangedRegister changed = change_ports(0, kPort, set_pvid(200, {}), false, failures).registers.at(0);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], (Failure{0, "ksl_set_PVID", "PVID of port 3", 17, "not set"}));
    EXPECT_EQ(changed.after, Fact<Bytes>(Bytes{0x20, 0x64}));
}

TEST(PvidBits, VlanAndPriority) {
    EXPECT_EQ(decode_pvid({0xFF, 0xFF}), (Pvid{4095, 7}));
    EXPECT_EQ(decode_pvid({0x10, 0x00}), (Pvid{0, 0})); // bit 12 is neither
    EXPECT_EQ(pvid_bytes({4095, 7}), (Bytes{0xEF, 0xFF}));
    EXPECT_EQ(pvid_bytes({0x123, 1}), (Bytes{0x21, 0x23}));
}

} // namespace
