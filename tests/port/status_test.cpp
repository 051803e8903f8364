// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "port/trace_points.h"

namespace ksl::test {
namespace {

class StatusReads : public Opened {
protected:
    Output out;
    Output out2;
};

// ---- Self-test ----

TEST_F(StatusReads, BistGivesSixBytesAndTwoZeros) {
    platform.registers[{1, 0x00}] = {0x81, 0x02, 0x03, 0x04, 0x05, 0x06};
    EXPECT_EQ(ksl_read_bist_status_reg(0x102, out), 0);
    EXPECT_TRUE(out.holds({0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0x00, 0x00}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_bist_status_reg_entry, 0x102),
                                   getreg(2, 1, 0x00, 6),
                                   record(points::status_bytes_6, 0x81, 0x02, 0x03, 0x04, 0x05, 0x06),
                                   record(points::read_bist_status_reg_byte, 0x81),
                                   record(points::read_bist_status_reg_byte, 0x02),
                                   record(points::read_bist_status_reg_byte, 0x03),
                                   record(points::read_bist_status_reg_byte, 0x04),
                                   record(points::read_bist_status_reg_byte, 0x05),
                                   record(points::read_bist_status_reg_byte, 0x06),
                                   record(points::read_bist_status_reg_exit, 1),
                                   stamp_end(),
                               }));
}

TEST_F(StatusReads, BistExitShowsTheTopBitOnly) {
    platform.registers[{1, 0x00}] = {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(ksl_read_bist_status_reg(0, out), 0);
    const Calls calls = platform.take();
    EXPECT_EQ(calls[calls.size() - 2].text, record(points::read_bist_status_reg_exit, 0).text);
}

TEST_F(StatusReads, AFailedBistReadExitsWithTheCallersTopBit) {
    for (const uint8_t top : {uint8_t{0x80}, uint8_t{0x7F}}) {
        platform.failures[1] = 42;
        out.bytes[0] = top;
        EXPECT_EQ(ksl_read_bist_status_reg(0, out), 42);
        EXPECT_TRUE(out.holds({top}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_bist_status_reg_entry, 0),
                                       getreg(0, 1, 0x00, 6),
                                       record(points::register_read_failed, 1, 0x00, 6),
                                       record(points::read_bist_status_reg_exit, top >> 7),
                                       stamp_end(),
                                   }));
    }
}

// ---- Link status, both registers ----

TEST_F(StatusReads, LinkRegistersAreReadOneAfterTheOther) {
    platform.registers[{1, 0x10}] = {0x00, 0x0F, 0xFF, 0x3C};
    platform.registers[{1, 0x14}] = {0x11, 0x22, 0x33, 0x44};
    EXPECT_EQ(ksl_read_link_status_regs(0x102, out, out2), 0);
    EXPECT_TRUE(out.holds({0x00, 0x0F, 0xFF, 0x3C}));
    EXPECT_TRUE(out2.holds({0x11, 0x22, 0x33, 0x44}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_link_status_regs_entry, 0x102),
                                   getreg(2, 1, 0x10, 4),
                                   record(points::status_bytes_4, 0x00, 0x0F, 0xFF, 0x3C),
                                   record(points::read_link_status_regs_first, address(out)),
                                   getreg(2, 1, 0x14, 4),
                                   record(points::status_bytes_4, 0x11, 0x22, 0x33, 0x44),
                                   record(points::read_link_status_regs_exit, address(out2), 0),
                                   stamp_end(),
                               }));
}

TEST_F(StatusReads, AFailedFirstLinkReadLeavesBothOutputs) {
    platform.failures[1] = -7;
    EXPECT_EQ(ksl_read_link_status_regs(0, out, out2), -7);
    EXPECT_TRUE(out.holds({}));
    EXPECT_TRUE(out2.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_link_status_regs_entry, 0),
                                   getreg(0, 1, 0x10, 4),
                                   record(points::register_read_failed, 1, 0x10, 4),
                                   record(points::read_link_status_regs_exit, address(out2), -7),
                                   stamp_end(),
                               }));
}

TEST_F(StatusReads, AFailedSecondLinkReadLeavesTheSecondOutput) {
    platform.registers[{1, 0x10}] = {1, 2, 3, 4};
    platform.failures[2] = 9;
    EXPECT_EQ(ksl_read_link_status_regs(0, out, out2), 9);
    EXPECT_TRUE(out.holds({1, 2, 3, 4}));
    EXPECT_TRUE(out2.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_link_status_regs_entry, 0),
                                   getreg(0, 1, 0x10, 4),
                                   record(points::status_bytes_4, 1, 2, 3, 4),
                                   record(points::read_link_status_regs_first, address(out)),
                                   getreg(0, 1, 0x14, 4),
                                   record(points::register_read_failed, 1, 0x14, 4),
                                   record(points::read_link_status_regs_exit, address(out2), 9),
                                   stamp_end(),
                               }));
}

TEST_F(StatusReads, OnlyTheFirstLinkOutputIsChecked) {
    EXPECT_EQ(ksl_read_link_status_regs(0, nullptr, out2), -1);
    EXPECT_TRUE(out2.holds({}));
    platform.take();
    // Only the copy writes to a null second output, and a second read that fails never comes to it.
    platform.failures[2] = 9;
    EXPECT_EQ(ksl_read_link_status_regs(0, out, nullptr), 9);
}

TEST_F(StatusReads, ANullSecondLinkOutputIsWrittenTo) {
    EXPECT_DEATH(ksl_read_link_status_regs(0, out, nullptr), "");
}

// ---- The reads of one register ----

struct OneRegister {
    const char *name;
    int32_t (*read)(uint32_t chip, uint8_t *out);
    uint32_t page;
    uint32_t offset;
    Bytes bytes;
    TracePoint dump;
    TracePoint entry;
    TracePoint exit;
    bool exit_has_result;
    bool cleared;

    friend std::ostream &operator<<(std::ostream &out, const OneRegister &row) { return out << row.name; }
};

class OneRegisterRead : public StatusReads, public testing::WithParamInterface<OneRegister> {
protected:
    const OneRegister &row = GetParam();
    const uint32_t length = static_cast<uint32_t>(row.bytes.size());

    Call exit_record(int32_t result) {
        return row.exit_has_result ? record(row.exit, address(out), result) : record(row.exit, address(out));
    }
};

TEST_P(OneRegisterRead, GivesAWord) {
    platform.registers[{row.page, row.offset}] = row.bytes;
    EXPECT_EQ(row.read(0x102, out), 0);
    Bytes word = row.bytes;
    word.resize(4);
    EXPECT_TRUE(out.holds(word));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(row.entry, 0x102),
                                   getreg(2, row.page, row.offset, length),
                                   record(row.dump, std::vector<uint32_t>(row.bytes.begin(), row.bytes.end())),
                                   exit_record(0),
                                   stamp_end(),
                               }));
}

TEST_P(OneRegisterRead, PassesTheCodeOfAFailedReadOn) {
    for (const int32_t code : {1, -1, -2147483647 - 1}) {
        platform.failures[1] = code;
        platform.failing_reads_deliver = true;
        EXPECT_EQ(row.read(0, out), code);
        EXPECT_TRUE(out.holds({}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(row.entry, 0),
                                       getreg(0, row.page, row.offset, length),
                                       record(points::register_read_failed, row.page, row.offset, length),
                                       exit_record(code),
                                       stamp_end(),
                                   }));
    }
}

TEST_P(OneRegisterRead, FailsWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    ksl_enable_time();
    EXPECT_EQ(row.read(0, out), -1);
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(row.entry, 0),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, row.page, row.offset, length),
                                   exit_record(-1),
                                   stamp_end(),
                                   record(points::elapsed_time, 7u),
                               }));
}

// Bytes that the lower library leaves out of a successful read reach the caller as zeros.
TEST_P(OneRegisterRead, StartsFromAClearedBuffer) {
    if (!row.cleared) {
        return;
    }
    platform.delivered_bytes = 0;
    EXPECT_EQ(row.read(0, out), 0);
    EXPECT_TRUE(out.holds({0, 0, 0, 0}));
}

INSTANTIATE_TEST_SUITE_P(Status, OneRegisterRead,
                         testing::Values(OneRegister{"mode",
                                                     ksl_read_switch_mode_reg,
                                                     0,
                                                     0x00,
                                                     {0x5A},
                                                     points::status_bytes_1,
                                                     points::read_switch_mode_reg_entry,
                                                     points::read_switch_mode_reg_exit,
                                                     false,
                                                     true},
                                         OneRegister{"speed",
                                                     ksl_read_port_speed_reg,
                                                     1,
                                                     0x18,
                                                     {0x80, 0x01, 0x02, 0x03},
                                                     points::status_bytes_4,
                                                     points::read_port_speed_reg_entry,
                                                     points::read_port_speed_reg_exit,
                                                     false,
                                                     false},
                                         OneRegister{"duplex",
                                                     ksl_read_port_duplex_reg,
                                                     1,
                                                     0x1C,
                                                     {0x80, 0x04, 0x05, 0x06},
                                                     points::status_bytes_4,
                                                     points::read_port_duplex_reg_entry,
                                                     points::read_port_duplex_reg_exit,
                                                     false,
                                                     true},
                                         OneRegister{"link",
                                                     ksl_read_link_status_reg,
                                                     1,
                                                     0x10,
                                                     {0x80, 0x07, 0x08, 0x09},
                                                     points::status_bytes_4,
                                                     points::read_link_status_reg_entry,
                                                     points::read_link_status_reg_exit,
                                                     true,
                                                     true}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(StatusReads, TheReadsOfSeveralBytesStartFromClearedBuffers) {
    platform.delivered_bytes = 1;
    platform.registers[{1, 0x00}] = {0x11, 0x12, 0x13, 0x14, 0x15, 0x16};
    EXPECT_EQ(ksl_read_bist_status_reg(0, out), 0);
    EXPECT_TRUE(out.holds({0x11, 0, 0, 0, 0, 0, 0, 0}));

    platform.registers[{1, 0x10}] = {0x21, 0x22, 0x23, 0x24};
    platform.registers[{1, 0x14}] = {0x31, 0x32, 0x33, 0x34};
    Output link;
    EXPECT_EQ(ksl_read_link_status_regs(0, link, out2), 0);
    EXPECT_TRUE(link.holds({0x21, 0, 0, 0}));
    EXPECT_TRUE(out2.holds({0x31, 0, 0, 0}));
}

TEST_F(StatusReads, NothingOfTheFirstLinkRegisterIsLeftForTheSecond) {
    platform.registers[{1, 0x10}] = {0x21, 0x22, 0x23, 0x24};
    platform.on_call = [this](const std::string &text) {
        platform.delivered_bytes = text.find("offset=0x14") == std::string::npos ? 4 : 0;
    };
    EXPECT_EQ(ksl_read_link_status_regs(0, out, out2), 0);
    EXPECT_TRUE(out.holds({0x21, 0x22, 0x23, 0x24}));
    EXPECT_TRUE(out2.holds({0, 0, 0, 0}));
}

} // namespace
} // namespace ksl::test
