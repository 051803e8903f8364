// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/counter_names.h"

#include <gmock/gmock.h>
#include <json/problem.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;

constexpr char kTwo[] = R"({
  "name": "two",
  "counters": [
    { "offset": "0x50", "name": "Pieces_2", "unit": "frames" },
    { "offset": 8, "name": "bad", "error": true }
  ]
})";

const Counter &counter_at(uint32_t offset) {
    return *std::find_if(kCounters.begin(), kCounters.end(),
                         [offset](const Counter &counter) { return counter.offset == offset; });
}

TEST(CounterNameFile, NamesSomeCounters) {
    const CounterNames names = parse_counter_names(kTwo);
    EXPECT_THAT(names, ElementsAre(Key(0x08), Key(0x50)));
    EXPECT_EQ(names.at(0x50), (CounterName{"Pieces_2", "frames", false}));
    EXPECT_EQ(names.at(0x08), (CounterName{"bad", "", true}));
    EXPECT_THAT(parse_counter_names(R"({"counters": []})"), IsEmpty());
}

TEST(CounterNameFile, MayNameEveryCounter) {
    std::string rows;
    for (const Counter &counter : kCounters) {
        rows += (rows.empty() ? "" : ",") + std::string(R"({"offset": )") + std::to_string(counter.offset) +
                R"(, "name": "c)" + std::to_string(counter.offset) + R"("})";
    }
    EXPECT_EQ(parse_counter_names(R"({"counters": [)" + rows + "]}").size(), kCounterCount);
}

TEST(CounterNameFile, TheExampleIsOne) {
    const CounterNames names = load_counter_names(EXAMPLE_COUNTER_NAMES);
    EXPECT_TRUE(has_errors(names));
    EXPECT_EQ(names.size(), 6U);
}

std::string complaint(const std::string &text) {
    try {
        parse_counter_names(text);
    } catch (const json::Unusable &problem) {
        return problem.what();
    }
    return "none";
}

// What is wrong in the first row, from line 1, column 15 on.
std::string complaint_of_row(const std::string &row) {
    return complaint(R"({"counters": [)" + row + "]}");
}

TEST(CounterNameFile, IsRefusedAtTheFirstMistake) {
    EXPECT_EQ(complaint("[]"), "line 1, column 1: the document must be an object");
    EXPECT_EQ(complaint("{}"), R"(line 1, column 1: the document lacks the key "counters")");
    EXPECT_EQ(complaint("{\n  \"counter\": []\n}"), R"(line 2, column 3: the document has the unknown key "counter")");
    EXPECT_EQ(complaint(R"({"name": 1, "counters": []})"), "line 1, column 10: name must be a string");
    EXPECT_EQ(complaint(R"({"counters": {}})"), "line 1, column 14: counters must be a list");
    EXPECT_THAT(complaint("{"), HasSubstr("line 1, column 2: not valid JSON"));
}

TEST(CounterNameFile, NamesOnlyCountersThatAreRead) {
    EXPECT_EQ(complaint_of_row(R"({"name": "a"})"), R"(line 1, column 15: counters[0] lacks the key "offset")");
    for (const char *const offset : {"\"0x10\"", "\"0x84\"", "1", "255"}) {
        EXPECT_EQ(complaint_of_row(R"({"offset": )" + std::string(offset) + R"(, "name": "a"})"),
                  "line 1, column 26: counters[0].offset must be that of a counter that the library reads, such as "
                  "\"0x50\"");
    }
    EXPECT_EQ(complaint_of_row(R"({"offset": 256, "name": "a"})"),
              "line 1, column 26: counters[0].offset must be a number from 0 to 255");
    EXPECT_EQ(complaint_of_row("{\"offset\": 0, \"name\": \"a\"},\n{\"offset\": \"0x00\", \"name\": \"b\"}"),
              "line 2, column 12: counters[1].offset names offset 0 a second time");
}

TEST(CounterNameFile, NamesAreWordsAndDiffer) {
    const auto of_name = [](const std::string &name) {
        return complaint_of_row(R"({"offset": 0, "name": ")" + name + R"("})");
    };
    for (const char *const name : {"a", "A", "z9_", "Z", "abcdefghijklmnopqrstuvwx"}) {
        EXPECT_EQ(of_name(name), "none");
    }
    for (const char *const name : {"", "9", "0x50", "_a", "a b", "a-b", "a\\\"b", "a\\nb", "\\u00e4", "@", "a`", "a{",
                                   "abcdefghijklmnopqrstuvwxy"}) {
        EXPECT_EQ(of_name(name), "line 1, column 37: counters[0].name must be a letter and up to 23 more letters, "
                                 "digits and \"_\"")
            << name;
    }
    EXPECT_THAT(of_name("total"), HasSubstr("counters[0].name must not be \"total\""));
    EXPECT_EQ(complaint_of_row("{\"offset\": 0, \"name\": \"a\"},\n{\"offset\": 8, \"name\": \"a\"}"),
              "line 2, column 23: counters[1].name is the name of an earlier counter");
    EXPECT_EQ(complaint_of_row(R"({"offset": 0})"), R"(line 1, column 15: counters[0] lacks the key "name")");
}

TEST(CounterNameFile, UnitsAreShortLines) {
    const auto of_unit = [](const std::string &unit) {
        return complaint_of_row(R"({"offset": 0, "name": "a", "unit": ")" + unit + R"("})");
    };
    EXPECT_EQ(of_unit("twelve bytes"), "none");
    EXPECT_EQ(of_unit("thirteen byte"), "line 1, column 50: counters[0].unit must have at most 12 bytes");
    EXPECT_EQ(of_unit("a\\nb"), "line 1, column 50: counters[0].unit must be one line of text");
    EXPECT_EQ(complaint_of_row(R"({"offset": 0, "name": "a", "error": 1})"),
              "line 1, column 51: counters[0].error must be true or false");
}

TEST(CounterNameFile, ThatIsMissingIsNamed) {
    try {
        load_counter_names("/nonexistent/names.json");
        FAIL();
    } catch (const json::Unusable &problem) {
        EXPECT_STREQ(problem.what(), "/nonexistent/names.json cannot be read: No such file or directory");
    }
}

TEST(CounterLabels, AreNamesOrElseOffsets) {
    const CounterNames names = parse_counter_names(kTwo);
    EXPECT_EQ(label_of(counter_at(0x50), names), "Pieces_2");
    EXPECT_EQ(label_of(counter_at(0x00), names), "0x00");
    EXPECT_EQ(label_of(counter_at(0x50), {}), "0x50");
    EXPECT_EQ(counter_named("bad", names), &counter_at(0x08));
    EXPECT_EQ(counter_named("0x08", names), nullptr);
    EXPECT_EQ(name_of(counter_at(0x00), names), nullptr);
}

TEST(CounterErrors, AreThoseThatAreNamedSo) {
    CounterNames names = parse_counter_names(kTwo);
    EXPECT_TRUE(is_error(counter_at(0x08), names));
    EXPECT_FALSE(is_error(counter_at(0x50), names));
    EXPECT_FALSE(is_error(counter_at(0x00), names));
    EXPECT_TRUE(has_errors(names));
    names.erase(0x08);
    EXPECT_FALSE(has_errors(names));
}

} // namespace
