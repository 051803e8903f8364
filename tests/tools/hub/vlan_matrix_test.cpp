// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/vlan_matrix.h"

#include <fmt/ranges.h>
#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Numbers = std::vector<uint32_t>;
using Texts = std::vector<std::string>;

class Matrix : public hub_test::HubTest {
protected:
    VlanMatrix read(const Numbers &vids, const std::string &scenario = "", const char *faults = "") {
        if (!scenario.empty()) {
            setenv("HWA_SIM_SCENARIO", (FAULTS_FOLDER "/" + scenario + ".json").c_str(), 1);
        }
        open(faults);
        failures_.clear();
        return read_vlan_matrix(0, vids, failures_);
    }

    Failures failures_;
};

// "100", "0 none", "200 unread"
Texts rows(const VlanMatrix &matrix) {
    Texts texts;
    for (const VlanEntry &vlan : matrix.state.entries) {
        const char *const state = vlan.entry.is_read() ? "" : vlan.entry.failure() != nullptr ? " unread" : " none";
        texts.push_back(fmt::format("{}{}", vlan.vid, state));
    }
    return texts;
}

// Without the ports that the scenarios say nothing of: these have PVID 0, which the table cannot have.
Texts contradictions(const VlanMatrix &matrix) {
    Texts texts;
    for (const Contradiction &found : matrix.contradictions) {
        if (found.vid != 0) {
            texts.push_back(fmt::format("{} {} {}", found.rule->id, found.vid, fmt::join(found.ports, ",")));
        }
    }
    return texts;
}

TEST_F(Matrix, HasTheValidVlans) {
    const VlanMatrix matrix = read({});
    EXPECT_THAT(failures_, IsEmpty());
    EXPECT_EQ(matrix.state.enabled, Fact(true));
    EXPECT_THAT(matrix.state.ports, SizeIs(24));
    EXPECT_THAT(rows(matrix), ElementsAre("1", "100", "200", "4094"));
    EXPECT_EQ(matrix.unread_table, std::nullopt);
    EXPECT_THAT(matrix.contradictions, IsEmpty());
    EXPECT_THAT(matrix.state.registers, SizeIs(1 + 24 + 4));
}

TEST_F(Matrix, HasOnlyTheVlansThatAreWanted) {
    const VlanMatrix matrix = read({5, 100});
    EXPECT_THAT(rows(matrix), ElementsAre("5", "100"));
    EXPECT_THAT(matrix.contradictions, IsEmpty());
    EXPECT_THAT(contradictions(read({30}, "pvid_not_member")), ElementsAre("pvid_not_member 30 2"));
    EXPECT_THAT(contradictions(read({1}, "pvid_not_member")), IsEmpty()) << "it is about another VLAN";
}

TEST_F(Matrix, HasTheVlansThatPvidsAndContradictionsName) {
    const VlanMatrix of_pvid = read({}, "pvid_vlan_invalid");
    EXPECT_THAT(rows(of_pvid), ElementsAre("0 none", "1", "30"));
    EXPECT_EQ(of_pvid.state.entries[2].entry->valid, 0U);
    EXPECT_THAT(of_pvid.state.registers, SizeIs(1 + 24 + 2)) << "VLAN 0 has no entry";
    EXPECT_THAT(contradictions(of_pvid), ElementsAre("pvid_vlan_invalid 30 2"));
    EXPECT_THAT(rows(read({}, "pvid_without_entry")), ElementsAre("0 none", "1", "4095 none"));
    EXPECT_THAT(rows(read({}, "member_of_invalid_vlan")), ElementsAre("0 none", "1", "30"));
}

TEST_F(Matrix, FindsEachContradiction) {
    EXPECT_THAT(contradictions(read({}, "healthy")), IsEmpty());
    EXPECT_THAT(contradictions(read({}, "pvid_without_entry")), ElementsAre("pvid_vlan_invalid 4095 2"));
    EXPECT_THAT(contradictions(read({}, "pvid_not_member")), ElementsAre("pvid_not_member 30 2"));
    EXPECT_THAT(contradictions(read({}, "member_of_invalid_vlan")), ElementsAre("member_of_invalid_vlan 30 2"));
}

// A port without a link counts, too: the table is about settings.
TEST_F(Matrix, NamesThePortsOfAContradictionTogether) {
    const VlanMatrix matrix = read({}, "unused_port");
    EXPECT_THAT(contradictions(matrix), ElementsAre("pvid_vlan_invalid 30 3", "member_of_invalid_vlan 31 3"));
    ASSERT_EQ(matrix.contradictions[0].vid, 0U);
    EXPECT_THAT(matrix.contradictions[0].ports, SizeIs(19));
}

TEST_F(Matrix, HasTheWorstContradictionOfAVlanFirst) {
    setenv("HWA_SIM_SCENARIO", FAULTS_FOLDER "/member_of_invalid_vlan.json", 1);
    open();
    ASSERT_EQ(ksl_set_PVID(0, 30, 0, 2), 0);
    ASSERT_EQ(ksl_set_PVID(0, 30, 0, 3), 0);
    Failures failures;
    EXPECT_THAT(contradictions(read_vlan_matrix(0, {}, failures)),
                ElementsAre("pvid_vlan_invalid 30 2,3", "member_of_invalid_vlan 30 2"));
}

TEST_F(Matrix, FindsContradictionsAlsoWhileVlanSupportIsOff) {
    setenv("HWA_SIM_SCENARIO", FAULTS_FOLDER "/pvid_not_member.json", 1);
    open();
    const uint8_t off[8] = {};
    ASSERT_EQ(dbg_ksl_set_reg(0, 0x34, 0, 1, off), 0);
    Failures failures;
    const VlanMatrix matrix = read_vlan_matrix(0, {}, failures);
    EXPECT_EQ(matrix.state.enabled, Fact(false));
    EXPECT_THAT(contradictions(matrix), ElementsAre("pvid_not_member 30 2"));
}

TEST_F(Matrix, WhatWasNotReadContradictsNothing) {
    const VlanMatrix of_pvids = read({}, "pvid_not_member", "getreg page=0x34 offset=0x14 code=17");
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_EQ(of_pvids.state.ports[2].pvid, Fact<Pvid>(failures_[0]));
    EXPECT_THAT(rows(of_pvids), ElementsAre("1", "30"));
    EXPECT_THAT(contradictions(of_pvids), IsEmpty());

    const VlanMatrix of_entry = read({1, 30}, "pvid_not_member", "getreg page=8 offset=0x38 nth=2 code=17");
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_THAT(rows(of_entry), ElementsAre("1", "30 unread"));
    EXPECT_THAT(contradictions(of_entry), IsEmpty());
}

TEST_F(Matrix, WithoutTheTableHasTheVlansOfThePvids) {
    const VlanMatrix matrix = read({}, "pvid_not_member", "getreg page=8 offset=0x38 nth=40 code=17");
    ASSERT_THAT(failures_, SizeIs(1));
    EXPECT_THAT(rows(matrix), ElementsAre("0 unread", "1 unread", "30 unread"));
    EXPECT_THAT(matrix.contradictions, IsEmpty());
    EXPECT_EQ(matrix.unread_table, failures_[0]);
}

TEST_F(Matrix, OfAnAbsentChipHasNoRows) {
    open();
    Failures failures;
    const VlanMatrix matrix = read_vlan_matrix(9, {}, failures);
    EXPECT_THAT(failures, SizeIs(3));
    EXPECT_THAT(matrix.state.entries, IsEmpty());
    EXPECT_NE(matrix.state.enabled.failure(), nullptr);
    EXPECT_EQ(matrix.unread_table, failures[2]);
}

} // namespace
