// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "forwarding/trace_points.h"

#include <utility>

namespace ksl::test {
namespace {

constexpr uint32_t kPage = 0x41;

// ---- The two numbers of a port that can be read ----

struct Number {
    const char *name;
    int32_t (*get)(uint32_t chip, uint32_t port, uint32_t *out);
    uint32_t base;
    TracePoint entry;
    TracePoint refused;
    TracePoint failed;
    TracePoint exit;

    friend void PrintTo(const Number &row, std::ostream *out) { *out << row.name; }
};

class LearningNumber : public Opened, public testing::WithParamInterface<Number> {
protected:
    const Number &row = GetParam();
    uint32_t out = 0xABCD1234;
};

TEST_P(LearningNumber, IsReadForEveryPort) {
    for (uint32_t port = 0; port < 24; ++port) {
        const uint32_t offset = row.base + 2 * port;
        platform.registers = {{{kPage, offset}, {0x92, static_cast<uint8_t>(0x40 + port)}}};
        out = 77 + port;
        EXPECT_EQ(row.get(0x102, port, &out), 0);
        EXPECT_EQ(out, 0x1240 + port);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(row.entry, 0x102, port, 77 + port),
                                       getreg(2, kPage, offset, 2),
                                       record(points::status_bytes_2, 0x92, 0x40 + port),
                                       record(row.exit, 0, port, 0x1240 + port),
                                       stamp_end(),
                                   }));
    }
}

TEST_P(LearningNumber, HasThirteenBits) {
    for (uint32_t bit = 0; bit < 16; ++bit) {
        const uint32_t value = 1u << bit;
        platform.registers[{kPage, row.base}] = {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
        EXPECT_EQ(row.get(0, 0, &out), 0);
        EXPECT_EQ(out, bit < 13 ? value : 0u);
    }
    platform.registers[{kPage, row.base}] = {0xFF, 0xFF};
    EXPECT_EQ(row.get(0, 0, &out), 0);
    EXPECT_EQ(out, 8191u);
}

TEST_P(LearningNumber, OfAPortAboveTheLastIsThePlaceholder) {
    for (const uint32_t port : {24u, 0x100u, 0x80000000u, 0xFFFFFFFFu}) {
        out = 55;
        EXPECT_EQ(row.get(3, port, &out), -1);
        EXPECT_EQ(out, 1234u);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(row.entry, 3, port, 55), record(row.refused, port),
                                          record(row.exit, -1, port, 1234), stamp_end()}));
    }
}

TEST_P(LearningNumber, IsThePlaceholderAfterAFailedRead) {
    platform.failing_reads_deliver = true;
    for (const int32_t code : kFailureCodes) {
        for (const uint32_t port : {0u, 23u}) {
            platform.registers[{kPage, row.base + 2 * port}] = {0x12, 0x34};
            out = 55;
            platform.failures[1] = code;
            EXPECT_EQ(row.get(0, port, &out), code);
            EXPECT_EQ(out, 1234u);
            EXPECT_EQ(platform.take(), (Calls{
                                           stamp_start(),
                                           record(row.entry, 0, port, 55),
                                           getreg(0, kPage, row.base + 2 * port, 2),
                                           record(row.failed, kPage, row.base + 2 * port, 2),
                                           record(row.exit, code, port, 1234),
                                           stamp_end(),
                                       }));
        }
    }
}

TEST_P(LearningNumber, IsThePlaceholderWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(row.get(0, 1, &out), -1);
    EXPECT_EQ(out, 1234u);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(row.entry, 0, 1, 0xABCD1234), lookup_missing("hwa_getreg"),
                                      record(points::getreg_missing), record(row.failed, kPage, row.base + 2, 2),
                                      record(row.exit, -1, 1, 1234), stamp_end()}));
}

TEST_P(LearningNumber, IsReadIntoAClearedBuffer) {
    platform.delivered_bytes = 1;
    platform.registers[{kPage, row.base}] = {0x12, 0x34};
    EXPECT_EQ(row.get(0, 0, &out), 0);
    EXPECT_EQ(out, 0x1200u);
}

// The placeholder is stored before the chip is read.
TEST_P(LearningNumber, ThePlaceholderComesFirst) {
    uint32_t seen = 0;
    platform.on_call = [&](const std::string &text) {
        if (text.find("hwa_getreg") != std::string::npos) {
            seen = out;
        }
    };
    EXPECT_EQ(row.get(0, 0, &out), 0);
    EXPECT_EQ(seen, 1234u);
}

INSTANTIATE_TEST_SUITE_P(
    Learning, LearningNumber,
    testing::Values(Number{"count", ksl_get_SA_count_at_port, 0x30, points::get_sa_count_at_port_entry,
                           points::get_sa_count_at_port_port_refused, points::get_sa_count_at_port_read_failed,
                           points::get_sa_count_at_port_exit},
                    Number{"limit", ksl_get_learning_threshold_at_port, 0x70,
                           points::get_learning_threshold_at_port_entry,
                           points::get_learning_threshold_at_port_port_refused,
                           points::get_learning_threshold_at_port_read_failed,
                           points::get_learning_threshold_at_port_exit}),
    [](const auto &row) { return std::string(row.param.name); });

// ---- Setting the learning limit ----

using LearningLimit = Opened;

TEST_F(LearningLimit, IsWrittenAsThirteenBits) {
    const std::pair<uint32_t, Bytes> rows[] = {
        {0, {0x00, 0x00}}, {1, {0x00, 0x01}}, {0x1234, {0x12, 0x34}}, {8191, {0x1F, 0xFF}}, {8192, {0x00, 0x00}},
    };
    for (const auto &[limit, bytes] : rows) {
        for (const uint32_t port : {0u, 1u, 23u}) {
            EXPECT_EQ(ksl_set_learning_threshold_at_port(0x102, port, limit), 0);
            EXPECT_EQ(platform.take(), (Calls{
                                           stamp_start(),
                                           record(points::set_learning_threshold_at_port_entry, 0x102, port, limit),
                                           setreg(2, kPage, 0x70 + 2 * port, bytes),
                                           record(points::set_learning_threshold_at_port_exit, 0, port, limit),
                                           stamp_end(),
                                       }));
        }
    }
}

TEST_F(LearningLimit, HasZerosAfterTheBytesWritten) {
    Bytes buffer;
    platform.on_call = [&](const std::string &text) {
        if (text.find("hwa_setreg") != std::string::npos && !platform.buffers.empty()) {
            const auto *const bytes = static_cast<const uint8_t *>(platform.buffers.back());
            buffer.assign(bytes, bytes + 12);
        }
    };
    EXPECT_EQ(ksl_set_learning_threshold_at_port(0, 0, 0x1234), 0);
    Bytes expected(12, 0);
    expected[0] = 0x12;
    expected[1] = 0x34;
    EXPECT_EQ(buffer, expected);
}

TEST_F(LearningLimit, AboveTheHighestIsRefused) {
    for (const uint32_t limit : {8193u, 0x10000u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_set_learning_threshold_at_port(3, 23, limit), -1);
        EXPECT_EQ(platform.take(),
                  (Calls{stamp_start(), record(points::set_learning_threshold_at_port_entry, 3, 23, limit),
                         record(points::set_learning_threshold_at_port_limit_refused, limit),
                         record(points::set_learning_threshold_at_port_exit, -1, 23, limit), stamp_end()}));
    }
}

TEST_F(LearningLimit, OfAPortAboveTheLastIsRefusedFirst) {
    for (const uint32_t port : {24u, 0x100u, 0xFFFFFFFFu}) {
        for (const uint32_t limit : {5u, 9000u}) {
            EXPECT_EQ(ksl_set_learning_threshold_at_port(3, port, limit), -1);
            EXPECT_EQ(platform.take(),
                      (Calls{stamp_start(), record(points::set_learning_threshold_at_port_entry, 3, port, limit),
                             record(points::set_learning_threshold_at_port_port_refused, port),
                             record(points::set_learning_threshold_at_port_exit, -1, port, limit), stamp_end()}));
        }
    }
}

TEST_F(LearningLimit, AFailedWriteHasTheSecondOfTheWriteRecords) {
    for (const int32_t code : kFailureCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_set_learning_threshold_at_port(0, 5, 9), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_learning_threshold_at_port_entry, 0, 5, 9),
                                       setreg(0, kPage, 0x7A, {0, 9}),
                                       record(points::second_register_write_failed, kPage, 0x7A, 2),
                                       record(points::set_learning_threshold_at_port_exit, code, 5, 9),
                                       stamp_end(),
                                   }));
    }
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_set_learning_threshold_at_port(0, 5, 9), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::set_learning_threshold_at_port_entry, 0, 5, 9),
                                   lookup_missing("hwa_setreg"),
                                   record(points::setreg_missing),
                                   record(points::second_register_write_failed, kPage, 0x7A, 2),
                                   record(points::set_learning_threshold_at_port_exit, -1, 5, 9),
                                   stamp_end(),
                               }));
}

// ---- The MAC filter ----

using MacFilter = Opened;

TEST_F(MacFilter, TouchesNothing) {
    for (const auto &[chip, filter] : {std::pair{0u, 0u}, {0x102u, 7u}, {0xFFFFFFFFu, 0xFFFFFFFFu}}) {
        EXPECT_EQ(ksl_set_MAC_filter(chip, filter), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_mac_filter_entry, chip, filter),
                                       record(points::set_mac_filter_nothing_sent),
                                       record(points::set_mac_filter_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

} // namespace
} // namespace ksl::test
