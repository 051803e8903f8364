// SPDX-License-Identifier: Apache-2.0
// Counters as a table, as lines and as metrics.
#include "kslctl/views/counters.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl;
using hub::CounterChange;
using hub::Fact;
using testing::HasSubstr;

const views::Style kPlain(false);
const hub::Failure kFailure{0, "operation", "counters of port 5", 17};
const hub::CounterNames kNoNames;
const hub::CounterNames kNames = {{0x00, {"load", "bytes", false}}, {0x18, {"spoiled", "", true}}};

// Ports 3, 4 and 5, of which the last was not read.
hub::ChipCounters made_values() {
    const auto values = [](uint64_t a, uint64_t b, uint64_t c) {
        return std::vector<hub::CounterValue>{
            {&hub::kCounters[0], a}, {&hub::kCounters[1], b}, {&hub::kCounters[2], c}};
    };
    hub::ChipCounters counters{1, std::chrono::steady_clock::time_point(), {}};
    counters.ports = {{3, values(1000, 20, 3)}, {4, values(2000, 0, 0)}, {5, kFailure}};
    return counters;
}

hub::ChipCounters made_changes() {
    hub::ChipCounters counters = made_values();
    counters.since = hub::Seconds(2);
    counters.ports[3] = std::vector<hub::CounterValue>{{&hub::kCounters[0], 1000, CounterChange{250000, 125000}},
                                                       {&hub::kCounters[2], 3, CounterChange{1, 0.5}}};
    counters.ports[4] =
        std::vector<hub::CounterValue>{{&hub::kCounters[0], 2000, kFailure}, {&hub::kCounters[2], 5, kFailure}};
    return counters;
}

std::string text_of(const hub::ChipCounters &counters, const views::CounterView &view) {
    return views::counters(counters, view, kPlain).text;
}

TEST(Rates, HaveAtMostSevenCharacters) {
    const std::pair<double, const char *> rows[] = {
        {0, "0.0"},        {999.9, "999.9"},       {1000, "1000"},  {99'999, "99999"},
        {100'000, "100k"}, {99'999'000, "99999k"}, {1e8, "100M"},   {9.9999e10, "99999M"},
        {1e11, "100G"},    {9.9999e13, "99999G"},  {1e14, "1e+14"}, {1.8e19, "2e+19"}};
    for (const auto &[rate, text] : rows) {
        EXPECT_EQ(views::rate_text(rate), text);
    }
}

TEST(CounterTable, OfValuesHasNoTotal) {
    EXPECT_EQ(text_of(made_values(), {kNoNames}), "port  counter  value\n"
                                                  "   3  0x00      1000\n"
                                                  "   3  0x08        20\n"
                                                  "   3  0x18         3\n"
                                                  "   4  0x00      2000\n"
                                                  "   4  0x08         0\n"
                                                  "   4  0x18         0\n"
                                                  "   5  ?            ?\n");
    EXPECT_FALSE(views::counters(made_values(), {kNoNames}, kPlain).json["ports"][0].contains("total"));
}

TEST(CounterTable, OfChangesHasTheTotalOfEachPortWithSeveral) {
    EXPECT_EQ(text_of(made_changes(), {kNoNames}), "port  counter  value  change        per second\n"
                                                   "   3  0x00      1000  250000        125000.0/s\n"
                                                   "   3  0x18         3       1             0.5/s\n"
                                                   "   3  total        -  250001        125000.5/s\n"
                                                   "   4  0x00      2000       ?                 ?\n"
                                                   "   4  0x18         5       ?                 ?\n"
                                                   "   4  total        -       ?                 ?\n"
                                                   "   5  ?            ?       ?                 ?\n");
    const Json ports = views::counters(made_changes(), {kNoNames}, kPlain).json["ports"];
    EXPECT_EQ(ports[0]["counters"].size(), 2U) << "the total is no counter";
    EXPECT_EQ(ports[0]["total"], (Json{{"change", 250001}, {"per_second", 125000.5}}));
    EXPECT_EQ(ports[1]["total"], nullptr);
    EXPECT_EQ(ports[2]["total"], nullptr);
    hub::ChipCounters one = made_changes();
    one.ports = {{3, std::vector<hub::CounterValue>{{&hub::kCounters[0], 7, CounterChange{1, 1}}}}};
    EXPECT_THAT(text_of(one, {kNoNames}), Not(HasSubstr("total")));
}

TEST(CounterTable, MayHaveShortRates) {
    EXPECT_THAT(text_of(made_changes(), {kNoNames, true}), HasSubstr("   3  0x00      1000  250000      125k/s\n"
                                                                     "   3  0x18         3       1       0.5/s\n"));
}

TEST(CounterTable, HasNamesAndUnits) {
    EXPECT_EQ(text_of(made_values(), {kNames}), "port  counter  name     value  unit\n"
                                                "   3  0x00     load      1000  bytes\n"
                                                "   3  0x08     -           20  -\n"
                                                "   3  0x18     spoiled      3  -\n"
                                                "   4  0x00     load      2000  bytes\n"
                                                "   4  0x08     -            0  -\n"
                                                "   4  0x18     spoiled      0  -\n"
                                                "   5  ?        -            ?  -\n");
    const Json counters = views::counters(made_values(), {kNames}, kPlain).json["ports"][0]["counters"];
    EXPECT_EQ(counters[0],
              (Json{{"offset", 0}, {"name", "load"}, {"error", false}, {"value", 1000}, {"unit", "bytes"}}));
    EXPECT_EQ(counters[1],
              (Json{{"offset", 8}, {"name", nullptr}, {"error", false}, {"value", 20}, {"unit", nullptr}}));
    EXPECT_EQ(counters[2]["error"], true);
}

TEST(CounterTable, ShowsErrorsThatMove) {
    const std::string text = views::counters(made_changes(), {kNames}, views::Style(true)).text;
    EXPECT_THAT(text, HasSubstr("\x1b[31m1\x1b["));
    EXPECT_THAT(text, Not(HasSubstr("250000\x1b[")));
}

TEST(CounterTable, IsInTheOrderOfThePorts) {
    hub::ChipCounters counters = made_changes();
    counters.order = {5, 3};
    EXPECT_THAT(text_of(counters, {kNoNames}),
                testing::MatchesRegex("port .*\n   5  .*\n   3  .*\n   3  .*\n   3  .*\n"));
    EXPECT_EQ(views::rate_lines({counters}, kNoNames, "NOW"),
              "NOW chip 1 port 5: ?\n"
              "NOW chip 1 port 3: 0x00=125k/s 0x18=0.5/s total=125k/s\n");
}

TEST(RateLines, HaveNamesAndTotals) {
    hub::ChipCounters counters = made_changes();
    counters.ports[6] = std::vector<hub::CounterValue>();
    EXPECT_EQ(views::rate_lines({counters}, kNames, "NOW"),
              "NOW chip 1 port 3: load=125k/s spoiled=0.5/s total=125k/s\n"
              "NOW chip 1 port 4: load=? spoiled=? total=?\n"
              "NOW chip 1 port 5: ?\n"
              "NOW chip 1 port 6: -\n");
}

TEST(Metrics, HaveNamesAsLabels) {
    EXPECT_THAT(views::openmetrics({made_values()}, kNames),
                HasSubstr("ksl_mib_total{chip=\"1\",port=\"3\",offset=\"0x00\",name=\"load\"} 1000\n"
                          "ksl_mib_total{chip=\"1\",port=\"3\",offset=\"0x08\"} 20\n"));
}

} // namespace
