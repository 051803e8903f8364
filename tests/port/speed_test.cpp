// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "port/trace_points.h"

namespace ksl::test {
namespace {

class PortSpeed : public Opened {
protected:
    uint32_t out = 0xEEEEEEEE;

    Call read_failed(uint32_t port) { return record(points::get_port_speed_read_failed, port + 0x10, 0x30, 2); }

    // The calls of a successful change of PHY control of port 3 on chip 2.
    Calls change(uint32_t speed, const Bytes &before, const Bytes &after) {
        return {
            stamp_start(),
            record(points::set_port_speed_entry, 0x102, 3, speed),
            record(points::set_port_speed_access),
            getreg(2, 0x13, 0x00, 2),
            record(points::status_bytes_2, before[0], before[1]),
            setreg(2, 0x13, 0x00, after),
            record(points::set_port_speed_exit, 0, speed == 100 ? 1 : 0),
            stamp_end(),
        };
    }
};

// ---- Reading ----

TEST_F(PortSpeed, IsBitOneOfTheSecondByte) {
    const struct {
        Bytes bytes;
        uint32_t speed;
    } rows[] = {
        {{0x00, 0x02}, 1}, {{0xFF, 0xFD}, 0}, {{0xFF, 0xFF}, 1}, {{0x00, 0x00}, 0},
        {{0x02, 0x01}, 0}, {{0x00, 0x04}, 0}, {{0x00, 0x03}, 1}, {{0xFE, 0x06}, 1},
    };
    for (const auto &row : rows) {
        out = 0xEEEEEEEE;
        platform.registers[{0x13, 0x30}] = row.bytes;
        EXPECT_EQ(ksl_get_port_speed(0x102, 3, &out), 0);
        EXPECT_EQ(out, row.speed);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::get_port_speed_entry, 0x102),
                                       getreg(2, 0x13, 0x30, 2),
                                       record(points::status_bytes_2, row.bytes[0], row.bytes[1]),
                                       record(points::get_port_speed_exit, address(&out)),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PortSpeed, AFailedReadHasItsOwnRecord) {
    platform.failing_reads_deliver = true;
    platform.registers[{0x13, 0x30}] = {0xFF, 0xFF};
    for (const int32_t code : kCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_get_port_speed(0, 3, &out), code);
        EXPECT_EQ(out, 0xEEEEEEEE);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::get_port_speed_entry, 0),
                                       getreg(0, 0x13, 0x30, 2),
                                       read_failed(3),
                                       record(points::get_port_speed_exit, address(&out)),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PortSpeed, IsNotReadWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    ksl_enable_time();
    EXPECT_EQ(ksl_get_port_speed(0, 0, &out), -1);
    EXPECT_EQ(out, 0xEEEEEEEE);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::get_port_speed_entry, 0),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   read_failed(0),
                                   record(points::get_port_speed_exit, address(&out)),
                                   stamp_end(),
                                   record(points::elapsed_time, 7u),
                               }));
}

struct PortPage {
    uint32_t port;
    uint32_t page;
    uint32_t traced_page;
};

const PortPage kPages[] = {
    {0, 0x10, 0x10},     {23, 0x27, 0x27},     {24, 0x28, 0x28},         {0xEF, 0xFF, 0xFF},
    {0xF0, 0x00, 0x100}, {0x1F3, 0x03, 0x203}, {0xFFFFFFFF, 0x0F, 0x0F},
};

TEST_F(PortSpeed, AnyPortIsReadAtItsPage) {
    for (const PortPage &row : kPages) {
        SCOPED_TRACE(row.port);
        platform.failures = {};
        EXPECT_EQ(ksl_get_port_speed(0, row.port, &out), 0);
        EXPECT_EQ(platform.take()[2].text, getreg(0, row.page, 0x30, 2).text);
        platform.failures[1] = 5;
        EXPECT_EQ(ksl_get_port_speed(0, row.port, &out), 5);
        EXPECT_EQ(platform.take()[3].text, record(points::get_port_speed_read_failed, row.traced_page, 0x30, 2).text);
    }
}

TEST_F(PortSpeed, ANullOutputIsWrittenTo) {
    EXPECT_DEATH(ksl_get_port_speed(0, 0, nullptr), "");
    // Without a value to deliver it is not written to.
    platform.failures[1] = 9;
    EXPECT_EQ(ksl_get_port_speed(0, 0, nullptr), 9);
}

// ---- Forcing ----

TEST_F(PortSpeed, OneHundredSetsSpeedAndAutoNegotiationTogether) {
    const struct {
        Bytes before;
        Bytes after;
    } rows[] = {
        {{0x01, 0x00}, {0x31, 0x00}}, {{0x00, 0x00}, {0x30, 0x00}}, {{0xFF, 0xFF}, {0xFF, 0xFF}},
        {{0xCF, 0xFF}, {0xFF, 0xFF}}, {{0x20, 0x5A}, {0x30, 0x5A}}, {{0x10, 0xA5}, {0x30, 0xA5}},
    };
    for (const auto &row : rows) {
        platform.registers[{0x13, 0x00}] = row.before;
        EXPECT_EQ(ksl_set_port_speed(0x102, 3, 100), 0);
        EXPECT_EQ(platform.take(), change(100, row.before, row.after));
    }
}

TEST_F(PortSpeed, TenClearsSpeedAndAutoNegotiationTogether) {
    const struct {
        Bytes before;
        Bytes after;
    } rows[] = {
        {{0x31, 0x40}, {0x01, 0x40}}, {{0x00, 0x00}, {0x00, 0x00}}, {{0xFF, 0xFF}, {0xCF, 0xFF}},
        {{0x30, 0x00}, {0x00, 0x00}}, {{0x20, 0x5A}, {0x00, 0x5A}}, {{0x10, 0xA5}, {0x00, 0xA5}},
    };
    for (const auto &row : rows) {
        platform.registers[{0x13, 0x00}] = row.before;
        EXPECT_EQ(ksl_set_port_speed(0x102, 3, 10), 0);
        EXPECT_EQ(platform.take(), change(10, row.before, row.after));
    }
}

TEST_F(PortSpeed, AnyOtherSpeedIsRefusedThroughTheWholeFrame) {
    ksl_enable_time();
    for (const uint32_t speed : {1000u, 0u, 1u, 9u, 11u, 99u, 101u, 266u, 356u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_set_port_speed(0x102, 3, speed), -1);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_port_speed_entry, 0x102, 3, speed),
                                       record(points::set_port_speed_exit, -1, speed),
                                       stamp_end(),
                                       record(points::elapsed_time, 7u),
                                   }));
    }
}

TEST_F(PortSpeed, NothingIsWrittenAfterAFailedRead) {
    for (const int32_t code : kCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_set_port_speed(0, 3, 100), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_port_speed_entry, 0, 3, 100),
                                       record(points::set_port_speed_access),
                                       getreg(0, 0x13, 0x00, 2),
                                       record(points::register_read_failed, 0x13, 0x00, 2),
                                       record(points::set_port_speed_exit, code, 1),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PortSpeed, AFailedWriteIsRecordedAsAFailedRead) {
    for (const int32_t code : kCodes) {
        platform.failures[2] = code;
        EXPECT_EQ(ksl_set_port_speed(0, 3, 10), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_port_speed_entry, 0, 3, 10),
                                       record(points::set_port_speed_access),
                                       getreg(0, 0x13, 0x00, 2),
                                       record(points::status_bytes_2, 0, 0),
                                       setreg(0, 0x13, 0x00, {0x00, 0x00}),
                                       record(points::register_read_failed, 0x13, 0x00, 2),
                                       record(points::set_port_speed_exit, code, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PortSpeed, IsNotForcedWithoutTheEntryPoints) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_set_port_speed(0, 3, 100), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::set_port_speed_entry, 0, 3, 100),
                                   record(points::set_port_speed_access),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, 0x13, 0x00, 2),
                                   record(points::set_port_speed_exit, -1, 1),
                                   stamp_end(),
                               }));
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_set_port_speed(0, 3, 100), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::set_port_speed_entry, 0, 3, 100),
                                   record(points::set_port_speed_access),
                                   getreg(0, 0x13, 0x00, 2),
                                   record(points::status_bytes_2, 0, 0),
                                   lookup_missing("hwa_setreg"),
                                   record(points::setreg_missing),
                                   record(points::register_read_failed, 0x13, 0x00, 2),
                                   record(points::set_port_speed_exit, -1, 1),
                                   stamp_end(),
                               }));
}

TEST_F(PortSpeed, AnyPortIsForcedAtItsPage) {
    for (const PortPage &row : kPages) {
        SCOPED_TRACE(row.port);
        platform.failures = {};
        EXPECT_EQ(ksl_set_port_speed(0, row.port, 100), 0);
        const Calls calls = platform.take();
        EXPECT_EQ(calls[3].text, getreg(0, row.page, 0x00, 2).text);
        EXPECT_EQ(calls[5].text, setreg(0, row.page, 0x00, {0x30, 0x00}).text);
        for (const uint32_t access : {1u, 2u}) {
            platform.failures = {{access, 5}};
            EXPECT_EQ(ksl_set_port_speed(0, row.port, 100), 5);
            const Calls failed = platform.take();
            EXPECT_EQ(failed[failed.size() - 3].text,
                      record(points::register_read_failed, row.traced_page, 0x00, 2).text);
        }
    }
}

} // namespace
} // namespace ksl::test
