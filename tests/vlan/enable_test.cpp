// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "vlan/trace_points.h"

namespace ksl::test {
namespace {

class VlanSupport : public Opened {
protected:
    Output out;
};

TEST_F(VlanSupport, IsAWord) {
    platform.registers[{0x34, 0x00}] = {0xA7};
    EXPECT_EQ(ksl_read_VLAN_enable(0x102, out.words()), 0);
    EXPECT_TRUE(out.holds({0xA7, 0, 0, 0}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_VLAN_enable_entry, 0x102),
                                   getreg(2, 0x34, 0x00, 1),
                                   record(points::status_bytes_1, 0xA7),
                                   record(points::read_VLAN_enable_exit, address(out), 0),
                                   stamp_end(),
                               }));
}

TEST_F(VlanSupport, NeedsAnOutput) {
    ksl_enable_time();
    EXPECT_EQ(ksl_read_VLAN_enable(7, nullptr), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_VLAN_enable_entry, 7)}));
}

TEST_F(VlanSupport, IsReadIntoAClearedWord) {
    platform.delivered_bytes = 0;
    EXPECT_EQ(ksl_read_VLAN_enable(0, out.words()), 0);
    EXPECT_TRUE(out.holds({0, 0, 0, 0}));
}

TEST_F(VlanSupport, PassesTheCodeOfAFailureOn) {
    platform.failing_reads_deliver = true;
    for (const int32_t code : kCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_read_VLAN_enable(0, out.words()), code);
        EXPECT_TRUE(out.holds({}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_VLAN_enable_entry, 0),
                                       getreg(0, 0x34, 0x00, 1),
                                       record(points::register_read_failed, 0x34, 0x00, 1),
                                       record(points::read_VLAN_enable_exit, address(out), code),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(VlanSupport, FailsWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_VLAN_enable(0, out.words()), -1);
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_VLAN_enable_entry, 0),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, 0x34, 0x00, 1),
                                   record(points::read_VLAN_enable_exit, address(out), -1),
                                   stamp_end(),
                               }));
}

// ---- The verdict ----

class VlanSupportVerdict : public Opened {
protected:
    uint32_t verdict = 0xEEEEEEEE;
};

TEST_F(VlanSupportVerdict, IsBitSeven) {
    const struct {
        uint8_t byte;
        uint32_t verdict;
    } rows[] = {{0x80, 1}, {0xFF, 1}, {0x7F, 0}, {0x00, 0}};
    for (const auto &row : rows) {
        for (const uint32_t before : {0u, 1u, 0xEEEEEEEEu}) {
            verdict = before;
            platform.registers[{0x34, 0x00}] = {row.byte};
            EXPECT_EQ(ksl_validate_VLAN_enable(0x102, &verdict), 0);
            EXPECT_EQ(verdict, row.verdict);
            const Calls calls = platform.take();
            ASSERT_EQ(calls.size(), 11u) << calls;
            EXPECT_EQ(calls, (Calls{
                                 stamp_start(),
                                 record(points::validate_VLAN_enable_entry, 0x102, before),
                                 stamp_start(),
                                 record(points::read_VLAN_enable_entry, 0x102),
                                 getreg(2, 0x34, 0x00, 1),
                                 record(points::status_bytes_1, row.byte),
                                 record(points::read_VLAN_enable_exit, slots(calls[6])[0], 0),
                                 stamp_end(),
                                 record(points::validate_VLAN_enable_found, row.verdict, 0),
                                 record(points::validate_VLAN_enable_exit, 0),
                                 stamp_end(),
                             }));
        }
    }
}

TEST_F(VlanSupportVerdict, IsNoIfTheReadFails) {
    platform.failing_reads_deliver = true;
    platform.registers[{0x34, 0x00}] = {0xFF};
    for (const int32_t code : kCodes) {
        verdict = 5;
        platform.failures[1] = code;
        EXPECT_EQ(ksl_validate_VLAN_enable(0, &verdict), code);
        EXPECT_EQ(verdict, 0u);
        const Calls calls = platform.take();
        ASSERT_EQ(calls.size(), 11u) << calls;
        EXPECT_EQ(calls, (Calls{
                             stamp_start(),
                             record(points::validate_VLAN_enable_entry, 0, 5),
                             stamp_start(),
                             record(points::read_VLAN_enable_entry, 0),
                             getreg(0, 0x34, 0x00, 1),
                             record(points::register_read_failed, 0x34, 0x00, 1),
                             record(points::read_VLAN_enable_exit, slots(calls[6])[0], code),
                             stamp_end(),
                             record(points::validate_VLAN_enable_unread),
                             record(points::validate_VLAN_enable_exit, code),
                             stamp_end(),
                         }));
    }
}

TEST_F(VlanSupportVerdict, IsNoWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_validate_VLAN_enable(0, &verdict), -1);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(platform.take().size(), 12u);
}

// The verdict is already no when the register is read.
TEST_F(VlanSupportVerdict, IsNoBeforeTheRead) {
    uint32_t seen = 5;
    platform.on_call = [&](const std::string &text) {
        if (text.find("look up hwa_getreg") == 0) {
            seen = verdict;
        }
    };
    EXPECT_EQ(ksl_validate_VLAN_enable(0, &verdict), 0);
    EXPECT_EQ(seen, 0u);
}

TEST_F(VlanSupportVerdict, IsReadAndWrittenUnchecked) {
    EXPECT_DEATH(ksl_validate_VLAN_enable(0, nullptr), "");
}

} // namespace
} // namespace ksl::test
