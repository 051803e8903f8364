// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/chip.h"
#include "kslctl/hub/registers.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;

using Firmware = hub_test::HubTest;
using Actions = hub_test::HubTest;

TEST_F(Firmware, HasNineBytes) {
    open();
    Failures failures;
    const Fact<FirmwareVersion> version = read_firmware_version(0, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_TRUE(version.is_read());
    EXPECT_NE(*version, FirmwareVersion{});
}

TEST_F(Firmware, MayNotBeRead) {
    open("engpowercmd code=17");
    Failures failures;
    const Fact<FirmwareVersion> version = read_firmware_version(0, failures);
    const Failure expected{0, "ksl_read_EPN_firmware_version", "firmware version", 17};
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_EQ(version, Fact<FirmwareVersion>(expected));
}

TEST_F(Actions, AreDone) {
    open();
    Failures failures;
    EXPECT_TRUE(perform(reset_switch(), 0, failures));
    EXPECT_TRUE(perform(select_configuration(2), 0, failures));
    const Fact<Bytes> mode = read(registers::switch_mode, 0, 0, failures);
    EXPECT_TRUE(perform(select_configuration(0), 0, failures));
    EXPECT_NE(read(registers::switch_mode, 0, 0, failures), mode);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Actions, MayFail) {
    open("resetswitch code=17; setswitchconfig code=18");
    Failures failures;
    EXPECT_FALSE(perform(reset_switch(), 0, failures));
    EXPECT_FALSE(perform(select_configuration(1), 0, failures));
    EXPECT_THAT(failures, ElementsAre(Failure{0, "ksl_reset_switch", "switch", 17, "not reset"},
                                      Failure{0, "dbg_ksl_set_EPN_configuration", "hub configuration", 18, "not set"}));
}

// Whatever is asked, nothing is done.
TEST_F(Actions, MayBePossible) {
    open("resetswitch code=17; setswitchconfig code=17");
    Failures failures;
    EXPECT_TRUE(can_perform(reset_switch(), 0, failures));
    EXPECT_TRUE(can_perform(select_configuration(2), 1, failures));
    EXPECT_THAT(failures, IsEmpty());

    EXPECT_FALSE(can_perform(reset_switch(), 9, failures));
    const Failure absent{9, "ksl_read_switch_mode_reg", "switch mode (page 0x00, offset 0x00)", 101};
    EXPECT_THAT(failures, ElementsAre(absent));
    EXPECT_TRUE(can_perform(pass_mac_filter(9), 9, failures));
    EXPECT_THAT(failures, ElementsAre(absent));
}

// The hub would refuse it.
TEST_F(Actions, AMacFilterIsNotSent) {
    open("setmacfilter code=17");
    Failures failures;
    EXPECT_TRUE(perform(pass_mac_filter(9), 0, failures));
    EXPECT_THAT(failures, IsEmpty());
}

} // namespace
