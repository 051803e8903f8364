// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "forwarding/trace_points.h"

#include <cstring>
#include <set>

namespace ksl::test {
namespace {

class Trunk : public Opened {
protected:
    static constexpr uint32_t kPage = 0x32;

    void holds(uint8_t control, uint32_t group0) {
        platform.registers[{kPage, 0x00}] = {control};
        platform.registers[{kPage, 0x10}] = bytes_of(group0);
    }
};

// ---- Reading ----

class TrunkRead : public Trunk {
protected:
    TrunkRead() { std::memset(&memory, 0xEE, sizeof memory); }

    struct {
        ksl_trunk_group_regs regs;
        uint8_t margin[4];
    } memory;

    // The record's bytes: `expected` first, the rest as the caller had it.
    testing::AssertionResult contains(Bytes expected) const {
        expected.resize(sizeof memory, 0xEE);
        const auto first = reinterpret_cast<const uint8_t *>(&memory);
        return Bytes(first, first + sizeof memory) == expected ? testing::AssertionSuccess()
                                                               : testing::AssertionFailure();
    }
};

TEST_F(TrunkRead, GivesControlAndTwiceTheFirstGroup) {
    platform.successive_reads = {{0x81}, {0x11, 0x12, 0x13, 0x14}, {0x21, 0x22, 0x23, 0x24}};
    EXPECT_EQ(ksl_read_trunk_group_regs(0x102, &memory.regs), 0);
    EXPECT_TRUE(contains({0x81, 0, 0, 0, 0x11, 0x12, 0x13, 0x14, 0x21, 0x22, 0x23, 0x24}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_trunk_group_regs_entry, 0x102),
                                   getreg(2, kPage, 0x00, 1),
                                   record(points::status_bytes_1, 0x81),
                                   record(points::read_trunk_group_regs_control, 0x102, &memory.regs.control),
                                   getreg(2, kPage, 0x10, 4),
                                   record(points::status_bytes_4, 0x11, 0x12, 0x13, 0x14),
                                   record(points::read_trunk_group_regs_group0, 0x102, &memory.regs.group0),
                                   getreg(2, kPage, 0x10, 4),
                                   record(points::status_bytes_4, 0x21, 0x22, 0x23, 0x24),
                                   record(points::read_trunk_group_regs_group0_again, 0x102, &memory.regs.group0_again),
                                   record(points::read_trunk_group_regs_exit, 0),
                                   stamp_end(),
                               }));
}

TEST_F(TrunkRead, TheFirstFailureEndsIt) {
    for (const int32_t code : kFailureCodes) {
        platform.failing_reads_deliver = true;
        const Bytes control{0x81, 0, 0, 0};
        const Bytes both{0x81, 0, 0, 0, 0x11, 0x12, 0x13, 0x14};
        for (uint32_t failing = 1; failing <= 3; ++failing) {
            SCOPED_TRACE(failing);
            std::memset(&memory, 0xEE, sizeof memory);
            holds(0x81, 0x11121314);
            platform.failures = {{failing, code}};
            EXPECT_EQ(ksl_read_trunk_group_regs(0, &memory.regs), code);
            EXPECT_TRUE(contains(failing == 1 ? Bytes{} : failing == 2 ? control : both));
            Calls calls{stamp_start(), record(points::read_trunk_group_regs_entry, 0), getreg(0, kPage, 0x00, 1)};
            if (failing == 1) {
                calls += {record(points::register_read_failed, kPage, 0, 1)};
            } else {
                calls +=
                    {record(points::status_bytes_1, 0x81),
                     record(points::read_trunk_group_regs_control, 0, &memory.regs.control), getreg(0, kPage, 0x10, 4)};
            }
            if (failing == 3) {
                calls +=
                    {record(points::status_bytes_4, 0x11, 0x12, 0x13, 0x14),
                     record(points::read_trunk_group_regs_group0, 0, &memory.regs.group0), getreg(0, kPage, 0x10, 4)};
            }
            if (failing != 1) {
                calls += {record(points::register_read_failed, kPage, 0x10, 4)};
            }
            EXPECT_EQ(platform.take(), calls += Calls({record(points::read_trunk_group_regs_exit, code), stamp_end()}));
        }
    }
}

TEST_F(TrunkRead, FailsWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_trunk_group_regs(0, &memory.regs), -1);
    EXPECT_TRUE(contains({}));
    EXPECT_EQ(platform.take(),
              (Calls{stamp_start(), record(points::read_trunk_group_regs_entry, 0), lookup_missing("hwa_getreg"),
                     record(points::getreg_missing), record(points::register_read_failed, kPage, 0, 1),
                     record(points::read_trunk_group_regs_exit, -1), stamp_end()}));
}

TEST_F(TrunkRead, LeavesAtOnceWithoutAnOutput) {
    ksl_enable_time();
    EXPECT_EQ(ksl_read_trunk_group_regs(3, nullptr), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_trunk_group_regs_entry, 3)}));
}

TEST_F(TrunkRead, StartsEveryReadFromAClearedBuffer) {
    platform.delivered_bytes = 1;
    platform.successive_reads = {{0x81}, {0x11, 0x12, 0x13, 0x14}, {0x21, 0x22, 0x23, 0x24}};
    EXPECT_EQ(ksl_read_trunk_group_regs(0, &memory.regs), 0);
    EXPECT_TRUE(contains({0x81, 0, 0, 0, 0x11, 0, 0, 0, 0x21, 0, 0, 0}));
}

// ---- Validating ----

class TrunkValidation : public Trunk {
protected:
    uint32_t verdict = 0xEEEEEEEE;

    // The inner read fills a record of the operation, whose address the test does not know.
    static Calls without_addresses(const Calls &calls) {
        Calls kept;
        for (const Call &call : calls) {
            const bool address = call.identifier == points::read_trunk_group_regs_control.identifier ||
                                 call.identifier == points::read_trunk_group_regs_group0.identifier ||
                                 call.identifier == points::read_trunk_group_regs_group0_again.identifier;
            if (!address) {
                kept.push_back(call);
            }
        }
        return kept;
    }

    // Its calls before and after a successful read.
    Calls successful(uint32_t chip, uint32_t group, uint32_t port_a, uint32_t port_b) {
        const Bytes control = platform.registers[{kPage, 0x00}];
        const Bytes group0 = platform.registers[{kPage, 0x10}];
        const Call group0_dump = record(points::status_bytes_4, std::vector<uint32_t>(group0.begin(), group0.end()));
        Calls calls{
            stamp_start(),
            record(points::validate_trunk_group_entry, chip, group, port_a, port_b, &verdict),
            stamp_start(),
            record(points::read_trunk_group_regs_entry, chip),
            getreg(chip & 0xFF, kPage, 0x00, 1),
            record(points::status_bytes_1, control[0]),
            getreg(chip & 0xFF, kPage, 0x10, 4),
            group0_dump,
            getreg(chip & 0xFF, kPage, 0x10, 4),
            group0_dump,
            record(points::read_trunk_group_regs_exit, 0),
            stamp_end(),
        };
        if (group == 1) {
            calls += {record(points::validate_trunk_group_group1, 1)};
        }
        return calls += {record(points::validate_trunk_group_exit, 0), stamp_end()};
    }
};

TEST_F(TrunkValidation, ConfirmsTwoMembersOfTheEnabledGroup) {
    holds(0x02, 0x08000003);
    EXPECT_EQ(ksl_validate_trunk_group(0x102, 0, 0, 1, &verdict), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_EQ(without_addresses(platform.take()), successful(0x102, 0, 0, 1));
    EXPECT_EQ(ksl_validate_trunk_group(0x102, 0, 0, 2, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(without_addresses(platform.take()), successful(0x102, 0, 0, 2));
}

TEST_F(TrunkValidation, EveryPortHasItsBit) {
    for (uint32_t a = 0; a < 24; ++a) {
        for (uint32_t b = 0; b < 24; ++b) {
            SCOPED_TRACE(std::to_string(a) + " " + std::to_string(b));
            const uint32_t members = 1u << a | 1u << b;
            holds(0x02, 0x08000000 | members);
            EXPECT_EQ(ksl_validate_trunk_group(0, 0, a, b, &verdict), 0);
            EXPECT_EQ(verdict, 1u);
            // All bits but one of the two.
            for (const uint32_t absent : {a, b}) {
                holds(0xFF, 0xFFFFFFFF & ~(1u << absent));
                EXPECT_EQ(ksl_validate_trunk_group(0, 0, a, b, &verdict), 0);
                EXPECT_EQ(verdict, 0u);
            }
            platform.take();
        }
    }
}

TEST_F(TrunkValidation, EnableAndGroupFlagDecideToo) {
    struct {
        uint8_t control;
        uint32_t group0;
        uint32_t verdict;
    } const rows[] = {
        {0x02, 0x08000003, 1}, {0xFD, 0x08000003, 0}, {0x00, 0x08000003, 0}, {0xFF, 0x08000003, 1},
        {0x02, 0xF7FFFFFF, 0}, {0x02, 0x00000003, 0}, {0x02, 0xFFFFFFFF, 1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.group0);
        holds(row.control, row.group0);
        verdict = 0xEEEEEEEE;
        EXPECT_EQ(ksl_validate_trunk_group(0, 0, 1, 0, &verdict), 0);
        EXPECT_EQ(verdict, row.verdict);
    }
}

// The first of the two reads of the group decides.
TEST_F(TrunkValidation, TheSecondReadOfTheGroupDoesNotCount) {
    platform.successive_reads = {{0x02}, {0x08, 0, 0, 3}, {0, 0, 0, 0}};
    EXPECT_EQ(ksl_validate_trunk_group(0, 0, 0, 1, &verdict), 0);
    EXPECT_EQ(verdict, 1u);
    platform.successive_reads = {{0x02}, {0, 0, 0, 0}, {0x08, 0, 0, 3}};
    EXPECT_EQ(ksl_validate_trunk_group(0, 0, 0, 1, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
}

TEST_F(TrunkValidation, NeverConfirmsTheOtherGroup) {
    holds(0xFF, 0xFFFFFFFF);
    EXPECT_EQ(ksl_validate_trunk_group(1, 1, 2, 3, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(without_addresses(platform.take()), successful(1, 1, 2, 3));
}

TEST_F(TrunkValidation, ReadsIntoItsOwnRecord) {
    holds(0x02, 0x08000003);
    ksl_validate_trunk_group(7, 0, 0, 1, &verdict);
    Calls words;
    for (const Call &call : platform.take()) {
        if (call.values == 2 && call.identifier >> 16 == points::read_trunk_group_regs_control.identifier >> 16) {
            words.push_back(call);
        }
    }
    ASSERT_EQ(words.size(), 3u);
    EXPECT_EQ(words[0].identifier, points::read_trunk_group_regs_control.identifier);
    EXPECT_EQ(words[1].identifier, points::read_trunk_group_regs_group0.identifier);
    EXPECT_EQ(words[2].identifier, points::read_trunk_group_regs_group0_again.identifier);
    for (const Call &word : words) {
        EXPECT_NE(word.text.find("slots: 0x7 "), std::string::npos) << word.text;
    }
}

TEST_F(TrunkValidation, RefusesOtherArgumentsAndLeavesTheVerdict) {
    struct {
        uint32_t group;
        uint32_t port_a;
        uint32_t port_b;
    } const rows[] = {
        {0, 24, 0}, {0, 0, 24}, {2, 0, 0}, {0xFFFFFFFF, 0, 0}, {0, 0xFFFFFFFF, 0}, {0, 0, 0xFFFFFFFF}, {0, 0x100, 0},
    };
    ksl_enable_time();
    for (const auto &row : rows) {
        EXPECT_EQ(ksl_validate_trunk_group(3, row.group, row.port_a, row.port_b, &verdict), -1);
        EXPECT_EQ(verdict, 0xEEEEEEEE);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::validate_trunk_group_entry, 3, row.group,
                                                                row.port_a, row.port_b, &verdict)}));
    }
    uint32_t *const none = nullptr;
    EXPECT_EQ(ksl_validate_trunk_group(3, 0, 1, 2, none), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::validate_trunk_group_entry, 3, 0, 1, 2, none)}));
}

TEST_F(TrunkValidation, AcceptsTheLastPortAndTheLastGroup) {
    holds(0x02, 0x08800000);
    EXPECT_EQ(ksl_validate_trunk_group(0, 0, 23, 23, &verdict), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_EQ(ksl_validate_trunk_group(0, 1, 23, 23, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
}

TEST_F(TrunkValidation, AFailedReadIsNoConfirmation) {
    for (const int32_t code : kFailureCodes) {
        for (uint32_t failing = 1; failing <= 3; ++failing) {
            for (const uint32_t group : {0u, 1u}) {
                holds(0xFF, 0xFFFFFFFF);
                verdict = 0xEEEEEEEE;
                platform.failures = {{failing, code}};
                EXPECT_EQ(ksl_validate_trunk_group(3, group, 0, 1, &verdict), code);
                EXPECT_EQ(verdict, 0u);
                const Calls calls = platform.take();
                ASSERT_GE(calls.size(), 5u);
                EXPECT_EQ((Calls{calls.end() - 5, calls.end()}),
                          (Calls{record(points::read_trunk_group_regs_exit, code), stamp_end(),
                                 record(points::validate_trunk_group_read_failed),
                                 record(points::validate_trunk_group_exit, code), stamp_end()}));
            }
        }
    }
}

TEST_F(TrunkValidation, TheVerdictIsNoBeforeAnythingIsRead) {
    holds(0x02, 0x08000003);
    std::vector<uint32_t> verdicts;
    platform.on_call = [&](const std::string &text) {
        if (text.find("hwa_getreg") != std::string::npos) {
            verdicts.push_back(verdict);
        }
    };
    EXPECT_EQ(ksl_validate_trunk_group(0, 0, 0, 1, &verdict), 0);
    EXPECT_EQ(std::set<uint32_t>(verdicts.begin(), verdicts.end()), std::set<uint32_t>{0});
    EXPECT_EQ(verdict, 1u);
}

// The inner read overwrites the start stamp.
TEST_F(TrunkValidation, ItsRunTimeBeginsWithTheRead) {
    ksl_enable_time();
    platform.clock_step = 31;
    EXPECT_EQ(ksl_validate_trunk_group(0, 0, 0, 0, &verdict), 0);
    EXPECT_EQ(platform.take().back().text, record(points::elapsed_time, 62).text);
}

} // namespace
} // namespace ksl::test
