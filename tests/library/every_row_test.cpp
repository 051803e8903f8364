// SPDX-License-Identifier: Apache-2.0
// The table of the exported functions has a row for each function that the library exports, and no other.
#include "exports/export.h"

#include <gtest/gtest.h>

#include <fstream>

namespace ksl::test {
namespace {

using Names = std::set<std::string>;

// The functions of the library's export list; its state, which is listed last, has no rows.
Names exported_functions() {
    std::ifstream map(KSL_SOURCE_DIR "/src/ksl.map");
    Names functions;
    for (std::string line; std::getline(map, line) && line.find("# State") == std::string::npos;) {
        const size_t begin = line.find_first_not_of(' ');
        if (begin != std::string::npos && line.back() == ';') {
            functions.insert(line.substr(begin, line.size() - begin - 1));
        }
    }
    return functions;
}

TEST(EveryExport, HasARow) {
    const Names functions = exported_functions();
    ASSERT_GT(functions.size(), 50u);
    Names rows;
    for (const Export &exported : exports()) {
        rows.insert(exported.name);
        EXPECT_EQ(functions.count(exported.name), 1u)
            << exported.name << " has a row in tests/library/exports, but src/ksl.map does not export it";
    }
    for (const std::string &function : functions) {
        EXPECT_EQ(rows.count(function), 1u)
            << function << " is exported by src/ksl.map, but has no row in tests/library/exports";
    }
}

TEST(EveryExport, IsCalledByAFuzzer) {
    // The fuzzer of the operations runs between the first two; the fuzzer of configurations calls the others.
    const Names elsewhere{"ksl_init", "ksl_terminate", "ksl_validate_VLAN_PVID_set", "ksl_validate_VLAN_map"};
    Names fuzzed;
    for (const Export &exported : exports()) {
        if (exported.fuzz.run != nullptr) {
            fuzzed.insert(exported.name);
        }
    }
    for (const Export &exported : exports()) {
        EXPECT_NE(fuzzed.count(exported.name), elsewhere.count(exported.name))
            << exported.name << " needs a call by fuzzers in its row";
    }
}

TEST(EveryExport, RunsInAFrameIfItIsAnOperation) {
    for (const Export &exported : exports()) {
        const bool operation = exported.name.find("ksl_read_") == 0 || exported.name.find("ksl_set_") == 0 ||
                               exported.name.find("ksl_validate_") == 0 || exported.name.find("dbg_ksl_") == 0;
        EXPECT_TRUE(exported.frame || !operation) << exported.name << " needs the records of its frame in its row";
    }
}

} // namespace
} // namespace ksl::test
