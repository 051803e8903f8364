// SPDX-License-Identifier: Apache-2.0
// The configuration library expects chip 0 as it is, but for one difference in each of the VLANs 100 and 200.
#include "hub.h"
#include "kslctl/hub/validation.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::AllOf;
using testing::Each;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

const Fact<bool> kYes = true;
const Fact<bool> kNo = false;

Failure reason(const std::string &about, const std::string &reason) {
    return {0, "", about, 0, "not compared", {}, reason};
}

class Validation : public hub_test::HubTest {
protected:
    PvidValidation pvids() { return validate_pvids(0, configuration_, failures); }
    VlanValidation vlan(uint32_t vid) { return validate_vlan(0, vid, configuration_, failures); }

    Failures failures;

private:
    Configuration configuration_{CONFIGURATION_LIBRARY};
};

TEST_F(Validation, PvidsAsExpected) {
    open();
    const PvidValidation validation = pvids();
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(validation.verdict, kYes);
    ASSERT_THAT(validation.ports, SizeIs(24));
    EXPECT_THAT(validation.ports, Each(Field(&Comparison::same, kYes)));
    EXPECT_EQ(validation.ports[3].expected, (Bytes{0x20, 0x64}));
}

TEST_F(Validation, PvidsThatDiffer) {
    open();
    EXPECT_EQ(ksl_set_PVID(0, 100, 0, 3), 0);
    const PvidValidation validation = pvids();
    EXPECT_EQ(validation.verdict, kNo);
    for (const Comparison &port : validation.ports) {
        EXPECT_EQ(port.same, Fact<bool>(port.of != 3)) << port.of;
    }
    EXPECT_EQ(validation.ports[3].found, Fact<Bytes>(Bytes{0x00, 0x64}));
}

TEST_F(Validation, PvidsThatTheLibraryCannotReadAreNotReadAgain) {
    open("getreg page=0x34 offset=0x16 code=17 once");
    const PvidValidation validation = pvids();
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], (Failure{0, "ksl_validate_VLAN_PVID_set", "PVIDs", 17, "not compared"}));
    EXPECT_EQ(validation.verdict, Verdict(failures[0]));
    EXPECT_THAT(validation.ports, Each(AllOf(Field(&Comparison::found, Fact<Bytes>(failures[0])),
                                             Field(&Comparison::same, Fact<bool>(failures[0])))));
}

TEST_F(Validation, PvidsThatCannotBeReadAfterwardsLeaveTheVerdict) {
    open("getreg page=0x34 offset=0x16 nth=2 code=17");
    const PvidValidation validation = pvids();
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].operation, "ksl_read_VLAN_PVID_regs");
    EXPECT_EQ(validation.verdict, kYes);
    EXPECT_EQ(validation.ports[2].same, kYes);
    EXPECT_EQ(validation.ports[3].same, Fact<bool>(failures[0]));
}

TEST_F(Validation, PvidsThatChangeMeanwhileHaveNoVerdict) {
    const std::string once = "getreg page=0x34 offset=0x16 garble once";
    const std::string second = "getreg page=0x34 offset=0x16 nth=2 garble";
    for (const std::string &fault : {once, second}) {
        open(fault.c_str());
        failures.clear();
        const PvidValidation validation = pvids();
        ASSERT_THAT(failures, SizeIs(1));
        EXPECT_EQ(failures[0], reason("PVIDs", "the hub changed meanwhile; validate again"));
        EXPECT_EQ(validation.verdict, Verdict(failures[0]));
        EXPECT_EQ(validation.ports[3].same, Fact<bool>(fault == once));
    }
}

TEST_F(Validation, VlansThatDiffer) {
    open();
    for (const uint32_t vid : {100U, 200U}) {
        const VlanValidation validation = vlan(vid);
        EXPECT_EQ(validation.verdict, kNo) << vid;
        EXPECT_TRUE(validation.named);
        EXPECT_EQ(validation.entry.of, vid);
        EXPECT_EQ(validation.entry.same, kNo);
    }
    EXPECT_EQ(vlan(100).entry.expected, (Bytes{0x08, 0x00, 0x00, 0x07, 0xE0, 0xC0, 0x00, 0x7C}));
    EXPECT_EQ(vlan(100).entry.found, Fact<Bytes>(Bytes{0x08, 0x40, 0x00, 0x07, 0xE0, 0xC0, 0x00, 0xFC}));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Validation, AVlanThatIsNotNamedIsNeverAsExpected) {
    open();
    const VlanValidation other = vlan(4094);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_FALSE(other.named);
    EXPECT_EQ(other.verdict, kNo);

    const VlanValidation equal = vlan(1);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], reason("VLAN 1", "the configuration does not name it, though its last entry is the same"));
    EXPECT_FALSE(equal.named);
    EXPECT_EQ(equal.verdict, Verdict(failures[0]));
    EXPECT_EQ(equal.entry.same, kYes);
}

TEST_F(Validation, AVlanThatTheLibraryCannotRead) {
    for (const char *const fault : {"setreg page=8 offset=0x32 code=17 once", "setreg page=8 offset=0x30 code=17 once",
                                    "getreg page=8 offset=0x38 code=17 once"}) {
        open(fault);
        failures.clear();
        const VlanValidation validation = vlan(100);
        ASSERT_THAT(failures, SizeIs(1)) << fault;
        EXPECT_EQ(failures[0], (Failure{0, "ksl_validate_VLAN_map", "VLAN 100", 17, "not compared"}));
        EXPECT_EQ(validation.verdict, Verdict(failures[0]));
        EXPECT_EQ(validation.entry.found, Fact<Bytes>(failures[0]));
    }
}

TEST_F(Validation, AVlanThatCannotBeReadAfterwardsLeavesTheVerdict) {
    open("getreg page=8 offset=0x38 nth=2 code=17");
    const VlanValidation validation = vlan(100);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].operation, "ksl_read_VLAN_map");
    EXPECT_EQ(validation.verdict, kNo);
    EXPECT_EQ(validation.entry.same, Fact<bool>(failures[0]));
}

TEST_F(Validation, AVlanThatChangesMeanwhileHasNoVerdict) {
    open("getreg page=8 offset=0x38 garble once");
    const VlanValidation validation = vlan(1);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], reason("VLAN 1", "the hub changed meanwhile; validate again"));
    EXPECT_EQ(validation.verdict, Verdict(failures[0]));
}

TEST_F(Validation, Support) {
    open();
    EXPECT_EQ(validate_vlan_enable(0, failures), kYes);
    EXPECT_EQ(validate_vlan_enable(1, failures), kNo);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Validation, SupportThatCannotBeRead) {
    open("getreg page=0x34 offset=0 code=17");
    const Verdict verdict = validate_vlan_enable(0, failures);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0],
              (Failure{0, "ksl_validate_VLAN_enable", "VLAN enable (page 0x34, offset 0x00)", 17, "not compared"}));
    EXPECT_EQ(verdict, Verdict(failures[0]));
}

std::string problem_of(const std::function<void()> &action) {
    try {
        action();
    } catch (const NoConfiguration &problem) {
        return problem.what();
    }
    return "none";
}

TEST(ConfigurationLibrary, ThatCannotBeUsed) {
    const auto problem = [](const std::string &library) {
        return problem_of([&] { const Configuration configuration(library); });
    };
    EXPECT_THAT(problem("/absent.so"), StartsWith("the configuration library cannot be opened: /absent.so: "));
    EXPECT_THAT(problem(HWA_LIBRARY), EndsWith(" has no entry point __ksl_get_cfg, so it is no configuration library"));
    EXPECT_THAT(problem(EMPTY_CONFIGURATION_LIBRARY),
                EndsWith(" hands out no settings, so there is nothing to compare with"));
}

TEST(ConfigurationFile, IsReadByItsLibrary) {
    const hwa_test::TemporaryFolder folder;
    const std::string file = folder / "expectation.json";
    std::ofstream(file) << R"({"pvids": [{"ports": ["0-23"], "vid": 7, "priority": 2}]})";
    const Configuration configuration(library_for_file(file));
    ASSERT_NE(configuration.records(), nullptr);
    EXPECT_EQ(configuration.records()->value[0], 0x40);
    EXPECT_EQ(configuration.records()->value[1], 0x07);
}

TEST(ConfigurationFile, ThatCannotBeUsed) {
    const hwa_test::TemporaryFolder folder;
    const std::string file = folder / "expectation.json";
    const auto problem = [&] { return problem_of([&] { library_for_file(file); }); };
    EXPECT_THAT(problem(), HasSubstr("expectation.json cannot be read"));
    std::ofstream(file) << "{}";
    EXPECT_THAT(problem(), StartsWith(file + ", line 1"));
}

} // namespace
