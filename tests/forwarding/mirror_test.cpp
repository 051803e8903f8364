// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "forwarding/trace_points.h"

namespace ksl::test {
namespace {

class Mirror : public Opened {
protected:
    static Call control(uint32_t chip, uint32_t word) { return setreg(chip, 2, 0x10, bytes_of(word)); }
    static Call ingress(uint32_t chip, uint32_t word) { return setreg(chip, 2, 0x14, bytes_of(word)); }
    static Call egress(uint32_t chip, uint32_t word) { return setreg(chip, 2, 0x20, bytes_of(word)); }
};

TEST_F(Mirror, IsSetByThreeWords) {
    struct {
        uint32_t capture, first, last, control, egress;
    } const rows[] = {
        {5, 0, 3, 0x80000020, 0x0000000F},  {5, 7, 2, 0x80000020, 0x00000000},  {23, 23, 23, 0x80800000, 0x00800000},
        {0, 0, 23, 0x80000001, 0x00FFFFFF}, {0, 23, 0, 0x80000001, 0x00000000},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(ksl_set_mirror_port(0x102, row.capture, row.first, row.last), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_mirror_port_entry, 0x102, row.capture, row.first, row.last),
                                       control(2, row.control),
                                       ingress(2, 0),
                                       egress(2, row.egress),
                                       record(points::set_mirror_port_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(Mirror, EveryRangeIsMirrored) {
    for (uint32_t first = 0; first < 24; ++first) {
        for (uint32_t last = 0; last < 24; ++last) {
            uint32_t mask = 0;
            for (uint32_t port = first; port <= last; ++port) {
                mask |= 1u << port;
            }
            EXPECT_EQ(ksl_set_mirror_port(0, first, first, last), 0);
            const Calls calls = platform.take();
            ASSERT_EQ(calls.size(), 7u);
            EXPECT_EQ(calls[2].text, control(0, 0x80000000 | 1u << first).text);
            EXPECT_EQ(calls[4].text, egress(0, mask).text);
        }
    }
}

TEST_F(Mirror, RefusesAnyPortAboveTheLast) {
    struct {
        uint32_t capture, first, last;
    } const rows[] = {{24, 0, 0}, {0, 24, 0}, {0, 0, 24}, {0xFFFFFFFF, 0, 0}, {0, 0x100, 0}, {0, 0, 0x80000000}};
    ksl_enable_time();
    for (const auto &row : rows) {
        EXPECT_EQ(ksl_set_mirror_port(3, row.capture, row.first, row.last), -1);
        EXPECT_EQ(platform.take(),
                  (Calls{stamp_start(), record(points::set_mirror_port_entry, 3, row.capture, row.first, row.last)}));
    }
}

TEST_F(Mirror, AFailedWriteEndsItAndUndoesNothing) {
    for (const int32_t code : kFailureCodes) {
        for (uint32_t failing = 1; failing <= 3; ++failing) {
            SCOPED_TRACE(failing);
            platform.failures = {{failing, code}};
            EXPECT_EQ(ksl_set_mirror_port(1, 5, 0, 3), code);
            Calls calls{stamp_start(), record(points::set_mirror_port_entry, 1, 5, 0, 3), control(1, 0x80000020)};
            if (failing > 1) {
                calls.push_back(ingress(1, 0));
            }
            if (failing > 2) {
                calls.push_back(egress(1, 0xF));
            }
            const uint32_t offset = failing == 1 ? 0x10 : failing == 2 ? 0x14 : 0x20;
            calls += {record(points::register_write_failed, 2, offset, 4), record(points::set_mirror_port_exit, code),
                      stamp_end()};
            EXPECT_EQ(platform.take(), calls);
        }
    }
}

TEST_F(Mirror, IsNotSetWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_set_mirror_port(1, 5, 0, 3), -1);
    EXPECT_EQ(platform.take(),
              (Calls{stamp_start(), record(points::set_mirror_port_entry, 1, 5, 0, 3), lookup_missing("hwa_setreg"),
                     record(points::setreg_missing), record(points::register_write_failed, 2, 0x10, 4),
                     record(points::set_mirror_port_exit, -1), stamp_end()}));
}

TEST_F(Mirror, IsUnsetByItsControlWordAlone) {
    for (const uint32_t port : {0u, 1u, 22u, 23u}) {
        EXPECT_EQ(ksl_unset_mirror_port(0x102, port), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::unset_mirror_port_entry, 0x102, port),
                                       control(2, 0),
                                       record(points::unset_mirror_port_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(Mirror, IsNotUnsetForAPortAboveTheLast) {
    ksl_enable_time();
    for (const uint32_t port : {24u, 0x100u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_unset_mirror_port(3, port), -1);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::unset_mirror_port_entry, 3, port)}));
    }
}

TEST_F(Mirror, AFailedUnsetIsTracedAsAFailedRead) {
    for (const int32_t code : kFailureCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_unset_mirror_port(1, 5), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::unset_mirror_port_entry, 1, 5),
                                       control(1, 0),
                                       record(points::register_read_failed, 2, 0x10, 4),
                                       record(points::unset_mirror_port_exit, code),
                                       stamp_end(),
                                   }));
    }
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_unset_mirror_port(1, 5), -1);
    EXPECT_EQ(platform.take(),
              (Calls{stamp_start(), record(points::unset_mirror_port_entry, 1, 5), lookup_missing("hwa_setreg"),
                     record(points::setreg_missing), record(points::register_read_failed, 2, 0x10, 4),
                     record(points::unset_mirror_port_exit, -1), stamp_end()}));
}

} // namespace
} // namespace ksl::test
