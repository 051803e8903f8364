// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/counters.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

constexpr char kOperation[] = "ksl_read_MIB_counters_at_port";
constexpr uint32_t kPort = 3;
constexpr size_t kBytes8 = 0; // the counter at 0x00
constexpr size_t kBytes4 = 1; // the one at 0x08
const Failure kFailure{0, kOperation, "counters of port 3 (page 0x53)", 17};

using Counters = hub_test::HubTest;

std::vector<uint32_t> unread_ports(const ChipCounters &reading) {
    std::vector<uint32_t> unread;
    for (const auto &[port, counters] : reading.ports) {
        if (!counters.is_read()) {
            unread.push_back(port);
        }
    }
    return unread;
}

uint64_t value_at(const ChipCounters &reading, uint32_t port, uint32_t offset) {
    for (const CounterValue &counter : *reading.ports.at(port)) {
        if (counter.which->offset == offset) {
            return counter.value;
        }
    }
    ADD_FAILURE() << "no counter at " << offset;
    return 0;
}

// A reading of one port, in which all counters but the first two are 0.
ChipCounters made(std::chrono::milliseconds time, uint64_t bytes8, uint64_t bytes4) {
    std::vector<CounterValue> values;
    for (const Counter &counter : kCounters) {
        values.push_back({&counter, 0});
    }
    values[kBytes8].value = bytes8;
    values[kBytes4].value = bytes4;
    return {0, std::chrono::steady_clock::time_point(time), {{kPort, values}}};
}

ChipCounters made_unread(std::chrono::milliseconds time) {
    return {0, std::chrono::steady_clock::time_point(time), {{kPort, kFailure}}};
}

TEST(CounterTable, IsThePublicOneWithoutTheTwoThatAreNeverRead) {
    std::vector<std::pair<uint32_t, size_t>> expected;
#define ROW(offset, length) expected.emplace_back(offset, length);
    KSL_COUNTERS(ROW)
#undef ROW
    std::erase_if(expected, [](const auto &row) { return row.first == 0x10 || row.first == 0x84; });
    ASSERT_THAT(kCounters, SizeIs(expected.size()));
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(kCounters[i].offset, expected[i].first);
        EXPECT_EQ(kCounters[i].length, expected[i].second) << expected[i].first;
    }
}

TEST_F(Counters, EachIsThatOfItsOffset) {
    open();
    for (const Counter &counter : kCounters) {
        Bytes bytes = {0xA1, 0, 0, static_cast<uint8_t>(counter.offset), 0xA5, 0, 0, 0xA8};
        ASSERT_EQ(dbg_ksl_set_reg(0, 0x53, counter.offset, static_cast<uint32_t>(counter.length), bytes.data()), 0);
    }
    Failures failures;
    const uint32_t ports[] = {kPort};
    const ChipCounters one = read_counters(0, ports, failures);
    const ChipCounters all = read_counters(0, {}, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_THAT(one.ports, SizeIs(1));
    EXPECT_THAT(all.ports, SizeIs(24));
    for (const ChipCounters &reading : {one, all}) {
        EXPECT_THAT(*reading.ports.at(kPort), SizeIs(20));
        EXPECT_EQ(value_at(reading, kPort, 0x00), 0xA1000000A50000A8U);
        EXPECT_EQ(value_at(reading, kPort, 0x7C), 0xA100007CA50000A8U);
        for (const Counter &counter : kCounters) {
            if (counter.length == 4) {
                EXPECT_EQ(value_at(reading, kPort, counter.offset), 0xA1000000U + counter.offset);
            }
        }
    }
}

TEST_F(Counters, PortsThatFailAlikeShareAFailure) {
    open("port=3 code=17; port=5 code=17; port=2 code=18; port=23 code=19");
    Failures failures;
    const ChipCounters reading = read_counters(0, {}, failures);
    const Failure of_two{0, kOperation, "counters of ports 3, 5 (page 0x50 + port)", 17};
    const Failure of_one{0, kOperation, "counters of port 2 (page 0x52)", 18};
    const Failure of_last{0, kOperation, "counters of port 23 (page 0x67)", 19};
    EXPECT_THAT(failures, ElementsAre(of_two, of_one, of_last));
    EXPECT_THAT(unread_ports(reading), ElementsAre(2, 3, 5, 23));
    EXPECT_EQ(*reading.ports.at(3).failure(), of_two);
    EXPECT_EQ(*reading.ports.at(5).failure(), of_two);
    EXPECT_EQ(*reading.ports.at(2).failure(), of_one);
    EXPECT_EQ(*reading.ports.at(23).failure(), of_last);
}

TEST_F(Counters, OnlyPortsThatAreWantedAreRead) {
    open("port=4 code=17");
    Failures failures;
    const uint32_t ports[] = {2, kPort};
    EXPECT_THAT(unread_ports(read_counters(0, ports, failures)), IsEmpty());
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Counters, APortThatFailsOnceIsReadAlone) {
    open("port=3 code=17 once");
    Failures failures;
    EXPECT_THAT(unread_ports(read_counters(0, {}, failures)), IsEmpty());
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Counters, AnAbsentChipIsOneFailure) {
    open();
    Failures failures;
    EXPECT_THAT(unread_ports(read_counters(9, {}, failures)), SizeIs(24));
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].chip, 9U);
    EXPECT_EQ(failures[0].about, "counters of ports 0-23 (page 0x50 + port)");
}

TEST(CounterDistance, AllowsForOneWrap) {
    const Counter &bytes8 = kCounters[kBytes8];
    const Counter &bytes4 = kCounters[kBytes4];
    EXPECT_EQ(distance(bytes4, 7, 12), 5U);
    EXPECT_EQ(distance(bytes4, 7, 7), 0U);
    EXPECT_EQ(distance(bytes4, 0xFFFFFFFE, 3), 5U);
    EXPECT_EQ(distance(bytes4, 1, 0), 0xFFFFFFFFU);
    EXPECT_EQ(distance(bytes8, 0xFFFFFFFE, 0x100000003), 5U);
    EXPECT_EQ(distance(bytes8, 0xFFFFFFFFFFFFFFFE, 3), 5U);
    EXPECT_EQ(distance(bytes8, 1, 0), 0xFFFFFFFFFFFFFFFFU);
}

TEST(CounterChanges, AreOfTheTimeBetweenTheReadings) {
    const ChipCounters changes = changes_since(made(1000ms, 5, 0xFFFFFFFF), made(4000ms, 25, 0));
    EXPECT_EQ(changes.since, Seconds(3));
    const std::vector<CounterValue> &counters = *changes.ports.at(kPort);
    EXPECT_EQ(counters[kBytes8].value, 25U);
    EXPECT_EQ(counters[kBytes8].change, Fact(CounterChange{20, 6.7}));
    EXPECT_EQ(counters[kBytes4].change, Fact(CounterChange{1, 0.3}));
    EXPECT_EQ(counters[2].change, Fact(CounterChange{0, 0}));
}

TEST(CounterChanges, AreUnknownWhereAReadingFailed) {
    const ChipCounters first_failed = changes_since(made_unread(0ms), made(1000ms, 7, 0));
    EXPECT_EQ((*first_failed.ports.at(kPort))[kBytes8].value, 7U);
    EXPECT_EQ((*first_failed.ports.at(kPort))[kBytes8].change, Fact<CounterChange>(kFailure));
    const ChipCounters second_failed = changes_since(made(0ms, 7, 0), made_unread(1000ms));
    ASSERT_FALSE(second_failed.ports.at(kPort).is_read());
    EXPECT_EQ(*second_failed.ports.at(kPort).failure(), kFailure);
}

TEST_F(Counters, ThatMovedAreReadOnceMore) {
    setenv("HWA_SIM_SCENARIO", BUSY_SCENARIO, 1);
    setenv("HWA_SIM_CLOCK", "50ms", 1);
    open("port=2 code=17");
    Failures failures;
    const uint32_t ports[] = {1, 2};
    const ChipCounters before = read_counters(0, ports, failures);
    ASSERT_THAT(failures, SizeIs(1));
    const ChipCounters moved = moved_since(before, failures);
    EXPECT_THAT(failures, SizeIs(1)) << "port 2 is not read again";
    EXPECT_THAT(unread_ports(moved), ElementsAre(2));
    EXPECT_TRUE(moved.since.has_value());
    std::vector<uint32_t> offsets;
    for (const CounterValue &counter : *moved.ports.at(1)) {
        offsets.push_back(counter.which->offset);
        EXPECT_GT(counter.change->by, 0U);
    }
    EXPECT_THAT(offsets, ElementsAre(0x00, 0x18, 0x7C, 0x98));
    unsetenv("HWA_SIM_CLOCK");
}

// ---- All counters of a port together ----

std::vector<CounterValue> changed_by(const std::vector<Fact<CounterChange>> &changes) {
    std::vector<CounterValue> values;
    for (const Fact<CounterChange> &change : changes) {
        values.push_back({&kCounters[values.size()], 1000, change});
    }
    return values;
}

TEST(CounterTotal, IsTheSumOfKnownChanges) {
    const CounterChange one{1, 0.1};
    const CounterChange two{2, 0.2};
    EXPECT_EQ(total_of(changed_by({one, two})), Fact(CounterChange{3, 0.3}));
    EXPECT_EQ(total_of(changed_by({one, kFailure, two})), Fact(CounterChange{3, 0.3}));
    EXPECT_EQ(total_of(changed_by({kFailure, one})), Fact(one));
    EXPECT_EQ(total_of(changed_by({kFailure, kFailure})), Fact<CounterChange>(kFailure));
    EXPECT_EQ(total_of(changed_by({{}, {}})), Fact<CounterChange>());
    EXPECT_EQ(total_of({}), Fact<CounterChange>());
}

TEST(CounterTotal, HasNoRoomForMoreThanTheLargestNumber) {
    const CounterChange large{UINT64_MAX - 1, 1};
    EXPECT_EQ(total_of(changed_by({large, CounterChange{1, 0}}))->by, UINT64_MAX);
    EXPECT_EQ(total_of(changed_by({large, CounterChange{2, 0}}))->by, UINT64_MAX);
}

// ---- The order of ports ----

// Ports 0 to 4, of which the last was not read.
ChipCounters five_ports() {
    const auto values = [](uint64_t a, uint64_t b) {
        return std::vector<CounterValue>{{&kCounters[0], a}, {&kCounters[1], b}};
    };
    ChipCounters counters{0, std::chrono::steady_clock::time_point(0s), {}};
    counters.ports = {{0, values(5, 90)}, {1, values(7, 1)}, {2, values(0, 0)}, {3, values(7, 20)}, {4, kFailure}};
    return counters;
}

TEST(CounterOrder, IsByNumbersUnlessTheyAreSorted) {
    EXPECT_THAT(ports_of(five_ports()), ElementsAre(0, 1, 2, 3, 4));
}

TEST(CounterOrder, IsTheLargestFirstAndTheUnreadLast) {
    EXPECT_THAT(ports_of(sorted(five_ports(), nullptr, {})), ElementsAre(0, 3, 1, 2, 4));
    EXPECT_THAT(ports_of(sorted(five_ports(), &kCounters[0], {})), ElementsAre(1, 3, 0, 2, 4));
    EXPECT_THAT(ports_of(sorted(five_ports(), &kCounters[1], {})), ElementsAre(0, 3, 1, 2, 4));
    EXPECT_THAT(ports_of(sorted(five_ports(), &kCounters[2], {})), ElementsAre(0, 1, 2, 3, 4));
}

TEST(CounterOrder, KeepsAsManyAsAreWanted) {
    EXPECT_THAT(ports_of(sorted(five_ports(), nullptr, 2)), ElementsAre(0, 3));
    EXPECT_THAT(ports_of(sorted(five_ports(), nullptr, 24)), SizeIs(5));
    EXPECT_THAT(sorted(five_ports(), nullptr, 2).ports, SizeIs(5)) << "the readings stay whole";
}

TEST(CounterOrder, OfChangesIsByTheChanges) {
    ChipCounters before = five_ports();
    ChipCounters now = five_ports();
    now.time += 1s;
    now.ports[2] = std::vector<CounterValue>{{&kCounters[0], 3}, {&kCounters[1], 0}};
    before.ports[3] = kFailure;
    const ChipCounters changes = changes_since(before, now);
    EXPECT_THAT(ports_of(sorted(changes, nullptr, {})), ElementsAre(2, 0, 1, 3, 4));
}

std::vector<uint32_t> offsets_without_zeros(const ChipCounters &reading) {
    std::vector<uint32_t> offsets;
    const ChipCounters rest = without_zeros(reading);
    for (const CounterValue &counter : *rest.ports.at(kPort)) {
        offsets.push_back(counter.which->offset);
    }
    return offsets;
}

TEST(CounterZeros, AreValuesOrKnownChanges) {
    EXPECT_THAT(offsets_without_zeros(made(0ms, 0, 7)), ElementsAre(0x08));
    EXPECT_THAT(offsets_without_zeros(changes_since(made(0ms, 1, 7), made(1000ms, 0, 7))), ElementsAre(0x00));
    EXPECT_THAT(offsets_without_zeros(changes_since(made_unread(0ms), made(1000ms, 0, 7))), SizeIs(kCounterCount));
    EXPECT_FALSE(without_zeros(made_unread(0ms)).ports.at(kPort).is_read());
}

TEST(CounterRegisters, HaveTheirOwnLength) {
    const std::vector<Reading> readings = registers_of(without_zeros(made(0ms, 0x0102030405060708, 0x0A0B0C0D)));
    ASSERT_THAT(readings, SizeIs(2));
    EXPECT_STREQ(readings[0].name, "counter");
    EXPECT_EQ(readings[0].of->second, kPort);
    EXPECT_EQ(readings[0].page, 0x53U);
    EXPECT_EQ(readings[0].length, 8U);
    EXPECT_EQ(*readings[0].bytes, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(readings[1].offset, 0x08U);
    EXPECT_EQ(readings[1].length, 4U);
    EXPECT_EQ(*readings[1].bytes, (Bytes{0x0A, 0x0B, 0x0C, 0x0D}));
}

TEST(CounterRegisters, OfAPortThatWasNotReadAreAllNamed) {
    const std::vector<Reading> readings = registers_of(made_unread(0ms));
    ASSERT_THAT(readings, SizeIs(kCounterCount));
    for (size_t i = 0; i < kCounterCount; ++i) {
        EXPECT_EQ(readings[i].offset, kCounters[i].offset);
        EXPECT_EQ(readings[i].bytes, Fact<Bytes>(kFailure));
    }
}

} // namespace
