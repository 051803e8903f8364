// SPDX-License-Identifier: Apache-2.0
// Each rule over a simulated hub with its fault and no other. Every scenario is also the test that no other rule is
// met.
#include "hub.h"
#include "kslctl/hub/diagnosis.h"

#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <regex>
#include <set>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

using Ports = std::vector<uint32_t>;
using Texts = std::vector<std::string>;

constexpr Time kShort{0.02};

// Two counters of errors, one of which moves in its scenario; another one moves, too.
const CounterNames kNames = {{0x08, {"lost", "", true}}, {0x18, {"pieces", "", false}}, {0x98, {"spoiled", "", true}}};

class Diagnoses : public hub_test::HubTest {
protected:
    Diagnosis diagnose_scenario(const std::string &name, const Ports &ports, const char *faults = "",
                                std::optional<Time> watch = std::nullopt, const CounterNames &names = {}) {
        setenv("HWA_SIM_SCENARIO", (FAULTS_FOLDER "/" + name + ".json").c_str(), 1);
        open(faults);
        failures_.clear();
        return diagnose(read_chip_facts(0, ports, watch, failures_, names));
    }

    Failures failures_;
};

// "port_off 2"; rules of the whole chip have no ports.
Texts found(const Diagnosis &diagnosis) {
    Texts texts;
    for (const Finding &finding : diagnosis.findings) {
        texts.push_back(
            fmt::format("{}{}{}", finding.rule->id, finding.ports.empty() ? "" : " ", fmt::join(finding.ports, ",")));
    }
    return texts;
}

Texts not_judged(const Diagnosis &diagnosis) {
    Texts texts;
    for (const NotJudged &row : diagnosis.not_judged) {
        texts.push_back(fmt::format("{}{}{}", row.rule->id, row.ports.empty() ? "" : " ", fmt::join(row.ports, ",")));
    }
    return texts;
}

Texts unread(const Failures &failures) {
    Texts texts;
    for (const Failure &failure : failures) {
        texts.push_back(failure.about);
    }
    return texts;
}

struct Row {
    const char *scenario;
    Texts found;
    Texts seen;
    Texts commands;
    const char *faults = "";
    std::optional<Time> watch = std::nullopt;
    bool has_names = false;
};

// What the whole chip of each scenario shows.
const Row kRows[] = {
    {"chip_self_test",
     {"chip_self_test"},
     {"self-test status (page 0x01, offset 0x00), bit 47: 1; bits 23 to 0: 0"},
     {"bist"},
     "getreg page=1 offset=0 short=1"},
    {"not_forwarding", {"not_forwarding"}, {"switch mode (page 0x00, offset 0x00), bit 1: 0"}, {"hub-config --help"}},
    {"not_managed", {"not_managed"}, {"switch mode (page 0x00, offset 0x00), bit 0: 0"}, {"hub-config --help"}},
    {"port_off", {"port_off 2"}, {"port control of port 2 (page 0x00, offset 0xd2), bits 1 and 0: 1"}, {"port up 2"}},
    {"port_partly_off",
     {"port_partly_off 2"},
     {"port control of port 2 (page 0x00, offset 0xd2), bits 1 and 0: not the same"},
     {"port up 2"}},
    {"port_self_test", {"port_self_test 2"}, {"self-test status (page 0x01, offset 0x00), bit 2: 1"}, {"bist"}},
    {"phy_reset",
     {"phy_reset 2"},
     {"PHY control of port 2 (page 0x12, offset 0x00), bit 15: 1"},
     {"port reset-phy 2"},
     "getreg page=0x12 offset=0 garble"},
    {"phy_power_down",
     {"phy_power_down 2"},
     {"PHY control of port 2 (page 0x12, offset 0x00), bit 11: 1"},
     {"port up 2"}},
    {"phy_isolated", {"phy_isolated 2"}, {"PHY control of port 2 (page 0x12, offset 0x00), bit 10: 1"}, {"port up 2"}},
    {"phy_loopback", {"phy_loopback 2"}, {"PHY control of port 2 (page 0x12, offset 0x00), bit 14: 1"}, {"port up 2"}},
    {"phy_forced",
     {"phy_forced 2"},
     {"PHY control of port 2 (page 0x12, offset 0x00), bit 12: 0"},
     {"port speed 2 100"}},
    {"half_duplex",
     {"half_duplex 2"},
     {"PHY control of port 2 (page 0x12, offset 0x00), bit 12: 1; port duplex status (page 0x01, offset 0x1c), bit 2: "
      "0"},
     {"mib 2 --delta 5"}},
    {"pvid_vlan_invalid",
     {"pvid_vlan_invalid 2"},
     {"PVID of port 2 (page 0x34, offset 0x14), bits 11 to 0: 30; entry of VLAN 30, bit 59: 0"},
     {"vlan show"}},
    {"pvid_without_entry",
     {"pvid_vlan_invalid 2"},
     {"PVID of port 2 (page 0x34, offset 0x14), bits 11 to 0: 4095, which has no entry in the VLAN table"},
     {"vlan show"}},
    {"pvid_not_member",
     {"pvid_not_member 2"},
     {"PVID of port 2 (page 0x34, offset 0x14), bits 11 to 0: 30; entry of VLAN 30, bits 2 and 29: 0"},
     {"vlan entry 30"}},
    {"member_of_invalid_vlan",
     {"member_of_invalid_vlan 2"},
     {"entry of VLAN 30, bit 2 or 29: 1, bit 59: 0"},
     {"vlan entry 30"}},
    {"learning_limit",
     {"learning_limit 0"},
     {"learned addresses of port 0 (page 0x41, offset 0x30), bits 12 to 0: 1; learning limit of port 0 (page 0x41, "
      "offset 0x70), bits 12 to 0: 1"},
     {"arl --port 0"}},
    {"mirror_target_is_source",
     {"mirror_target_is_source 2"},
     {"mirror control (page 0x02, offset 0x10), bit 2: 1; egress mirror mask (page 0x02, offset 0x20), bit 2: 1"},
     {"mirror off 2"}},
    {"mirror_target_no_link",
     {"mirror_target_no_link 3"},
     {"mirror control (page 0x02, offset 0x10), bit 3: 1; link status (page 0x01, offset 0x10), bit 3: 0"},
     {"diagnose 3"}},
    {"trunk_member_no_link",
     {"trunk_member_no_link 0,1"},
     {"trunk group 0 (page 0x32, offset 0x10), bits 0, 1: 1; link status (page 0x01, offset 0x10), bit 1: 0"},
     {"diagnose 1"}},
    {"trunk_speeds_differ",
     {"trunk_speeds_differ 0,1"},
     {"trunk group 0 (page 0x32, offset 0x10), bits 0, 1: 1; port speed status (page 0x01, offset 0x18), bit 0: 1; bit "
      "1: 0"},
     {"port show 0,1"}},
    {"no_ageing", {"no_ageing"}, {"age timer (page 0x02, offset 0x06), bits 19 to 0: 0"}, {"age"}},
    {"one_low_port",
     {"link_unsteady 0"},
     {"link status (page 0x01, offset 0x10), bit 0: changed 2 times from read to read"},
     {"diagnose 0 --for 60"},
     "getreg page=1 offset=0x10 short=3 nth=2 once",
     kShort},
    {"errors_counted",
     {"errors_counted 2"},
     {"counter spoiled of port 2 (page 0x52, offset 0x98): moved by N"},
     {"mib 2 --delta 5"},
     "",
     kShort,
     true},
    // A rule that presupposes another comes with it.
    {"phy_forced",
     {"phy_forced 2", "speed_differs 2"},
     {"PHY control of port 2 (page 0x12, offset 0x00), bit 12: 0",
      "PHY control of port 2 (page 0x12, offset 0x00), bit 12: 0, bit 13: 1; port speed status (page 0x01, offset "
      "0x18), bit 2: 0"},
     {"port speed 2 100", "port speed 2"},
     "getreg page=1 offset=0x18 garble"},
    {"one_forced_port",
     {"phy_forced 2", "duplex_differs 2"},
     {"PHY control of port 2 (page 0x12, offset 0x00), bit 12: 0",
      "PHY control of port 2 (page 0x12, offset 0x00), bit 12: 0, bit 8: 1; port duplex status (page 0x01, offset "
      "0x1c), bit 2: 0"},
     {"port speed 2 100", "port show 2"},
     "getreg page=1 offset=0x1c short=3"},
    // The worst first.
    {"two-half_duplex-port_off",
     {"port_off 2", "half_duplex 0"},
     {"port control of port 2 (page 0x00, offset 0xd2), bits 1 and 0: 1",
      "PHY control of port 0 (page 0x10, offset 0x00), bit 12: 1; port duplex status (page 0x01, offset 0x1c), bit 0: "
      "0"},
     {"port up 2", "mib 0 --delta 5"}},
    {"two-port_off-not_forwarding",
     {"not_forwarding", "port_off 2"},
     {"switch mode (page 0x00, offset 0x00), bit 1: 0",
      "port control of port 2 (page 0x00, offset 0xd2), bits 1 and 0: 1"},
     {"hub-config --help", "port up 2"}},
    {"two-phy_forced-pvid_vlan_invalid",
     {"pvid_vlan_invalid 2", "phy_forced 2"},
     {"PVID of port 2 (page 0x34, offset 0x14), bits 11 to 0: 30; entry of VLAN 30, bit 59: 0",
      "PHY control of port 2 (page 0x12, offset 0x00), bit 12: 0"},
     {"vlan show", "port speed 2 100"}},
    {"two-trunk-mirror",
     {"trunk_member_no_link 0,1", "mirror_target_no_link 1"},
     {"trunk group 0 (page 0x32, offset 0x10), bits 0, 1: 1; link status (page 0x01, offset 0x10), bit 1: 0",
      "mirror control (page 0x02, offset 0x10), bit 1: 1; link status (page 0x01, offset 0x10), bit 1: 0"},
     {"diagnose 1", "diagnose 1"}},
    // No faults.
    {"healthy", {}, {}, {}},
    {"healthy", {}, {}, {}, "", kShort},
    {"healthy", {}, {}, {}, "", kShort, true},
    {"errors_counted", {}, {}, {}, "", kShort},
    {"errors_counted", {}, {}, {}, "", std::nullopt, true},
    {"nothing_switched_on", {}, {}, {}},
    {"almost", {}, {}, {}},
    {"unused_port", {}, {}, {}},
};

class Scenarios : public Diagnoses, public testing::WithParamInterface<Row> {};

TEST_P(Scenarios, ShowTheirFaultsAndNoOthers) {
    const Row &row = GetParam();
    const Diagnosis diagnosis =
        diagnose_scenario(row.scenario, {}, row.faults, row.watch, row.has_names ? kNames : CounterNames());
    EXPECT_THAT(unread(failures_), IsEmpty());
    EXPECT_THAT(not_judged(diagnosis), IsEmpty());
    EXPECT_EQ(found(diagnosis), row.found);
    Texts seen;
    Texts commands;
    for (const Finding &finding : diagnosis.findings) {
        seen.push_back(std::regex_replace(finding.seen, std::regex("moved by [0-9]+"), "moved by N"));
        commands.push_back(finding.command);
    }
    EXPECT_EQ(seen, row.seen);
    EXPECT_EQ(commands, row.commands);
}

// A row is printed by its scenario.
void PrintTo(const Row &row, std::ostream *out) {
    *out << row.scenario << " " << row.faults;
}

INSTANTIATE_TEST_SUITE_P(Each, Scenarios, testing::ValuesIn(kRows));

// no_link is never found at a whole chip.
TEST(RuleTable, EachRuleHasAScenario) {
    std::set<std::string> met = {"no_link"};
    for (const Row &row : kRows) {
        for (const std::string &text : row.found) {
            met.insert(text.substr(0, text.find(' ')));
        }
    }
    for (const Rule &rule : rules()) {
        EXPECT_EQ(met.count(rule.id), 1U) << rule.id;
        EXPECT_NE(rule.of_chip == nullptr, rule.of_port == nullptr) << rule.id;
    }
}

TEST(RuleTable, IsInTheOrderOfSeveritiesAndHasEachIdentifierOnce) {
    std::set<std::string> identifiers;
    Severity last = Severity::fault;
    for (const Rule &rule : rules()) {
        EXPECT_TRUE(identifiers.insert(rule.id).second) << rule.id;
        EXPECT_GE(rule.severity, last) << rule.id;
        last = rule.severity;
    }
}

TEST_F(Diagnoses, APortThatIsAskedForAndHasNoLink) {
    EXPECT_THAT(found(diagnose_scenario("healthy", {0, 3})), ElementsAre("no_link 3"));
    // What explains the missing link takes its place.
    for (const char *const name :
         {"port_off", "port_partly_off", "port_self_test", "phy_power_down", "phy_isolated", "phy_loopback"}) {
        EXPECT_THAT(found(diagnose_scenario(name, {2})), ElementsAre(std::string(name) + " 2"));
    }
    EXPECT_THAT(found(diagnose_scenario("phy_reset", {2}, "getreg page=0x12 offset=0 garble")),
                ElementsAre("phy_reset 2"));
}

// What is wrong besides does not explain it.
TEST_F(Diagnoses, OtherFaultsDoNotExplainAMissingLink) {
    EXPECT_THAT(found(diagnose_scenario("unused_port", {3})),
                ElementsAre("pvid_vlan_invalid 3", "member_of_invalid_vlan 3", "no_link 3"));
    EXPECT_THAT(found(diagnose_scenario("trunk_member_no_link", {1})),
                ElementsAre("trunk_member_no_link 0,1", "no_link 1"));
}

TEST_F(Diagnoses, FindingsOfOtherPortsAreLeftOut) {
    EXPECT_THAT(found(diagnose_scenario("port_off", {0, 1})), IsEmpty());
    EXPECT_THAT(found(diagnose_scenario("trunk_speeds_differ", {2})), IsEmpty());
    EXPECT_THAT(found(diagnose_scenario("trunk_speeds_differ", {1})), ElementsAre("trunk_speeds_differ 0,1"));
    EXPECT_THAT(found(diagnose_scenario("mirror_target_no_link", {1})), IsEmpty());
    EXPECT_THAT(found(diagnose_scenario("not_forwarding", {1})), ElementsAre("not_forwarding"));
}

// A rule over a register that cannot be read is neither met nor passed over.
TEST_F(Diagnoses, WhatCannotBeReadIsNotJudged) {
    const Diagnosis of_control = diagnose_scenario("phy_forced", {2}, "getreg page=0 offset=0xd2 code=17");
    EXPECT_THAT(unread(failures_), ElementsAre("port control of port 2 (page 0x00, offset 0xd2)"));
    EXPECT_THAT(found(of_control), ElementsAre("phy_forced 2"));
    EXPECT_THAT(not_judged(of_control), ElementsAre("port_off 2", "port_partly_off 2"));
    EXPECT_EQ(of_control.not_judged[0].because, failures_[0]);

    const Diagnosis of_phy = diagnose_scenario("half_duplex", {2, 3}, "getreg page=0x13 offset=0 code=17");
    EXPECT_THAT(found(of_phy), ElementsAre("half_duplex 2"));
    EXPECT_THAT(not_judged(of_phy), ElementsAre("phy_reset 3", "phy_power_down 3", "phy_isolated 3", "phy_loopback 3",
                                                "phy_forced 3", "no_link 3"));

    const Diagnosis of_links = diagnose_scenario("trunk_speeds_differ", {1}, "getreg page=1 offset=0x10 code=17");
    EXPECT_THAT(found(of_links), IsEmpty());
    EXPECT_THAT(not_judged(of_links), ElementsAre("trunk_member_no_link", "trunk_speeds_differ", "speed_differs 1",
                                                  "duplex_differs 1", "half_duplex 1", "no_link 1"));
}

TEST_F(Diagnoses, OneFailureHidesARuleAtSeveralPorts) {
    const Diagnosis diagnosis = diagnose_scenario("healthy", {0, 1}, "getreg page=1 offset=0x1c code=17");
    EXPECT_THAT(not_judged(diagnosis), ElementsAre("duplex_differs 0,1", "half_duplex 0,1"));
}

TEST_F(Diagnoses, WithoutTheVlanTableNoVlanIsJudged) {
    for (const char *const faults : {"getreg page=0x34 offset=0 code=17", "getreg page=8 nth=100 code=17"}) {
        const Diagnosis diagnosis = diagnose_scenario("pvid_vlan_invalid", {2}, faults);
        EXPECT_THAT(found(diagnosis), IsEmpty());
        EXPECT_THAT(not_judged(diagnosis),
                    ElementsAre("pvid_vlan_invalid 2", "pvid_not_member 2", "member_of_invalid_vlan 2"));
    }
}

// Which ports are in use is not known without the links.
TEST_F(Diagnoses, WithoutLinksNoVlanOfAWholeChipIsJudged) {
    const Diagnosis diagnosis = diagnose_scenario("pvid_vlan_invalid", {}, "getreg page=1 offset=0x10 code=17");
    EXPECT_THAT(found(diagnosis), IsEmpty());
    EXPECT_THAT(not_judged(diagnosis), testing::Contains(StartsWith("pvid_vlan_invalid 0,1,2,")));
}

TEST_F(Diagnoses, AFailureWhereNothingIsSwitchedOnHidesNothing) {
    const Diagnosis diagnosis = diagnose_scenario("nothing_switched_on", {2},
                                                  "getreg page=2 offset=0x20 code=17; getreg page=0x32 offset=0x10 "
                                                  "code=17; getreg page=0x34 offset=0x14 code=17");
    EXPECT_EQ(failures_.size(), 3U);
    EXPECT_THAT(not_judged(diagnosis), IsEmpty());
}

TEST_F(Diagnoses, AWatchThatEndsEarlyIsNoSteadyLink) {
    const Diagnosis diagnosis =
        diagnose_scenario("healthy", {0}, "getreg page=1 offset=0x10 nth=2 code=17 once", kShort);
    EXPECT_THAT(found(diagnosis), IsEmpty());
    EXPECT_THAT(not_judged(diagnosis), ElementsAre("link_unsteady 0"));
}

TEST_F(Diagnoses, CountersThatCannotBeReadAreNotJudged) {
    // In the first reading, and in the second, which alone comes after others.
    for (const char *const faults : {"get_multireg page=0x52 code=17", "get_multireg page=0x52 nth=23 code=17 once"}) {
        const Diagnosis diagnosis = diagnose_scenario("errors_counted", {1, 2}, faults, kShort, kNames);
        EXPECT_THAT(unread(failures_), ElementsAre("counters of port 2 (page 0x52)")) << faults;
        EXPECT_THAT(found(diagnosis), IsEmpty());
        EXPECT_THAT(not_judged(diagnosis), ElementsAre("errors_counted 2"));
    }
}

TEST_F(Diagnoses, CountersAreReadOnlyForErrorsOfAWatch) {
    const CounterNames no_errors = {{0x98, {"pieces", "", false}}};
    diagnose_scenario("errors_counted", {2}, "get_multireg page=0x52 code=17", kShort, no_errors);
    EXPECT_THAT(failures_, IsEmpty());
    diagnose_scenario("errors_counted", {2}, "get_multireg page=0x52 code=17", std::nullopt, kNames);
    EXPECT_THAT(failures_, IsEmpty());
}

// The marks of changed links are for others, too.
TEST_F(Diagnoses, ChangeMarksStay) {
    diagnose_scenario("healthy", {}, "", kShort);
    Failures failures;
    const ChipStatus status = read_status(0, {&registers::link_change}, failures);
    EXPECT_EQ(status.ports[0].changed, Fact<bool>(true));
}

} // namespace
