// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "vlan/trace_points.h"

namespace ksl::test {
namespace {

class VlanTable : public Opened {
protected:
    Output out;
    const Bytes entry{0xF8, 0xC1, 0x02, 0x03, 0xA4, 0x05, 0x06, 0x07};

    static Bytes vid_address(uint32_t vid) {
        return {0x00, static_cast<uint8_t>(0x20 | vid >> 8), static_cast<uint8_t>(vid)};
    }
};

TEST_F(VlanTable, EntryIsAddressedThenCommandedThenRead) {
    platform.registers[{0x08, 0x38}] = entry;
    EXPECT_EQ(ksl_read_VLAN_map(0x102, 0x123, out), 0);
    EXPECT_TRUE(out.holds(entry));
    const Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 9u) << calls;
    // Only the operation knows where it keeps the entry; the second address is that of the entry's fourth byte.
    const uint32_t buffer = slots(calls[5])[0];
    EXPECT_NE(buffer, 0u);
    EXPECT_NE(buffer, address(out));
    EXPECT_EQ(calls, (Calls{
                         stamp_start(),
                         record(points::read_VLAN_map_entry, 0x102, 0x123),
                         setreg(2, 0x08, 0x32, {0x00, 0x21, 0x23}),
                         setreg(2, 0x08, 0x30, {0x81, 0x00, 0x00}),
                         getreg(2, 0x08, 0x38, 8),
                         record(points::read_VLAN_map_buffer, buffer, buffer + 3),
                         record(points::read_VLAN_map_fields, 1, 0x03, 0x010203, 0x14, 0x4050607),
                         record(points::read_VLAN_map_exit, 0),
                         stamp_end(),
                     }));
}

TEST_F(VlanTable, EntryIsTracedBeforeItIsDelivered) {
    uint32_t traced = 0;
    platform.registers[{0x08, 0x38}] = entry;
    platform.on_call = [&](const std::string &text) {
        if (text == record(points::read_VLAN_map_fields, 1, 0x03, 0x010203, 0x14, 0x4050607).text) {
            ++traced;
            EXPECT_TRUE(out.holds({}));
        }
    };
    EXPECT_EQ(ksl_read_VLAN_map(0, 10, out), 0);
    EXPECT_EQ(traced, 1u);
}

// Each field alone with all its bits set, the bits above all fields, and all bits together.
TEST_F(VlanTable, EntryIsTracedInItsFiveFields) {
    const struct {
        Bytes entry;
        std::vector<uint32_t> fields;
    } rows[] = {
        {{0x08, 0, 0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}},
        {{0x07, 0xC0, 0, 0, 0, 0, 0, 0}, {0, 0x1F, 0, 0, 0}},
        {{0, 0x3F, 0xFF, 0xFF, 0, 0, 0, 0}, {0, 0, 0x3FFFFF, 0, 0}},
        {{0, 0, 0, 0, 0xF8, 0, 0, 0}, {0, 0, 0, 0x1F, 0}},
        {{0, 0, 0, 0, 0x07, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 0, 0x7FFFFFF}},
        {{0xF0, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}},
        {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, {1, 0x1F, 0x3FFFFF, 0x1F, 0x7FFFFFF}},
    };
    for (const auto &row : rows) {
        platform.registers[{0x08, 0x38}] = row.entry;
        EXPECT_EQ(ksl_read_VLAN_map(0, 1, out), 0);
        EXPECT_TRUE(out.holds(row.entry));
        EXPECT_EQ(platform.take()[6].text, record(points::read_VLAN_map_fields, row.fields).text);
    }
}

TEST_F(VlanTable, AcceptsEveryVlan) {
    for (const uint32_t vid : {1u, 0xFFu, 0x100u, 0x800u, 4093u, 4094u}) {
        EXPECT_EQ(ksl_read_VLAN_map(0, vid, out), 0);
        EXPECT_EQ(platform.take()[2].text, setreg(0, 0x08, 0x32, vid_address(vid)).text);
    }
}

TEST_F(VlanTable, RefusesOtherNumbersAndNeedsAnOutput) {
    ksl_enable_time();
    for (const uint32_t vid : {0u, 4095u, 4096u, 4097u, 0x80000001u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_read_VLAN_map(0, vid, out), -1);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_VLAN_map_entry, 0, vid)}));
    }
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(ksl_read_VLAN_map(7, 0, nullptr), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_VLAN_map_entry, 7, 0)}));
    EXPECT_EQ(ksl_read_VLAN_map(7, 1, nullptr), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_VLAN_map_entry, 7, 1)}));
}

TEST_F(VlanTable, EndsAtTheFirstFailure) {
    platform.failing_reads_deliver = true;
    const Calls accesses{setreg(0, 0x08, 0x32, {0x00, 0x20, 0x0A}), setreg(0, 0x08, 0x30, {0x81, 0x00, 0x00}),
                         getreg(0, 0x08, 0x38, 8)};
    const Call failures[] = {record(points::register_write_failed, 0x08, 0x32, 3),
                             record(points::register_write_failed, 0x08, 0x30, 3),
                             record(points::register_read_failed, 0x08, 0x38, 8)};
    for (uint32_t failing = 0; failing < 3; ++failing) {
        for (const int32_t code : kCodes) {
            platform.failures = {{failing + 1, code}};
            EXPECT_EQ(ksl_read_VLAN_map(0, 10, out), code);
            EXPECT_TRUE(out.holds({}));
            Calls expected{stamp_start(), record(points::read_VLAN_map_entry, 0, 10)};
            expected.insert(expected.end(), accesses.begin(), accesses.begin() + failing + 1);
            expected += {failures[failing], record(points::read_VLAN_map_exit, code), stamp_end()};
            EXPECT_EQ(platform.take(), expected);
        }
    }
}

TEST_F(VlanTable, FailsWithoutTheEntryPoints) {
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_read_VLAN_map(0, 10, out), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_VLAN_map_entry, 0, 10),
                                   lookup_missing("hwa_setreg"),
                                   record(points::setreg_missing),
                                   record(points::register_write_failed, 0x08, 0x32, 3),
                                   record(points::read_VLAN_map_exit, -1),
                                   stamp_end(),
                               }));
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_VLAN_map(0, 10, out), -1);
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_VLAN_map_entry, 0, 10),
                                   setreg(0, 0x08, 0x32, {0x00, 0x20, 0x0A}),
                                   setreg(0, 0x08, 0x30, {0x81, 0x00, 0x00}),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, 0x08, 0x38, 8),
                                   record(points::read_VLAN_map_exit, -1),
                                   stamp_end(),
                               }));
}

TEST_F(VlanTable, EntryIsReadIntoAClearedBuffer) {
    platform.delivered_bytes = 3;
    platform.registers[{0x08, 0x38}] = entry;
    EXPECT_EQ(ksl_read_VLAN_map(0, 10, out), 0);
    EXPECT_TRUE(out.holds({0xF8, 0xC1, 0x02, 0, 0, 0, 0, 0}));
}

} // namespace
} // namespace ksl::test
