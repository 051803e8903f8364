// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/registers.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(PortList, HasTheBitsOfTheWord) {
    EXPECT_THAT(ports_of(0), IsEmpty());
    EXPECT_THAT(ports_of(0x00800005), ElementsAre(0, 2, 23));
    EXPECT_THAT(ports_of(0xFF000000), IsEmpty());
}

TEST(PortList, IsDescribedByRanges) {
    EXPECT_EQ(describe_ports({}), "no port");
    EXPECT_EQ(describe_ports({7}), "port 7");
    EXPECT_EQ(describe_ports({0, 1}), "ports 0-1");
    EXPECT_EQ(describe_ports({0, 2}), "ports 0, 2");
    EXPECT_EQ(describe_ports({0, 1, 2, 3, 7, 22, 23}), "ports 0-3, 7, 22-23");
}

TEST(PortList, AnyNumbersAreDescribedByRanges) {
    EXPECT_EQ(describe_numbers({}), "");
    EXPECT_EQ(describe_numbers({1, 4093, 4094}), "1, 4093-4094");
    EXPECT_EQ(describe_some({1, 3, 5, 7, 9, 11, 12}), "1, 3, 5, 7, 9, 11-12");
    EXPECT_EQ(describe_some({1, 3, 5, 7, 9, 11, 13}), "1, 3, 5, 7, 9, 11 and more");
}

} // namespace
