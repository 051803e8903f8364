// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/monitor.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <utility>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

const Failure kFailure{0, "operation", "link status", 17};
const Failure kOtherCode{0, "operation", "link status", 18};
const Failure kOtherRegister{0, "operation", "port speed", 17};

Look made(std::chrono::seconds time, std::vector<PortStatus> ports) {
    Look look{.chip = 0, .time = TimePoint(time)};
    look.ports = std::move(ports);
    return look;
}

PortStatus with_link(uint32_t port, uint32_t speed = 100) {
    return {port, true, {}, speed, Duplex::full};
}

PortStatus without_link(uint32_t port) {
    return {port, false, {}, {}, {}};
}

PortStatus not_read(uint32_t port) {
    return {port, kFailure, {}, kFailure, kFailure};
}

Difference link_of(uint32_t port, Fact<SeenValue> before, bool now) {
    return {&registers::link_status, port, std::move(before), now};
}

std::vector<uint32_t> numbers(const std::vector<SeenPort> &ports) {
    std::vector<uint32_t> list;
    std::transform(ports.begin(), ports.end(), std::back_inserter(list),
                   [](const SeenPort &port) { return port.status.port; });
    return list;
}

// ---- Differences ----

TEST(MonitorDifferences, AFirstLookTellsAllThatIsRead) {
    const uint32_t ports[] = {3, 5};
    Look now = made(1s, {with_link(3, 10), without_link(5)});
    now.self_test = SelfTest{false, {9}};
    const Difference self_test{&registers::self_test, std::nullopt, {}, SelfTest{false, {9}}};
    const Difference speed{&registers::port_speed, 3, {}, 10U};
    const Difference duplex{&registers::port_duplex, 3, {}, Duplex::full};
    EXPECT_THAT(differences(unseen(0, ports), now).values,
                ElementsAre(self_test, link_of(3, {}, true), speed, duplex, link_of(5, {}, false)));
}

TEST(MonitorDifferences, AreNoneWhereNothingChanged) {
    const Look look = made(1s, {with_link(3), without_link(5), not_read(6)});
    EXPECT_TRUE(differences(look, look).empty());
}

TEST(MonitorDifferences, ALostLinkIsOneOfThePortAlone) {
    const Differences found =
        differences(made(1s, {with_link(3), with_link(5)}), made(2s, {with_link(3), without_link(5)}));
    EXPECT_THAT(found.values, ElementsAre(link_of(5, SeenValue(true), false)));
    EXPECT_FALSE(found.empty());
}

TEST(MonitorDifferences, EachValueOfAChipIsCompared) {
    Look before = made(1s, {});
    before.self_test = SelfTest{true, {}};
    before.mode = Mode{true, true};
    before.trunks = false;
    before.trunk_group = TrunkGroup{true, {0, 1}};
    before.mirror = MirrorControl{false, {}};
    before.ingress_mirrored = PortNumbers{1};
    before.egress_mirrored = PortNumbers{2};
    const std::pair<const Register *, std::function<void(Look &)>> changes[] = {
        {&registers::self_test,
         [](Look &look) {
             look.self_test = SelfTest{false, {1}};
         }},
        {&registers::switch_mode,
         [](Look &look) {
             look.mode = Mode{true, false};
         }},
        {&registers::trunk_control, [](Look &look) { look.trunks = true; }},
        {&registers::trunk_group_0,
         [](Look &look) {
             look.trunk_group = TrunkGroup{true, {0}};
         }},
        {&registers::mirror_control,
         [](Look &look) {
             look.mirror = MirrorControl{true, {7}};
         }},
        {&registers::ingress_mirror_mask, [](Look &look) { look.ingress_mirrored = PortNumbers{}; }},
        {&registers::egress_mirror_mask,
         [](Look &look) {
             look.egress_mirrored = PortNumbers{2, 3};
         }},
    };
    for (const auto &[which, change] : changes) {
        Look now = before;
        change(now);
        const std::vector<Difference> found = differences(before, now).values;
        ASSERT_THAT(found, SizeIs(1)) << which->name;
        EXPECT_EQ(found[0].which, which);
        EXPECT_EQ(found[0].port, std::nullopt);
        EXPECT_TRUE(found[0].before.is_read());
    }
}

TEST(MonitorDifferences, AFailureBeginsAndEndsOnce) {
    Look fails = made(1s, {});
    fails.failures = {kFailure, kOtherRegister};
    const Look works = made(2s, {});
    EXPECT_THAT(differences(works, fails).begun, ElementsAre(kFailure, kOtherRegister));
    EXPECT_THAT(differences(works, fails).ended, IsEmpty());
    EXPECT_TRUE(differences(fails, fails).empty());
    EXPECT_THAT(differences(fails, works).ended, ElementsAre(kFailure, kOtherRegister));
    EXPECT_THAT(differences(fails, works).begun, IsEmpty());
}

TEST(MonitorDifferences, AnotherCodeOfTheSameReadEndsNothing) {
    Look before = made(1s, {});
    before.failures = {kFailure};
    Look now = made(2s, {});
    now.failures = {kOtherCode};
    EXPECT_THAT(differences(before, now).begun, ElementsAre(kOtherCode));
    EXPECT_THAT(differences(before, now).ended, IsEmpty());
}

// ---- What is known after several looks ----

TEST(MonitorSeen, WhatChangedWhileItCouldNotBeReadIsFoundAfterwards) {
    const uint32_t ports[] = {3, 5};
    Seen seen(0, ports);
    see(seen, made(1s, {with_link(3), with_link(5)}));
    EXPECT_THAT(see(seen, made(2s, {not_read(3), not_read(5)})).values, IsEmpty());
    EXPECT_FALSE(seen.last.ports[0].link.is_read());
    EXPECT_THAT(see(seen, made(3s, {with_link(3), without_link(5)})).values,
                ElementsAre(link_of(5, SeenValue(true), false)));
}

TEST(MonitorSeen, ANewLinkHasItsSpeedAgain) {
    const uint32_t ports[] = {3};
    Seen seen(0, ports);
    see(seen, made(1s, {with_link(3)}));
    see(seen, made(2s, {without_link(3)}));
    EXPECT_THAT(see(seen, made(3s, {with_link(3)})).values, SizeIs(3));
}

TEST(MonitorSeen, APortHasLostItsLinkForAWhile) {
    const uint32_t ports[] = {3, 5};
    Seen seen(0, ports);
    see(seen, made(100s, {with_link(3), without_link(5)}));
    EXPECT_EQ(seen_ports(seen)[1].lost, std::nullopt) << "it never had one";
    see(seen, made(102s, {without_link(3), without_link(5)}));
    see(seen, made(105s, {with_link(3), without_link(5)}));
    EXPECT_EQ(seen_ports(seen)[0].lost, Seconds(3)) << "it lost one even if it has a new one";
    EXPECT_EQ(seen_ports(seen)[1].lost, std::nullopt);
    see(seen, made(102s + kLately, {with_link(3), without_link(5)}));
    EXPECT_EQ(seen_ports(seen)[0].lost, Seconds(kLately));
    see(seen, made(103s + kLately, {with_link(3), without_link(5)}));
    EXPECT_EQ(seen_ports(seen)[0].lost, std::nullopt);
}

ChipCounters counters_of(uint32_t port, std::chrono::seconds time, uint64_t value) {
    return {0, TimePoint(time), {{port, std::vector<CounterValue>{{&kCounters[0], value}, {&kCounters[1], value}}}}};
}

TEST(MonitorSeen, CountersHaveRatesFromTheSecondLookOn) {
    const uint32_t ports[] = {3};
    Seen seen(0, ports);
    Look first = made(1s, {with_link(3)});
    first.counters = counters_of(3, 1s, 10);
    see(seen, first);
    EXPECT_EQ((*seen_ports(seen)[0].counters)[0].change, Fact<CounterChange>());
    EXPECT_EQ(seen_ports(seen)[0].rate(), 0);
    Look second = made(3s, {with_link(3)});
    second.counters = counters_of(3, 3s, 30);
    see(seen, second);
    EXPECT_EQ((*seen_ports(seen)[0].counters)[0].change, Fact(CounterChange{20, 10.0}));
    EXPECT_EQ(seen_ports(seen)[0].rate(), 20);
}

// ---- The ports as one list ----

SeenPort listed(uint32_t chip, uint32_t port) {
    return {chip, without_link(port), false, false, MirrorRole::none, {}, {}};
}

SeenPort busy(uint32_t port, double rate) {
    SeenPort made = listed(0, port);
    made.counters = std::vector<CounterValue>{{&kCounters[0], 0, CounterChange{0, rate}},
                                              {&kCounters[1], 0, CounterChange{0, 1.0}},
                                              {&kCounters[2], 0, kFailure}};
    return made;
}

TEST(MonitorOrder, BusiestFirstThenByNumber) {
    std::vector<SeenPort> ports = {listed(0, 1), busy(2, 5), busy(3, 7.5), listed(0, 0)};
    sort(ports, Order::busiest);
    EXPECT_THAT(numbers(ports), ElementsAre(3, 2, 0, 1));
}

SeenPort spoiling(uint32_t port, uint64_t errors) {
    SeenPort made = busy(port, 1);
    made.errors = errors;
    return made;
}

TEST(MonitorOrder, WorstHasMostErrorsFirstAfterLostLinks) {
    SeenPort lost = spoiling(9, 1);
    lost.lost = Seconds(9);
    std::vector<SeenPort> ports = {listed(0, 0), spoiling(1, 1), spoiling(2, 7), lost, spoiling(3, 0)};
    sort(ports, Order::worst);
    EXPECT_THAT(numbers(ports), ElementsAre(9, 2, 1, 0, 3));
    sort(ports, Order::busiest);
    EXPECT_THAT(numbers(ports), ElementsAre(1, 2, 3, 9, 0)) << "errors are traffic like any other";
}

TEST(MonitorSeen, ErrorsAreTheCountersThatAreNamedSo) {
    const uint32_t ports[] = {3};
    const CounterNames names = {{kCounters[0].offset, {"spoiled", "", true}},
                                {kCounters[1].offset, {"pieces", "", false}}};
    Seen seen(0, ports);
    for (const auto &[time, value] : {std::pair(1s, 10U), std::pair(3s, 30U)}) {
        Look look = made(time, {with_link(3)});
        look.counters = counters_of(3, time, value);
        see(seen, look);
    }
    EXPECT_EQ(seen_ports(seen, names)[0].errors, 20U);
    EXPECT_EQ(seen_ports(seen)[0].errors, 0U);
    Look unread = made(4s, {with_link(3)});
    unread.counters = ChipCounters{0, TimePoint(4s), {{3, kFailure}}};
    see(seen, unread);
    EXPECT_EQ(seen_ports(seen, names)[0].errors, 0U);
}

TEST(MonitorOrder, ByNumberIsByChipFirst) {
    std::vector<SeenPort> ports = {listed(1, 0), busy(7, 5), listed(0, 2)};
    sort(ports, Order::by_number);
    EXPECT_THAT(numbers(ports), ElementsAre(2, 7, 0));
}

TEST(MonitorOrder, WorstIsNotReadThenFailedThenLostLately) {
    SeenPort unread = listed(0, 20);
    unread.status = not_read(20);
    SeenPort without_counters = listed(0, 21);
    without_counters.counters = kFailure;
    SeenPort failed = listed(0, 10);
    failed.failed = true;
    SeenPort lost_before = listed(0, 5);
    lost_before.lost = Seconds(9);
    SeenPort lost_just_now = listed(0, 6);
    lost_just_now.lost = Seconds(1);
    std::vector<SeenPort> ports = {listed(0, 0), busy(1, 9),       lost_before,   lost_just_now,
                                   failed,       without_counters, listed(0, 30), unread};
    sort(ports, Order::worst);
    EXPECT_THAT(numbers(ports), ElementsAre(20, 21, 10, 6, 5, 0, 1, 30));
}

// ---- A look at a hub ----

using Monitor = hub_test::HubTest;

TEST_F(Monitor, SeesTheChipAndThePortsThatAreWanted) {
    open();
    const uint32_t ports[] = {0, 6, 9};
    const Look look = look_at(0, ports, WithCounters::no);
    EXPECT_THAT(look.failures, IsEmpty());
    EXPECT_FALSE(look.counters);
    ASSERT_THAT(look.ports, SizeIs(3));
    EXPECT_EQ(look.ports[1].port, 6U);
    EXPECT_EQ(look.ports[1].speed, Fact<uint32_t>(10));
    EXPECT_EQ(look.trunks, Fact(true));
    EXPECT_EQ(look.trunk_group, Fact(TrunkGroup{true, {22, 23}}));
    EXPECT_TRUE(look.self_test.is_read() && look.mode.is_read() && look.mirror.is_read());
}

TEST_F(Monitor, LeavesTheChangeMarks) {
    open();
    uint8_t link[4];
    uint8_t change[4];
    ASSERT_EQ(ksl_read_link_status_regs(0, link, change), 0); // clears them
    ASSERT_EQ(ksl_deactivate_port(0, 2), 0);
    look_at(0, all_ports(), WithCounters::yes);
    ASSERT_EQ(ksl_read_link_status_regs(0, link, change), 0);
    EXPECT_THAT(change, ElementsAre(0, 0, 0, 4));
}

TEST_F(Monitor, CountsOnlyWhenAsked) {
    open("port=3 code=17");
    const uint32_t ports[] = {2, 3};
    EXPECT_THAT(look_at(0, all_ports(), WithCounters::yes).counters->ports, SizeIs(24));
    Seen seen(0, ports);
    see(seen, look_at(0, ports, WithCounters::yes));
    const std::vector<SeenPort> found = seen_ports(seen);
    EXPECT_THAT(*found[0].counters, SizeIs(kCounterCount));
    ASSERT_NE(found[1].counters.failure(), nullptr);
    EXPECT_EQ(found[1].counters.failure()->about, "counters of port 3 (page 0x53)");
    EXPECT_TRUE(found[1].is_unread());
    EXPECT_FALSE(found[0].is_unread());
}

TEST_F(Monitor, SpeedIsNotReadWhereTheLinkIsNot) {
    open("page=1 offset=0x10 code=17");
    const uint32_t ports[] = {0};
    const Look look = look_at(0, ports, WithCounters::no);
    ASSERT_THAT(look.failures, SizeIs(1));
    EXPECT_EQ(look.ports[0].link, Fact<bool>(look.failures[0]));
    EXPECT_EQ(look.ports[0].speed, Fact<uint32_t>(look.failures[0]));
    EXPECT_EQ(look.ports[0].duplex, Fact<Duplex>(look.failures[0]));
}

TEST_F(Monitor, TellsWhichPortsAreMirroredAndInATrunk) {
    open();
    ASSERT_EQ(ksl_set_mirror_port(0, 7, 2, 5), 0);
    Seen seen(0, all_ports());
    see(seen, look_at(0, all_ports(), WithCounters::no));
    std::vector<SeenPort> ports = seen_ports(seen);
    EXPECT_EQ(ports[1].mirroring, Fact(MirrorRole::none));
    EXPECT_EQ(ports[2].mirroring, Fact(MirrorRole::mirrored));
    EXPECT_EQ(ports[7].mirroring, Fact(MirrorRole::capture));
    EXPECT_EQ(ports[22].in_trunk, Fact(true));
    EXPECT_EQ(ports[21].in_trunk, Fact(false));
    seen.last.mirror = MirrorControl{false, {7}};
    seen.last.trunk_group = TrunkGroup{false, {22, 23}};
    ports = seen_ports(seen);
    EXPECT_EQ(ports[2].mirroring, Fact(MirrorRole::none));
    EXPECT_EQ(ports[7].mirroring, Fact(MirrorRole::none));
    EXPECT_EQ(ports[22].in_trunk, Fact(false)) << "the group's flag is clear";
    seen.last.mirror = kFailure;
    EXPECT_EQ(seen_ports(seen)[2].mirroring, Fact<MirrorRole>(kFailure));
}

TEST_F(Monitor, AnAbsentChipIsNotRead) {
    open();
    const Look look = look_at(9, all_ports(), WithCounters::no);
    EXPECT_THAT(look.failures, SizeIs(9));
    EXPECT_TRUE(differences(unseen(9, all_ports()), look).values.empty());
}

} // namespace
