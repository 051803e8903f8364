// SPDX-License-Identifier: Apache-2.0
#include "kslctl/status_bits.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(StatusBits, EachPortHasItsBitInTheBigEndianWord) {
    for (unsigned set = 0; set < 32; ++set) {
        const uint32_t word = uint32_t{1} << set;
        const Bytes bytes = {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16),
                             static_cast<uint8_t>(word >> 8), static_cast<uint8_t>(word)};
        for (unsigned port = 0; port < 24; ++port) {
            EXPECT_EQ(port_bit(bytes, port), port == set) << "port " << port << ", bit " << set;
        }
    }
}

TEST(StatusBits, SelfTestVerdictIsTheTopBit) {
    EXPECT_TRUE(self_test({}).passed);
    EXPECT_FALSE(self_test({0x80}).passed);
    EXPECT_TRUE(self_test({0x7F, 0xFF, 0xFF}).passed);
    EXPECT_THAT(self_test({0xFF, 0xFF, 0xFF, 0, 0, 0, 0xFF, 0xFF}).failed_ports, IsEmpty());
}

TEST(StatusBits, SelfTestNamesThePortsOfTheLowest24Bits) {
    EXPECT_THAT(self_test({0x80, 0, 0, 0x80, 0x01, 0x03}).failed_ports, ElementsAre(0, 1, 8, 23));
}

TEST(StatusBits, ModeIsTheLowestTwoBitsOfTheFirstByte) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const Mode read = mode({static_cast<uint8_t>(byte), 0xFF, 0xFF, 0xFF});
        EXPECT_EQ(read.managed, (byte & 1) != 0) << byte;
        EXPECT_EQ(read.forwarding, (byte & 2) != 0) << byte;
    }
}

} // namespace
