// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "forwarding/trace_points.h"

#include <cstring>
#include <utility>

namespace ksl::test {
namespace {

class AgeTimer : public Opened {
protected:
    // The word after the caller's shows a write that goes too far.
    uint8_t memory[8] = {0xFE, 0xED, 0xCB, 0xA9, 0xEE, 0xEE, 0xEE, 0xEE};
    alignas(ksl_word) uint8_t aligned[8];

    AgeTimer() { std::memcpy(aligned, memory, sizeof aligned); }

    ksl_word *word() { return reinterpret_cast<ksl_word *>(aligned); }
    Bytes held() const { return {aligned, aligned + 8}; }
};

TEST_F(AgeTimer, IsReadAsARegisterWord) {
    platform.registers[{2, 0x06}] = {0x81, 0x92, 0xA3, 0xB4};
    EXPECT_EQ(ksl_read_age_timer_reg(0x102, word()), 0);
    EXPECT_EQ(held(), (Bytes{0x81, 0x92, 0xA3, 0xB4, 0xEE, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_age_timer_reg_entry, 0x102),
                                   getreg(2, 2, 0x06, 4),
                                   record(points::status_bytes_4, 0x81, 0x92, 0xA3, 0xB4),
                                   record(points::read_age_timer_reg_byte, 0x81),
                                   record(points::read_age_timer_reg_byte, 0x92),
                                   record(points::read_age_timer_reg_byte, 0xA3),
                                   record(points::read_age_timer_reg_byte, 0xB4),
                                   record(points::read_age_timer_reg_exit, 0x2A3B4, 0),
                                   stamp_end(),
                               }));
}

TEST_F(AgeTimer, ItsExitShowsTwentyBits) {
    for (uint32_t bit = 0; bit < 32; ++bit) {
        const uint32_t value = 1u << bit;
        platform.registers[{2, 0x06}] = bytes_of(value);
        EXPECT_EQ(ksl_read_age_timer_reg(0, word()), 0);
        const Calls calls = platform.take();
        EXPECT_EQ(calls[calls.size() - 2].text, record(points::read_age_timer_reg_exit, bit < 20 ? value : 0u, 0).text);
    }
}

TEST_F(AgeTimer, AFailedReadExitsWithTheCallersWord) {
    for (const int32_t code : kFailureCodes) {
        platform.failures[1] = code;
        platform.failing_reads_deliver = true;
        EXPECT_EQ(ksl_read_age_timer_reg(0, word()), code);
        EXPECT_EQ(held(), Bytes(memory, memory + 8));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_age_timer_reg_entry, 0),
                                       getreg(0, 2, 0x06, 4),
                                       record(points::register_read_failed, 2, 6, 4),
                                       record(points::read_age_timer_reg_exit, 0xDCBA9, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(AgeTimer, IsNotReadWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_age_timer_reg(0, word()), -1);
    EXPECT_EQ(held(), Bytes(memory, memory + 8));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_age_timer_reg_entry, 0),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, 2, 6, 4),
                                   record(points::read_age_timer_reg_exit, 0xDCBA9, -1),
                                   stamp_end(),
                               }));
}

TEST_F(AgeTimer, IsNotReadWithoutAnOutput) {
    ksl_enable_time();
    EXPECT_EQ(ksl_read_age_timer_reg(3, nullptr), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_age_timer_reg_entry, 3)}));
}

TEST_F(AgeTimer, ItsReadStartsFromAClearedBuffer) {
    platform.delivered_bytes = 1;
    platform.registers[{2, 0x06}] = {0x11, 0x22, 0x33, 0x44};
    EXPECT_EQ(ksl_read_age_timer_reg(0, word()), 0);
    EXPECT_EQ(held(), (Bytes{0x11, 0, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE}));
}

TEST_F(AgeTimer, IsWrittenWithItsLowTwentyBits) {
    const std::pair<uint32_t, Bytes> rows[] = {
        {0x123456, {0x00, 0x02, 0x34, 0x56}},
        {0xFFFFFFFF, {0x00, 0x0F, 0xFF, 0xFF}},
        {0, {0, 0, 0, 0}},
        {0x00080000, {0x00, 0x08, 0x00, 0x00}},
        {0x00100000, {0, 0, 0, 0}},
        {1, {0, 0, 0, 1}},
    };
    for (const auto &[value, bytes] : rows) {
        EXPECT_EQ(ksl_set_age_timer_reg(0x102, value), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_age_timer_reg_entry, 0x102, value),
                                       setreg(2, 2, 0x06, bytes),
                                       record(points::set_age_timer_reg_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(AgeTimer, AFailedWriteIsTracedAsOne) {
    for (const int32_t code : kFailureCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_set_age_timer_reg(0, 7), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_age_timer_reg_entry, 0, 7),
                                       setreg(0, 2, 0x06, {0, 0, 0, 7}),
                                       record(points::register_write_failed, 2, 6, 4),
                                       record(points::set_age_timer_reg_exit, code),
                                       stamp_end(),
                                   }));
    }
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_set_age_timer_reg(0, 7), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::set_age_timer_reg_entry, 0, 7),
                                   lookup_missing("hwa_setreg"),
                                   record(points::setreg_missing),
                                   record(points::register_write_failed, 2, 6, 4),
                                   record(points::set_age_timer_reg_exit, -1),
                                   stamp_end(),
                               }));
}

} // namespace
} // namespace ksl::test
