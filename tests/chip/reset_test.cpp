// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "chip/trace_points.h"

namespace ksl::test {
namespace {

using Reset = Opened;

TEST_F(Reset, PassesTheWholeChipNumberAndMarksItsSuccess) {
    for (const uint32_t chip : {0u, 0x102u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_reset_switch(chip), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::reset_switch_entry, chip),
                                       entry_point("hwa_resetswitch", {chip}),
                                       record(points::reset_switch_done),
                                       record(points::reset_switch_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(Reset, AFailureIsTracedWithTheChip) {
    for (const int32_t code : kFailureCodes) {
        platform.result = code;
        EXPECT_EQ(ksl_reset_switch(0x102), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::reset_switch_entry, 0x102),
                                       entry_point("hwa_resetswitch", {0x102}),
                                       record(points::reset_switch_failed, 0x102),
                                       record(points::reset_switch_exit, code),
                                       stamp_end(),
                                   }));
    }
    platform.missing_entry_points = {"hwa_resetswitch"};
    EXPECT_EQ(ksl_reset_switch(3), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::reset_switch_entry, 3),
                                   lookup_missing("hwa_resetswitch"),
                                   record(points::resetswitch_missing),
                                   record(points::reset_switch_failed, 3),
                                   record(points::reset_switch_exit, -1),
                                   stamp_end(),
                               }));
}

using Configuration = Opened;

TEST_F(Configuration, IsPassedOn) {
    for (const uint32_t configuration : {0u, 1u, 2u}) {
        EXPECT_EQ(dbg_ksl_set_EPN_configuration(0x102, configuration), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_epn_configuration_entry, 0x102, configuration),
                                       entry_point("hwa_setswitchconfig", {0x02, configuration}),
                                       record(points::set_epn_configuration_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(Configuration, AboveTheLastNeverReachesTheLowerLibrary) {
    for (const uint32_t configuration : {3u, 0x100u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(dbg_ksl_set_EPN_configuration(0x102, configuration), -1);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_epn_configuration_entry, 0x102, configuration),
                                       record(points::set_epn_configuration_refused, configuration),
                                       record(points::set_epn_configuration_exit, -1),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(Configuration, AFailureIsTracedWithItsCode) {
    for (const int32_t code : kFailureCodes) {
        platform.result = code;
        EXPECT_EQ(dbg_ksl_set_EPN_configuration(0x102, 2), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_epn_configuration_entry, 0x102, 2),
                                       entry_point("hwa_setswitchconfig", {0x02, 2}),
                                       record(points::set_epn_configuration_failed, 0x102, 2, code),
                                       record(points::set_epn_configuration_exit, code),
                                       stamp_end(),
                                   }));
    }
    platform.missing_entry_points = {"hwa_setswitchconfig"};
    EXPECT_EQ(dbg_ksl_set_EPN_configuration(3, 1), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::set_epn_configuration_entry, 3, 1),
                                   lookup_missing("hwa_setswitchconfig"),
                                   record(points::setswitchconfig_missing),
                                   record(points::set_epn_configuration_failed, 3, 1, -1),
                                   record(points::set_epn_configuration_exit, -1),
                                   stamp_end(),
                               }));
}

} // namespace
} // namespace ksl::test
