// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/failures.h"
#include "kslctl/hub/ports.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using FailedChanges = hub_test::HubTest;

TEST(Causes, TheSameCodeOfAChipIsOne) {
    const Failure link{1, "operation", "link", 17};
    const Failure mode{1, "other", "mode", 17};
    const Failure other_code{1, "operation", "speed", 18};
    const Failure other_chip{2, "operation", "link", 17};
    EXPECT_THAT(by_cause({link, other_code, mode, other_chip}),
                ElementsAre(Failures{link, mode}, Failures{other_code}, Failures{other_chip}));
    EXPECT_THAT(by_cause({}), IsEmpty());
}

TEST(Causes, WithoutACodeTheReasonIs) {
    const Failure asleep{1, {}, "port 3", 0, "not set", {}, "it is asleep"};
    const Failure too{1, {}, "port 4", 0, "not set", {}, "it is asleep"};
    const Failure away{1, {}, "port 5", 0, "not set", {}, "it is away"};
    EXPECT_THAT(by_cause({asleep, away, too}), ElementsAre(Failures{asleep, too}, Failures{away}));
}

TEST(Causes, ARefusedArgumentIsNotAMissingEntryPoint) {
    const Failure missing{1, "operation", "limit of port 3", -1, "not set"};
    const Failure refused{1, "operation", "limit of port 4", -1, "not set", "too high"};
    EXPECT_FALSE(have_same_cause(missing, refused));
    EXPECT_TRUE(have_same_cause(refused, refused));
}

// What is not written since it could not be read fails for that reason.
TEST_F(FailedChanges, HaveTheCauseOfTheRead) {
    open("getreg page=0x14 offset=0 code=17; getreg page=0 offset=0xd5 code=18");
    Failures failures;
    const uint32_t ports[] = {3, 4, 5};
    change_ports(0, ports, kActivatePort, false, failures);
    const std::vector<Failures> causes = by_cause(failures);
    ASSERT_THAT(causes, SizeIs(2));
    ASSERT_THAT(causes[0], SizeIs(2));
    EXPECT_EQ(causes[0][0].about, "PHY control of port 4 (page 0x14, offset 0x00)");
    EXPECT_EQ(causes[0][1].about, "port 4");
    EXPECT_EQ(causes[0][1].undone, "not switched on");
    ASSERT_THAT(causes[1], SizeIs(2));
    EXPECT_EQ(causes[1][1].about, "port 5");
}

} // namespace
