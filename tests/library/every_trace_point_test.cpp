// SPDX-License-Identifier: Apache-2.0
// Some operation writes each row of the trace tables, with as many values as the row names. Nothing else is written.
#include "exports/export.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

namespace ksl::test {
namespace {

struct Row {
    uint32_t values;
    std::string name;
};

uint32_t count_words(const std::string &text) {
    std::istringstream words(text);
    return static_cast<uint32_t>(
        std::distance(std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()));
}

const std::map<uint32_t, Row> kTable{
#undef KSL_TRACE_POINT
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, {count_words(values), #name}},
#include "trace_points.def"
};

// ---- What no failure of an access leads to ----

struct Occasion {
    const char *what;
    void (*run)(ScriptedPlatform &platform);
};

uint32_t *number() {
    return memory_as<uint32_t>();
}

// A configuration that expects another VLAN id of the first port, and another entry of VLAN 10.
void expect_otherwise(ScriptedPlatform &platform) {
    platform.configuration = {{0, 0x34, 0x10, 0, {0, 1}}, {0, 0x08, 0x32, 0, {0, 0x20, 10}}, kEndOfList};
}

// Runs both validations.
void validate(const char *path) {
    ksl_validate_VLAN_PVID_set(0, path, number());
    ksl_validate_VLAN_map(0, 10, path, number());
}

const Occasion kOccasions[] = {
    {"the first lower library",
     [](ScriptedPlatform &) {
         ksl_terminate();
         ksl_init();
     }},
    {"no lower library",
     [](ScriptedPlatform &platform) {
         ksl_terminate();
         platform.libraries.clear();
         ksl_init();
     }},
    {"no memory",
     [](ScriptedPlatform &platform) {
         platform.malloc_fails = true;
         ksl_init();
     }},
    {"a dump of any length",
     [](ScriptedPlatform &) {
         for (uint32_t length = 0; length <= 9; ++length) {
             __print_status_array(memory(), length);
         }
     }},
    {"a port that is refused",
     [](ScriptedPlatform &) {
         ksl_reset_PHY(0, 24);
         ksl_read_MIB_counters_at_port(0, 24, memory_as<ksl_mib_port_block>());
         ksl_get_SA_count_at_port(0, 24, number());
         ksl_get_learning_threshold_at_port(0, 24, number());
         ksl_set_learning_threshold_at_port(0, 24, 0);
     }},
    {"a threshold that is refused", [](ScriptedPlatform &) { ksl_set_learning_threshold_at_port(0, 0, 8193); }},
    {"a configuration that is refused", [](ScriptedPlatform &) { dbg_ksl_set_EPN_configuration(0, 3); }},
    {"counters without a place in the caller's memory",
     [](ScriptedPlatform &) { ksl_read_MIB_counters_at_port(0, 0, nullptr); }},
    {"a counter that was not asked for",
     [](ScriptedPlatform &platform) {
         platform.on_get_multireg = [](ksl_reg_request *requests, uint32_t) { requests[0].offset = 0xFC; };
         ksl_read_MIB_counters_at_port(0, 0, memory_as<ksl_mib_port_block>());
     }},
    {"the second trunk group", [](ScriptedPlatform &) { ksl_validate_trunk_group(0, 1, 0, 0, number()); }},
    {"more addresses than the caller has room for",
     [](ScriptedPlatform &platform) {
         platform.on_getmacs = [](void *, uint32_t *count) { *count = 1; };
         *number() = 0;
         ksl_read_ARL_table(0, 1, memory_as<ksl_arl_entry>(8), number());
     }},
    {"no path of a configuration library", [](ScriptedPlatform &) { validate(nullptr); }},
    {"a configuration library that is not there", [](ScriptedPlatform &) { validate("/opt/none.so"); }},
    {"a configuration library without its entry point",
     [](ScriptedPlatform &platform) {
         platform.missing_entry_points = {"__ksl_get_cfg"};
         validate(kConfigurationPath);
     }},
    {"another configuration",
     [](ScriptedPlatform &platform) {
         expect_otherwise(platform);
         validate(kConfigurationPath);
     }},
};

Calls calls_of(const Occasion &occasion) {
    ScriptedPlatform platform;
    ksl_init();
    ksl_cfg_handle = nullptr;
    occasion.run(platform);
    const Calls calls = platform.take();
    ksl_terminate();
    return calls;
}

// Everything that the library calls, in every run of the table and on every occasion.
Calls everything() {
    Calls all;
    for (const Export &exported : exports()) {
        const size_t accesses = access_positions(observe(exported, {}, true, &all).calls).size();
        for (size_t access = 0; access < accesses; ++access) {
            observe(exported, {.access = access, .code = 5}, false, &all);
        }
        observe(exported, {.unbound = true}, false, &all);
    }
    for (const Occasion &occasion : kOccasions) {
        all += calls_of(occasion);
    }
    return all;
}

std::string writer(uint32_t values) {
    return values == 0 ? "write_all " : values <= 5 ? "write_ints5 " : "write_ints9 ";
}

TEST(EveryTracePoint, IsWrittenWithItsValuesAndNothingElseIs) {
    std::set<uint32_t> written;
    for (const Call &call : everything()) {
        if (call.text.rfind("write_", 0) != 0) {
            continue;
        }
        written.insert(call.identifier);
        const auto row = kTable.find(call.identifier);
        ASSERT_NE(row, kTable.end()) << "in no table: " << call.text;
        ASSERT_EQ(call.values, row->second.values) << row->second.name << ": " << call.text;
        ASSERT_EQ(call.text.rfind(writer(call.values), 0), 0u) << row->second.name << ": " << call.text;
    }
    for (const auto &[identifier, row] : kTable) {
        EXPECT_EQ(written.count(identifier), 1u) << "written by nobody: " << row.name;
    }
}

} // namespace
} // namespace ksl::test
