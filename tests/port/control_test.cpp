// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "port/trace_points.h"

namespace ksl::test {
namespace {

// Numbers that are no port's.
constexpr uint32_t kNoPorts[] = {24, 25, 255, 256, 0x80000000, 0xFFFFFFFF};

// ---- On and off ----

struct Switch {
    const char *name;
    int32_t (*run)(uint32_t chip, uint32_t port);
    Bytes phy;
    Bytes control;
    TracePoint entry;
    TracePoint writing;
    TracePoint written;
    TracePoint read_back;
    TracePoint exit;

    friend std::ostream &operator<<(std::ostream &out, const Switch &row) { return out << row.name; }
};

class PortSwitching : public Opened, public testing::WithParamInterface<Switch> {
protected:
    const Switch &row = GetParam();

    // The buffer of the access with that number.
    const void *buffer(size_t number) const { return platform.buffers.at(number - 1); }
};

TEST_P(PortSwitching, WritesThePhyThenThePortAndReadsThePortBack) {
    for (const uint8_t shown : {uint8_t{0x00}, uint8_t{0x01}, uint8_t{0x02}, uint8_t{0xFF}, uint8_t{0xFC}}) {
        platform.registers[{0, 0xD5}] = {shown};
        EXPECT_EQ(row.run(0x102, 5), 0);
        const void *const written = buffer(2);
        EXPECT_EQ(buffer(3), written);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(row.entry, 0x102, 5),
                                       setreg(2, 0x15, 0x00, row.phy),
                                       record(row.writing, 5, 0xD5, written),
                                       setreg(2, 0x00, 0xD5, row.control),
                                       record(row.written, 5, 0),
                                       getreg(2, 0x00, 0xD5, 1),
                                       record(points::status_bytes_1, shown),
                                       record(row.read_back, 5, shown >> 1 & 1, shown & 1),
                                       record(row.exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_P(PortSwitching, ReachesTheRegistersOfTheFirstAndTheLastPort) {
    for (const uint32_t port : {0u, 23u}) {
        EXPECT_EQ(row.run(0, port), 0);
        const Calls calls = platform.take();
        EXPECT_EQ(calls[2].text, setreg(0, 0x10 + port, 0x00, row.phy).text);
        EXPECT_EQ(calls[4].text, setreg(0, 0x00, 0xD0 + port, row.control).text);
        EXPECT_EQ(calls[6].text, getreg(0, 0x00, 0xD0 + port, 1).text);
    }
}

TEST_P(PortSwitching, RefusesOtherPorts) {
    ksl_enable_time();
    for (const uint32_t port : kNoPorts) {
        EXPECT_EQ(row.run(0, port), -1);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(row.entry, 0, port)}));
    }
}

TEST_P(PortSwitching, LeavesThePortAloneWhenThePhyIsNotWritten) {
    for (const int32_t code : kCodes) {
        platform.failures = {{1, code}};
        EXPECT_EQ(row.run(0, 5), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(row.entry, 0, 5),
                                       setreg(0, 0x15, 0x00, row.phy),
                                       record(points::register_write_failed, 0x15, 0x00, 2),
                                       record(row.exit, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_P(PortSwitching, StopsWhenThePortIsNotWritten) {
    for (const int32_t code : kCodes) {
        platform.failures = {{2, code}};
        EXPECT_EQ(row.run(0, 5), code);
        const void *const written = buffer(2);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(row.entry, 0, 5),
                                       setreg(0, 0x15, 0x00, row.phy),
                                       record(row.writing, 5, 0xD5, written),
                                       setreg(0, 0x00, 0xD5, row.control),
                                       record(points::register_write_failed, 0x00, 0xD5, 1),
                                       record(row.exit, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_P(PortSwitching, ReturnsTheCodeOfAFailedReadBack) {
    platform.failing_reads_deliver = true;
    for (const int32_t code : kCodes) {
        platform.failures = {{3, code}};
        EXPECT_EQ(row.run(0, 5), code);
        const void *const written = buffer(2);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(row.entry, 0, 5),
                                       setreg(0, 0x15, 0x00, row.phy),
                                       record(row.writing, 5, 0xD5, written),
                                       setreg(0, 0x00, 0xD5, row.control),
                                       record(row.written, 5, 0),
                                       getreg(0, 0x00, 0xD5, 1),
                                       record(points::register_read_failed, 0x00, 0xD5, 1),
                                       record(row.exit, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_P(PortSwitching, FailsWithoutTheEntryPoints) {
    ksl_enable_time();
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(row.run(0, 5), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(row.entry, 0, 5),
                                   lookup_missing("hwa_setreg"),
                                   record(points::setreg_missing),
                                   record(points::register_write_failed, 0x15, 0x00, 2),
                                   record(row.exit, -1),
                                   stamp_end(),
                                   record(points::elapsed_time, 7u),
                               }));
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(row.run(0, 5), -1);
    const Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 12u) << calls;
    EXPECT_EQ(calls[6].text, lookup_missing("hwa_getreg").text);
    EXPECT_EQ(calls[7].text, record(points::getreg_missing).text);
    EXPECT_EQ(calls[8].text, record(points::register_read_failed, 0x00, 0xD5, 1).text);
    EXPECT_EQ(calls[9].text, record(row.exit, -1).text);
}

// A byte that the lower library leaves out of a successful read is the one that was written.
TEST_P(PortSwitching, ReadsBackIntoTheBufferThatItWroteFrom) {
    platform.delivered_bytes = 0;
    EXPECT_EQ(row.run(0, 5), 0);
    const Calls calls = platform.take();
    EXPECT_EQ(calls[7].text, record(points::status_bytes_1, row.control[0]).text);
}

INSTANTIATE_TEST_SUITE_P(Port, PortSwitching,
                         testing::Values(Switch{"on",
                                                ksl_activate_port,
                                                {0x30, 0x00},
                                                {0x00},
                                                points::activate_port_entry,
                                                points::activate_port_writing,
                                                points::activate_port_written,
                                                points::activate_port_read_back,
                                                points::activate_port_exit},
                                         Switch{"off",
                                                ksl_deactivate_port,
                                                {0x40, 0x00},
                                                {0x03},
                                                points::deactivate_port_entry,
                                                points::deactivate_port_writing,
                                                points::deactivate_port_written,
                                                points::deactivate_port_read_back,
                                                points::deactivate_port_exit}),
                         [](const auto &row) { return std::string(row.param.name); });

// ---- The port control register ----

class PortControlRegister : public Opened {
protected:
    Output out;
};

TEST_F(PortControlRegister, GivesAWord) {
    for (const uint32_t port : {0u, 5u, 23u}) {
        platform.registers[{0, 0xD0 + port}] = {0xA3};
        EXPECT_EQ(ksl_read_port_cntrl_reg(0x102, port, out.words()), 0);
        EXPECT_TRUE(out.holds({0xA3, 0x00, 0x00, 0x00}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_port_cntrl_reg_entry, 0x102, port),
                                       getreg(2, 0x00, 0xD0 + port, 1),
                                       record(points::status_bytes_1, 0xA3),
                                       record(points::read_port_cntrl_reg_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PortControlRegister, RefusesOtherPorts) {
    ksl_enable_time();
    for (const uint32_t port : kNoPorts) {
        EXPECT_EQ(ksl_read_port_cntrl_reg(0, port, out.words()), -1);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_port_cntrl_reg_entry, 0, port)}));
    }
    EXPECT_TRUE(out.holds({}));
}

TEST_F(PortControlRegister, PassesTheCodeOfAFailedReadOn) {
    platform.failing_reads_deliver = true;
    for (const int32_t code : kCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_read_port_cntrl_reg(0, 5, out.words()), code);
        EXPECT_TRUE(out.holds({}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_port_cntrl_reg_entry, 0, 5),
                                       getreg(0, 0x00, 0xD5, 1),
                                       record(points::register_read_failed, 0x00, 0xD5, 1),
                                       record(points::read_port_cntrl_reg_exit, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PortControlRegister, IsNotReadWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_port_cntrl_reg(0, 5, out.words()), -1);
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_port_cntrl_reg_entry, 0, 5),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, 0x00, 0xD5, 1),
                                   record(points::read_port_cntrl_reg_exit, -1),
                                   stamp_end(),
                               }));
}

TEST_F(PortControlRegister, IsReadIntoAClearedBuffer) {
    platform.delivered_bytes = 0;
    EXPECT_EQ(ksl_read_port_cntrl_reg(0, 5, out.words()), 0);
    EXPECT_TRUE(out.holds({0, 0, 0, 0}));
}

TEST_F(PortControlRegister, ANullOutputIsWrittenTo) {
    EXPECT_DEATH(ksl_read_port_cntrl_reg(0, 0, nullptr), "");
    platform.failures[1] = 9;
    EXPECT_EQ(ksl_read_port_cntrl_reg(0, 0, nullptr), 9);
}

// ---- Reset of a PHY ----

using PhyReset = Opened;

TEST_F(PhyReset, WritesOnce) {
    for (const uint32_t port : {0u, 5u, 23u}) {
        EXPECT_EQ(ksl_reset_PHY(0x102, port), 0);
        const void *const buffer = platform.buffers.at(0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::reset_PHY_entry, 0x102),
                                       record(points::reset_PHY_writing, port, 0x10 + port, buffer),
                                       setreg(2, 0x10 + port, 0x00, {0x80, 0x00}),
                                       record(points::reset_PHY_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PhyReset, RefusesOtherPortsThroughTheWholeFrame) {
    ksl_enable_time();
    for (const uint32_t port : kNoPorts) {
        EXPECT_EQ(ksl_reset_PHY(0x102, port), -1);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::reset_PHY_entry, 0x102),
                                       record(points::reset_PHY_refused, port),
                                       record(points::reset_PHY_exit, -1),
                                       stamp_end(),
                                       record(points::elapsed_time, 7u),
                                   }));
    }
}

TEST_F(PhyReset, LeavesTheSecondRecordOfAFailedWrite) {
    for (const int32_t code : kCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_reset_PHY(0, 5), code);
        const void *const buffer = platform.buffers.at(0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::reset_PHY_entry, 0),
                                       record(points::reset_PHY_writing, 5, 0x15, buffer),
                                       setreg(0, 0x15, 0x00, {0x80, 0x00}),
                                       record(points::second_register_write_failed, 0x15, 0x00, 2),
                                       record(points::reset_PHY_exit, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PhyReset, FailsWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_reset_PHY(0, 5), -1);
    const Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 8u) << calls;
    EXPECT_EQ(calls[3].text, lookup_missing("hwa_setreg").text);
    EXPECT_EQ(calls[4].text, record(points::setreg_missing).text);
    EXPECT_EQ(calls[5].text, record(points::second_register_write_failed, 0x15, 0x00, 2).text);
    EXPECT_EQ(calls[6].text, record(points::reset_PHY_exit, -1).text);
}

} // namespace
} // namespace ksl::test
