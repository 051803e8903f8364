// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/chips.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Chips = hub_test::HubTest;

TEST_F(Chips, ThoseThatAnswerAreFound) {
    open();
    const std::vector<uint32_t> numbers = all_chip_numbers();
    ASSERT_THAT(numbers, SizeIs(256));
    EXPECT_EQ(numbers.back(), 255U);
    const ChipSearch search = search_chips(numbers);
    EXPECT_THAT(search.found, ElementsAre(0, 1));
    ASSERT_THAT(search.silent, SizeIs(254));
    EXPECT_EQ(search.silent[0], (Failure{2, "ksl_read_switch_mode_reg", "switch mode (page 0x00, offset 0x00)", 101}));
}

TEST_F(Chips, OnlyTheGivenOnesAreAsked) {
    open();
    const uint32_t numbers[] = {9, 1};
    const ChipSearch search = search_chips(numbers);
    EXPECT_THAT(search.found, ElementsAre(1));
    ASSERT_THAT(search.silent, SizeIs(1));
    EXPECT_EQ(search.silent[0].chip, 9U);
}

// Nor does the summary take them.
TEST_F(Chips, TheSearchLeavesTheChangeMarks) {
    open();
    Failures failures;
    search_chips(all_chip_numbers());
    read_chip_summary(0, failures);
    const ChipStatus status = read_status(0, {&registers::link_change}, failures);
    EXPECT_EQ(status.ports[3].changed, Fact<bool>(true));
    EXPECT_EQ(read_status(0, {&registers::link_change}, failures).ports[3].changed, Fact<bool>(false));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(Chips, ASummaryCountsTheLinks) {
    open();
    Failures failures;
    const ChipSummary summary = read_chip_summary(1, failures);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(summary.chip, 1U);
    EXPECT_EQ(summary.mode, Fact<Mode>(Mode{true, true}));
    EXPECT_EQ(summary.self_test, Fact<SelfTest>(SelfTest{true, {}}));
    uint32_t links = 0;
    for (const PortStatus &port : read_status(1, {&registers::link_status}, failures).ports) {
        links += *port.link ? 1 : 0;
    }
    EXPECT_GT(links, 0U);
    EXPECT_EQ(summary.links, Fact<uint32_t>(links));
    EXPECT_TRUE(summary.firmware.is_read());
}

TEST_F(Chips, PartsOfASummaryMayFail) {
    open("engpowercmd code=17; getreg page=1 offset=0x10 code=18");
    Failures failures;
    const ChipSummary summary = read_chip_summary(0, failures);
    ASSERT_THAT(failures, SizeIs(2));
    EXPECT_EQ(summary.links, Fact<uint32_t>(failures[0]));
    EXPECT_EQ(summary.firmware, Fact<FirmwareVersion>(failures[1]));
    EXPECT_TRUE(summary.mode.is_read());
}

} // namespace
