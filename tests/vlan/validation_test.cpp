// SPDX-License-Identifier: Apache-2.0
// The steps of both validations up to their expected records.
#include "configuration.h"

namespace ksl::test {
namespace {

struct Validation {
    const char *name;
    int32_t (*run)(const char *path, uint32_t *verdict);
    Call (*entry)(const char *path, const uint32_t *verdict);
    TracePoint no_path;
    TracePoint not_opened;
    TracePoint no_entry_point;
    TracePoint asking;
    TracePoint unread;
    TracePoint exit;
    uint32_t accesses;

    friend std::ostream &operator<<(std::ostream &out, const Validation &row) { return out << row.name; }
};

class ConfigurationSteps : public Configured, public testing::WithParamInterface<Validation> {
protected:
    const Validation &row = GetParam();

    Call entry(const char *path) { return row.entry(path, &verdict); }
};

TEST_P(ConfigurationSteps, NeedsAPath) {
    ksl_enable_time();
    ksl_cfg_handle = kFirstHandle;
    EXPECT_EQ(row.run(nullptr, &verdict), -1);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(ksl_cfg_handle, kFirstHandle);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   entry(nullptr),
                                   record(row.no_path),
                                   record(row.exit, 0, -1),
                                   stamp_end(),
                                   record(points::elapsed_time, 7u),
                               }));
}

TEST_P(ConfigurationSteps, SucceedsWithoutAVerdictIfTheLibraryDoesNotOpen) {
    platform.libraries.erase(kConfigurationPath);
    ksl_enable_time();
    ksl_cfg_handle = kFirstHandle;
    EXPECT_EQ(row.run(kConfigurationPath, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(ksl_cfg_handle, nullptr);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   entry(kConfigurationPath),
                                   open,
                                   platform_call("dlerror"),
                                   record(row.not_opened, kLoaderError),
                                   record(row.exit, 0, 0),
                                   stamp_end(),
                                   record(points::elapsed_time, 7u),
                               }));
}

TEST_P(ConfigurationSteps, KeepsALibraryOpenThatLacksTheEntryPoint) {
    platform.missing_entry_points = {"__ksl_get_cfg"};
    ksl_enable_time();
    EXPECT_EQ(row.run(kConfigurationPath, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(ksl_cfg_handle, kConfigurationHandle);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   entry(kConfigurationPath),
                                   open,
                                   record(points::configuration_opened),
                                   lookup_missing("__ksl_get_cfg"),
                                   record(row.no_entry_point),
                                   record(row.exit, 0, 0),
                                   stamp_end(),
                                   record(points::elapsed_time, 7u),
                               }));
}

TEST_P(ConfigurationSteps, AsksTheLibraryForItsRecords) {
    EXPECT_EQ(row.run(kConfigurationPath, &verdict), 0);
    EXPECT_TRUE(closed());
    const Calls calls = platform.take();
    ASSERT_GT(calls.size(), 7u);
    EXPECT_EQ(Calls(calls.begin(), calls.begin() + 7), (Calls{
                                                           stamp_start(),
                                                           entry(kConfigurationPath),
                                                           open,
                                                           record(points::configuration_opened),
                                                           look_up,
                                                           record(row.asking),
                                                           ask,
                                                       }));
}

TEST_P(ConfigurationSteps, ReturnsTheResultOfTheHardwareNotOfTheLibrary) {
    for (const int32_t code : kCodes) {
        platform.configuration_result = code;
        EXPECT_EQ(row.run(kConfigurationPath, &verdict), 0);
        EXPECT_TRUE(closed());
        platform.take();
        platform.failures = {{1, 99}};
        EXPECT_EQ(row.run(kConfigurationPath, &verdict), 99);
        platform.take();
        platform.failures = {};
    }
}

TEST_P(ConfigurationSteps, ComparesNothingWithoutAList) {
    platform.configuration = {};
    platform.configuration_result = 77;
    EXPECT_EQ(row.run(kConfigurationPath, &verdict), 77);
    EXPECT_EQ(verdict, 0u);
    EXPECT_TRUE(stays_open());
    const Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 9u) << calls;
    EXPECT_EQ(calls[6].text, ask.text);
    EXPECT_EQ(calls[7].text, record(row.exit, 0, 77).text);
}

TEST_P(ConfigurationSteps, KeepsTheLibraryOpenWhenAnAccessFails) {
    for (uint32_t failing = 1; failing <= row.accesses; ++failing) {
        for (const int32_t code : kCodes) {
            verdict = 5;
            platform.failures = {{failing, code}};
            EXPECT_EQ(row.run(kConfigurationPath, &verdict), code);
            EXPECT_EQ(verdict, 0u);
            EXPECT_TRUE(stays_open());
            const Calls calls = platform.take();
            const Calls last(calls.end() - 4, calls.end());
            EXPECT_EQ(last, (Calls{stamp_end(), record(row.unread), record(row.exit, 0, code), stamp_end()}));
        }
    }
}

TEST_P(ConfigurationSteps, KeepsTheLibraryOpenWithoutTheEntryPointsOfTheLowerOne) {
    for (const char *const missing : {"hwa_getreg", "hwa_setreg"}) {
        platform.missing_entry_points = {missing};
        const bool needed = std::string(missing) == "hwa_getreg" || row.accesses == 3;
        EXPECT_EQ(row.run(kConfigurationPath, &verdict), needed ? -1 : 0);
        EXPECT_EQ(needed, stays_open());
        EXPECT_EQ(needed, traced(row.unread));
        platform.take();
    }
}

TEST_P(ConfigurationSteps, ForgetsALibraryThatCannotBeClosed) {
    platform.close_result = -1;
    EXPECT_EQ(row.run(kConfigurationPath, &verdict), 0);
    EXPECT_TRUE(closed());
}

// The next validation does not close a library that stayed open, but forgets it.
TEST_P(ConfigurationSteps, ClosesTheLibraryThatItOpenedItself) {
    ksl_cfg_handle = kFirstHandle;
    EXPECT_EQ(row.run(kConfigurationPath, &verdict), 0);
    EXPECT_TRUE(closed());
    EXPECT_EQ(platform.take().text().find("dlclose first"), std::string::npos);
}

TEST_P(ConfigurationSteps, HasNoVerdictBeforeTheComparison) {
    uint32_t at_entry = 0;
    uint32_t at_open = 5;
    uint32_t at_read = 5;
    platform.on_call = [&](const std::string &text) {
        at_entry = text == entry(kConfigurationPath).text ? verdict : at_entry;
        at_open = text == open.text ? verdict : at_open;
        at_read = text.find("look up hwa_getreg") == 0 ? verdict : at_read;
    };
    EXPECT_EQ(row.run(kConfigurationPath, &verdict), 0);
    EXPECT_EQ(at_entry, 5u);
    EXPECT_EQ(at_open, 0u);
    EXPECT_EQ(at_read, 0u);
}

TEST_P(ConfigurationSteps, WritesTheVerdictUnchecked) {
    EXPECT_DEATH(row.run(nullptr, nullptr), "");
}

INSTANTIATE_TEST_SUITE_P(
    Vlan, ConfigurationSteps,
    testing::Values(
        Validation{"pvids",
                   [](const char *path, uint32_t *verdict) { return ksl_validate_VLAN_PVID_set(0x102, path, verdict); },
                   [](const char *path, const uint32_t *verdict) {
                       return record(points::validate_VLAN_PVID_set_entry, 0x102u, path, verdict);
                   },
                   points::validate_VLAN_PVID_set_no_path, points::validate_VLAN_PVID_set_not_opened,
                   points::validate_VLAN_PVID_set_no_entry_point, points::validate_VLAN_PVID_set_asking,
                   points::validate_VLAN_PVID_set_unread, points::validate_VLAN_PVID_set_exit, 24},
        Validation{
            "map", [](const char *path, uint32_t *verdict) { return ksl_validate_VLAN_map(0x102, 10, path, verdict); },
            [](const char *path, const uint32_t *) { return record(points::validate_VLAN_map_entry, 10u, path); },
            points::validate_VLAN_map_no_path, points::validate_VLAN_map_not_opened,
            points::validate_VLAN_map_no_entry_point, points::validate_VLAN_map_asking,
            points::validate_VLAN_map_unread, points::validate_VLAN_map_exit, 3}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
} // namespace ksl::test
