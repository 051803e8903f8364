// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "forwarding/trace_points.h"
#include "port/trace_points.h"

#include <cstring>

namespace ksl::test {
namespace {

class ControlRegisters : public Opened {
protected:
    ControlRegisters() {
        forget();
        platform.registers = {
            {{0, 0x00}, {0x5A}},
            {{1, 0x00}, {0x81, 0x02, 0x03, 0x04, 0x05, 0x06}},
            {{1, 0x10}, {0x11, 0x12, 0x13, 0x14}},
            {{1, 0x14}, {0x21, 0x22, 0x23, 0x24}},
            {{1, 0x18}, {0x31, 0x32, 0x33, 0x34}},
            {{1, 0x1C}, {0x41, 0x42, 0x43, 0x44}},
            {{2, 0x06}, {0x51, 0x52, 0x53, 0x54}},
        };
    }

    struct {
        ksl_cntrl_regs regs;
        uint8_t margin[8];
    } memory;

    const Bytes contents{0x5A, 0,    0,    0,    0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0,
                         0,    0x11, 0x12, 0x13, 0x14, 0x21, 0x22, 0x23, 0x24, 0x31, 0x32,
                         0x33, 0x34, 0x41, 0x42, 0x43, 0x44, 0x51, 0x52, 0x53, 0x54};

    void forget() { std::memset(&memory, 0xEE, sizeof memory); }

    // That the first `filled` bytes of the record are read and the rest is the caller's.
    testing::AssertionResult holds(size_t filled) const {
        Bytes expected(contents.begin(), contents.begin() + static_cast<ptrdiff_t>(filled));
        expected.resize(sizeof memory, 0xEE);
        const auto first = reinterpret_cast<const uint8_t *>(&memory);
        return Bytes(first, first + sizeof memory) == expected ? testing::AssertionSuccess()
                                                               : testing::AssertionFailure() << "not " << filled;
    }

    // The calls of one step alone, of which the given access fails.
    Calls step(size_t number, uint32_t failing = 0, int32_t code = 0) {
        platform.take();
        platform.failures.clear();
        if (failing != 0) {
            platform.failures[failing] = code;
        }
        ksl_cntrl_regs &regs = memory.regs;
        switch (number) {
        case 0:
            ksl_read_switch_mode_reg(0x102, regs.switch_mode);
            break;
        case 1:
            ksl_read_bist_status_reg(0x102, regs.bist_status);
            break;
        case 2:
            ksl_read_link_status_regs(0x102, regs.link_status1, regs.link_status2);
            break;
        case 3:
            ksl_read_port_speed_reg(0x102, regs.port_speed);
            break;
        case 4:
            ksl_read_port_duplex_reg(0x102, regs.port_duplex);
            break;
        default:
            ksl_read_age_timer_reg(0x102, &regs.age_timer);
        }
        platform.failures.clear();
        return platform.take();
    }
};

TEST_F(ControlRegisters, AreReadOneAfterTheOther) {
    EXPECT_EQ(ksl_read_cntrl_regs(0x102, &memory.regs), 0);
    EXPECT_TRUE(holds(32));
    const Calls calls = platform.take();
    Calls expected{stamp_start(), record(points::read_cntrl_regs_entry, 0x102)};
    for (size_t i = 0; i < 6; ++i) {
        expected += step(i);
    }
    EXPECT_EQ(calls, expected += Calls({record(points::read_cntrl_regs_exit, 0), stamp_end()}));
}

struct FailingAccess {
    uint32_t access;
    size_t step;
    uint32_t access_of_step;
    TracePoint point;
    size_t filled;
};

TEST_F(ControlRegisters, TheFirstFailureEndsTheRead) {
    const FailingAccess rows[] = {
        {1, 0, 1, points::read_cntrl_regs_switch_mode_failed, 0},
        {2, 1, 1, points::read_cntrl_regs_bist_status_failed, 4},
        {3, 2, 1, points::read_cntrl_regs_link_status_failed, 12},
        {4, 2, 2, points::read_cntrl_regs_link_status_failed, 16},
        {5, 3, 1, points::read_cntrl_regs_port_speed_failed, 20},
        {6, 4, 1, points::read_cntrl_regs_port_duplex_failed, 24},
        {7, 5, 1, points::read_cntrl_regs_age_timer_failed, 28},
    };
    for (const FailingAccess &row : rows) {
        for (const int32_t code : kFailureCodes) {
            SCOPED_TRACE(row.access);
            forget();
            platform.take();
            platform.failures[row.access] = code;
            EXPECT_EQ(ksl_read_cntrl_regs(0x102, &memory.regs), code);
            EXPECT_TRUE(holds(row.filled));
            const Calls calls = platform.take();
            forget();
            Calls expected{stamp_start(), record(points::read_cntrl_regs_entry, 0x102)};
            for (size_t i = 0; i < row.step; ++i) {
                expected += step(i);
            }
            expected += step(row.step, row.access_of_step, code);
            expected += {record(row.point), record(points::read_cntrl_regs_exit, code), stamp_end()};
            EXPECT_EQ(calls, expected);
        }
    }
}

TEST_F(ControlRegisters, ANullRecordFailsTheFirstStep) {
    EXPECT_EQ(ksl_read_cntrl_regs(0x102, nullptr), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_cntrl_regs_entry, 0x102),
                                   stamp_start(),
                                   record(points::read_switch_mode_reg_entry, 0x102),
                                   record(points::read_cntrl_regs_switch_mode_failed),
                                   record(points::read_cntrl_regs_exit, -1),
                                   stamp_end(),
                               }));
}

TEST_F(ControlRegisters, AreNotReadWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_cntrl_regs(0, &memory.regs), -1);
    EXPECT_TRUE(holds(0));
}

} // namespace
} // namespace ksl::test
