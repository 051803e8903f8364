// SPDX-License-Identifier: Apache-2.0
// A monitored hub as a picture, as lines and as JSON.
#include "kslctl/views/faceplate.h"
#include "kslctl/views/monitor.h"
#include "support/terminal.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

namespace {

using namespace kslctl;
using namespace std::chrono_literals;
using hub::Seconds;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

const views::Style kPlain(false);
const views::Style kColoured(true);
const hub::Failure kFailure{0, "operation", "link status", 17};

hub::Look made_look(std::chrono::seconds time = 1s) {
    hub::Look look = hub::unseen(0, hub::all_ports());
    look.time = hub::TimePoint(time);
    look.self_test = hub::SelfTest{false, {9}};
    look.mode = hub::Mode{true, true};
    look.trunks = true;
    look.trunk_group = hub::TrunkGroup{true, {22, 23}};
    look.mirror = hub::MirrorControl{true, {7}};
    look.ingress_mirrored = hub::PortNumbers{2};
    look.egress_mirrored = hub::PortNumbers{3, 22};
    for (hub::PortStatus &port : look.ports) {
        port.link = false;
    }
    look.ports[0] = {0, true, {}, 100U, hub::Duplex::full};
    look.ports[1] = {1, true, {}, 10U, hub::Duplex::half};
    look.ports[4] = {4, kFailure, {}, kFailure, kFailure};
    look.ports[22] = {22, true, {}, 100U, hub::Duplex::half};
    return look;
}

// Counters that move by `step` times the number of the port, plus one.
void add_counters(hub::Look &look, uint64_t step) {
    hub::ChipCounters counters{look.chip, look.time, {}};
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        std::vector<hub::CounterValue> values;
        for (size_t i = 0; i < hub::kCounterCount; ++i) {
            values.push_back({&hub::kCounters[i], i < 3 ? step * (port + 1) * (i + 1) : 0});
        }
        counters.ports[port] = values;
    }
    look.counters = counters;
}

std::vector<hub::Seen> one_chip() {
    std::vector<hub::Seen> chips;
    chips.emplace_back(0, hub::all_ports());
    hub::Look first = made_look();
    add_counters(first, 0);
    hub::see(chips[0], first);
    hub::Look second = made_look(2s);
    add_counters(second, 1000);
    hub::see(chips[0], second);
    return chips;
}

std::vector<std::string> lines_of(const std::string &text) {
    std::istringstream stream(text + "\n");
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> painted(const std::vector<hub::Seen> &chips, const views::Frame &frame) {
    return lines_of(views::picture(chips, frame, kPlain));
}

views::Frame frame_of(size_t rows, size_t columns, hub::Order order = hub::Order::busiest) {
    return {rows, columns, order, false, "12:34:56 UTC", Seconds(1), false};
}

TEST(Picture, HasTheFaceplateAndThePortsBelowIt) {
    const std::vector<std::string> lines = painted(one_chip(), frame_of(24, 80));
    const std::vector<std::string> expected = {
        "kslctl monitor  12:34:56 UTC  every 1 s",
        "chip 0  self-test failed (ports 9)  managed, forwarding  trunk ports 22-23  mir~",
        " 0     1     2m    3m    4     5     6     7C    8     9!   10    11    ",
        " 100F  10H   -     -     ?     -     -     -     -     -     -     -    ",
        "12    13    14    15    16    17    18    19    20    21    22Tm  23T   ",
        " -     -     -     -     -     -     -     -     -     -     100H  -    ",
        "F full  H half  - no link  ? unread  ! failed  C capture  T trunk  m mirrored",
        "port  link  marks  lost  0x00/s  0x08/s  0x18/s",
        "  23  -     T             24000   48000   72000",
        "  22  100H  Tm            23000   46000   69000",
    };
    ASSERT_THAT(lines, SizeIs(24));
    EXPECT_EQ(std::vector(lines.begin(), lines.begin() + static_cast<long>(expected.size())), expected);
    EXPECT_EQ(lines[22], "no room for 10 ports");
    EXPECT_EQ(lines[23], "s order: busiest first  p pause  q end");
}

TEST(Picture, FitsANarrowWindow) {
    const std::vector<std::string> lines = painted(one_chip(), frame_of(12, 40));
    const std::vector<std::string> expected = {
        "kslctl monitor  12:34:56 UTC  every 1 s", "chip 0  self-test failed (ports 9)  man~",
        " 0  1  2  3  4  5  6  7  8  9 10 11 ",    " F  h  -m -m ?  -  -  -C -  -! -  - ",
        "12 13 14 15 16 17 18 19 20 21 22 23 ",    " -  -  -  -  -  -  -  -  -  -  HT -T",
        "F,H 100 full,half f,h 10 - no link",      "port  link  marks  lost  0x08/s  0x18/s",
        "  23  -     T             48000   72000", "  22  100H  Tm            46000   69000",
        "no room for 22 ports, 1 counter",         "s order: busiest first  p pause  q end",
    };
    EXPECT_EQ(lines, expected);
}

TEST(Picture, HasAsManyLinesAsRowsAndNoneIsTooWide) {
    std::vector<hub::Seen> chips = one_chip();
    chips.push_back(chips[0]);
    chips[1].last.failures = {kFailure, kFailure};
    for (const size_t rows : {1U, 2U, 10U, 11U, 12U, 13U, 16U, 17U, 24U, 45U, 70U}) {
        for (const size_t columns : {1U, 20U, 35U, 36U, 40U, 71U, 72U, 80U, 200U}) {
            const std::vector<std::string> lines = painted(chips, frame_of(rows, columns));
            ASSERT_THAT(lines, SizeIs(rows)) << columns;
            const size_t widest = std::max_element(lines.begin(), lines.end(), [](const auto &a, const auto &b) {
                                      return a.size() < b.size();
                                  })->size();
            ASSERT_LE(widest, columns) << rows;
        }
    }
}

TEST(Picture, OfAWindowThatIsTooSmallCountsTheLinks) {
    const std::vector<std::string> lines = painted(one_chip(), frame_of(5, 60));
    EXPECT_EQ(lines[0], "too small: 60 x 5, needs 36 x 11");
    EXPECT_EQ(lines[1], "chip 0: 3 of 24 ports have a link, 1 not read");
}

TEST(Picture, ShowsEachOrder) {
    EXPECT_THAT(painted(one_chip(), frame_of(24, 80, hub::Order::by_number))[8], StartsWith("   0  100F"));
    const std::vector<std::string> worst = painted(one_chip(), frame_of(24, 80, hub::Order::worst));
    EXPECT_THAT(worst[8], StartsWith("   4  ?"));
    EXPECT_THAT(worst[9], StartsWith("   9  -     !"));
    EXPECT_THAT(worst[23], HasSubstr("worst first"));
}

TEST(Picture, TellsWhenALinkWasLost) {
    std::vector<hub::Seen> chips = one_chip();
    hub::Look look = made_look(14s);
    look.ports[0] = {0, false, {}, {}, {}};
    hub::see(chips[0], look);
    hub::see(chips[0], made_look(17s));
    EXPECT_THAT(painted(chips, frame_of(24, 80, hub::Order::worst)),
                testing::Contains(StartsWith("   0  100F          3 s")));
}

TEST(Picture, SaysThatRatesFollowOrThatThereAreNone) {
    std::vector<hub::Seen> chips;
    chips.emplace_back(0, hub::all_ports());
    hub::Look look = made_look();
    add_counters(look, 1000);
    hub::see(chips[0], look);
    EXPECT_THAT(painted(chips, frame_of(24, 80))[7], EndsWith("rates follow"));
    look.counters->time += 1s;
    hub::see(chips[0], look);
    EXPECT_THAT(painted(chips, frame_of(24, 80))[7], EndsWith("no counter moves"));
}

TEST(Picture, HasRoomForAnyRate) {
    std::vector<hub::Seen> chips = one_chip();
    hub::Look look = made_look(3s);
    add_counters(look, 1000);
    const uint64_t rates[] = {999, 99'999, 99'999'000, 99'999'000'000, 99'999'000'000'000, 12'000'000'000'000'000'000U};
    for (uint32_t port = 0; port < std::size(rates); ++port) {
        std::vector<hub::CounterValue> values = *look.counters->ports.at(port);
        values[0].value += rates[port];
        look.counters->ports.at(port) = values;
    }
    hub::see(chips[0], look);
    const std::vector<std::string> lines = painted(chips, frame_of(24, 80, hub::Order::by_number));
    const char *const expected[] = {"   999.0", "   99999", "  99999k", "  99999M", "  99999G", "   1e+19"};
    for (size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_THAT(lines[8 + i], EndsWith(expected[i]));
    }
}

TEST(Picture, NamesCountersAndMakesRoomForTheNames) {
    views::Frame frame = frame_of(24, 80, hub::Order::by_number);
    frame.names = {{0x00, {"spoiled", "", true}}, {0x08, {"a_rather_long_name", "", false}}};
    EXPECT_EQ(painted(one_chip(), frame)[7], "port  link  marks  lost spoiled/s a_rather_long_name/s  0x18/s");
    EXPECT_EQ(painted(one_chip(), frame)[8], "   0  100F                   1000                 2000    3000");
    frame.columns = 62;
    EXPECT_EQ(painted(one_chip(), frame)[7], "port  link  marks  lost spoiled/s a_rather_long_name/s  0x18/s");
    frame.columns = 61;
    EXPECT_EQ(painted(one_chip(), frame)[7], "port  link  marks  lost a_rather_long_name/s  0x18/s");
    EXPECT_THAT(painted(one_chip(), frame)[22], EndsWith("1 counter"));
}

TEST(Picture, HasCountersOfErrorsThatMoveInRedAndTheirPortsAmongTheWorst) {
    views::Frame frame = frame_of(24, 80, hub::Order::worst);
    frame.names = {{0x00, {"spoiled", "", true}}, {0x08, {"pieces", "", false}}};
    const std::vector<std::string> lines = painted(one_chip(), frame);
    EXPECT_THAT(lines[10], StartsWith("  23  ")) << "after ports that were not read and that failed, most errors first";
    EXPECT_THAT(lines[11], StartsWith("  22  "));
    EXPECT_THAT(views::picture(one_chip(), frame, kColoured), HasSubstr("\x1b[31m     24000\x1b[0m    48000"));
}

TEST(Picture, SaysThatItIsPaused) {
    views::Frame frame = frame_of(24, 80);
    frame.is_paused = true;
    EXPECT_EQ(painted(one_chip(), frame)[0], "kslctl monitor  paused at 12:34:56 UTC");
    EXPECT_THAT(painted(one_chip(), frame)[23], HasSubstr("p go on"));
}

TEST(Picture, HasTheFirstFailure) {
    std::vector<hub::Seen> chips = one_chip();
    chips[0].last.failures = {kFailure};
    EXPECT_THAT(painted(chips, frame_of(24, 100))[6],
                "chip 0: link status not read: operation returned 17 (a code of the lower library)");
    chips[0].last.failures.push_back(kFailure);
    EXPECT_THAT(painted(chips, frame_of(24, 100))[6], StartsWith("(1 of 2 failures) chip 0: link status not read"));
}

TEST(Picture, NamesTheChipsOfPortsAndCountsThoseWithoutRoom) {
    std::vector<hub::Seen> chips = one_chip();
    for (uint32_t chip : {1U, 2U, 3U}) {
        chips.push_back(chips[0]);
        chips.back().last.chip = chip;
    }
    const std::vector<std::string> lines = painted(chips, frame_of(24, 80));
    EXPECT_THAT(lines[11], StartsWith("chip 2  "));
    EXPECT_THAT(lines[17], StartsWith("chip  port  link"));
    EXPECT_THAT(lines[18], StartsWith("   0    23  -"));
    EXPECT_EQ(lines[22], "no room for 92 ports, 1 chip");
}

TEST(Picture, LeavesOutPortsThatWereNotAskedFor) {
    const uint32_t ports[] = {1, 22};
    std::vector<hub::Seen> chips;
    chips.emplace_back(0, ports);
    hub::Look look = hub::unseen(0, ports);
    look.ports[0] = {1, true, {}, 10U, hub::Duplex::full};
    look.ports[1] = {22, false, {}, {}, {}};
    hub::see(chips[0], look);
    const std::vector<std::string> lines = painted(chips, frame_of(24, 80));
    EXPECT_THAT(lines[3], StartsWith("       10F     "));
    EXPECT_THAT(lines[5], testing::MatchesRegex(" {61}- {10}"));
    EXPECT_THAT(lines[10], testing::IsEmpty()) << "two ports, and nothing is missing";
}

TEST(Picture, IsTheSameWithColours) {
    std::string coloured = views::picture(one_chip(), frame_of(24, 80), kColoured);
    EXPECT_THAT(coloured, HasSubstr("\x1b[32m100F\x1b[0m"));
    EXPECT_THAT(coloured, HasSubstr("\x1b[33m10H\x1b[0m"));
    EXPECT_THAT(coloured, HasSubstr("\x1b[31m?\x1b[0m"));
    EXPECT_THAT(coloured, HasSubstr("\x1b[31m!\x1b[0m"));
    EXPECT_THAT(coloured, HasSubstr("\x1b[36mT\x1b[0m\x1b[35mm\x1b[0m"));
    for (size_t begin = coloured.find('\x1b'); begin != std::string::npos; begin = coloured.find('\x1b')) {
        coloured.erase(begin, coloured.find('m', begin) + 1 - begin);
    }
    EXPECT_EQ(coloured, views::picture(one_chip(), frame_of(24, 80), kPlain));
}

TEST(Drawn, ClearsEachLineBeforeItsText) {
    EXPECT_EQ(tools::drawn("one\n\ntwo"), "\x1b[H\x1b[Kone\n\x1b[K\n\x1b[Ktwo");
}

// ---- Lines and documents ----

hub::Differences some_differences() {
    hub::Look before = made_look();
    before.failures = {kFailure};
    hub::Look now = made_look();
    now.trunks = false;
    now.self_test = hub::SelfTest{true, {}};
    now.ports[0] = {0, false, {}, {}, {}};
    now.ports[2] = {2, true, {}, 10U, hub::Duplex::half};
    now.failures = {{0, "operation", "port speed", 18}};
    return hub::differences(before, now);
}

TEST(DifferenceLines, AreOneForTheChipForEachPortAndForEachFailure) {
    EXPECT_EQ(
        views::differences(0, some_differences(), "NOW", true).text,
        "NOW chip 0: self-test passed; trunk control off\n"
        "NOW chip 0 port 0: link down\n"
        "NOW chip 0 port 2: link up; speed 10; duplex half\n"
        "NOW chip 0: port speed not read: operation returned 18 (a code that the simulated hub was told to give)\n"
        "NOW chip 0: link status read again\n");
    EXPECT_EQ(views::differences(0, {}, "NOW", true).text, "");
}

TEST(DifferenceDocument, HasEachValueBeforeAndAfter) {
    const Json expected = {{"chip", 0},
                           {"time", "NOW"},
                           {"changes",
                            {{{"port", nullptr},
                              {"what", "self_test"},
                              {"before", {{"passed", false}, {"failed_ports", {9}}}},
                              {"after", {{"passed", true}, {"failed_ports", Json::array()}}}},
                             {{"port", nullptr}, {"what", "trunk_control"}, {"before", true}, {"after", false}},
                             {{"port", 0}, {"what", "link"}, {"before", true}, {"after", false}},
                             {{"port", 2}, {"what", "link"}, {"before", false}, {"after", true}},
                             {{"port", 2}, {"what", "speed"}, {"before", nullptr}, {"after", 10}},
                             {{"port", 2}, {"what", "duplex"}, {"before", nullptr}, {"after", "half"}}}},
                           {"read_again", {"link status"}}};
    EXPECT_EQ(views::differences(0, some_differences(), "NOW", true).json, expected);
}

TEST(DifferenceDocument, NamesEveryValueOfAChipAndAPort) {
    const std::vector<uint32_t> one = {0};
    hub::Look now = made_look();
    now.ports.resize(1);
    const Json json = views::differences(0, hub::differences(hub::unseen(0, one), now), "NOW", true).json;
    std::string names;
    for (const Json &change : json["changes"]) {
        names += change["what"].get<std::string>() + " ";
    }
    EXPECT_EQ(names, "self_test mode trunk_control trunk_group_0 mirror_control ingress_mirror_mask egress_mirror_mask "
                     "link speed duplex ");
}

} // namespace
