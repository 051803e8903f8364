// SPDX-License-Identifier: Apache-2.0
// Published trace points never change: old traces are rendered by them.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Row {
    uint32_t identifier;
    std::string kind;
    std::string name;
    std::string values;
    std::string text;
};

const std::vector<Row> kRows{
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, #kind, #name, values, text},
#include "trace_points.def"
};

std::string published_line(const Row &row) {
    std::ostringstream line;
    line << "0x" << std::hex << row.identifier << ',' << row.kind << ',' << row.name << ',' << row.values;
    return line.str();
}

TEST(TracePoints, AreThosePublished) {
    std::ifstream file(PUBLISHED);
    std::set<std::string> published;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#') {
            EXPECT_TRUE(published.insert(line).second) << line << " is twice in " << PUBLISHED;
        }
    }
    std::set<std::string> present;
    for (const Row &row : kRows) {
        present.insert(published_line(row));
        EXPECT_EQ(published.count(published_line(row)), 1u) << "new trace point, add: " << published_line(row);
    }
    for (const std::string &line : published) {
        EXPECT_EQ(present.count(line), 1u) << "published, but gone: " << line;
    }
}

TEST(TracePoints, OfAnOperationNameItAtItsEntryAndItsExit) {
    std::multiset<std::string> entries;
    std::multiset<std::string> exits;
    for (const Row &row : kRows) {
        ASSERT_FALSE(row.text.empty()) << row.name;
        if (row.kind == "entry") {
            entries.insert(row.text);
        } else if (row.kind == "exit") {
            exits.insert(row.text);
        }
    }
    EXPECT_EQ(entries, exits);
    EXPECT_EQ(std::set<std::string>(entries.begin(), entries.end()).size(), entries.size());
}

} // namespace
