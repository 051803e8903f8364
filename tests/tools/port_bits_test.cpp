// SPDX-License-Identifier: Apache-2.0
#include "kslctl/port_bits.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl;

TEST(PhyControlBits, TextTellsEachBit) {
    const std::pair<Bytes, const char *> rows[] = {
        {{0x00, 0x00}, "forced 10 half"},
        {{0x10, 0x00}, "auto 10 half"},
        {{0x20, 0x00}, "forced 100 half"},
        {{0x01, 0x00}, "forced 10 full"},
        {{0x40, 0x00}, "forced 10 half, loopback"},
        {{0x08, 0x00}, "forced 10 half, power down"},
        {{0x04, 0x00}, "forced 10 half, isolated"},
        {{0x80, 0x00}, "forced 10 half, reset"},
        {{0x02, 0xFF, 0xFF}, "forced 10 half"}, // nothing is read into the others
        {{0xFF, 0xFF}, "auto 100 full, loopback, power down, isolated, reset"},
    };
    for (const auto &[bytes, text] : rows) {
        EXPECT_EQ(phy_control_text(bytes), text);
    }
}

TEST(PhyControlBits, JsonTellsEachBit) {
    const Json none = {{"negotiates", false}, {"speed", 10},       {"duplex", "half"}, {"loopback", false},
                       {"power_down", false}, {"isolated", false}, {"reset", false}};
    EXPECT_EQ(phy_control_json({0x02, 0xFF}), none);
    const std::tuple<uint8_t, const char *, Json> rows[] = {
        {0x10, "negotiates", true}, {0x20, "speed", 100},     {0x01, "duplex", "full"}, {0x40, "loopback", true},
        {0x08, "power_down", true}, {0x04, "isolated", true}, {0x80, "reset", true},
    };
    for (const auto &[first, key, value] : rows) {
        Json expected = none;
        expected[key] = value;
        EXPECT_EQ(phy_control_json({first, 0x00}), expected) << key;
    }
}

TEST(PhyControlBits, AForcedSpeedKeepsTheOtherBits) {
    EXPECT_EQ(with_speed({0x00, 0x00}, 100), (Bytes{0x30, 0x00}));
    EXPECT_EQ(with_speed({0xCF, 0xFF}, 100), (Bytes{0xFF, 0xFF}));
    EXPECT_EQ(with_speed({0xFF, 0xFF}, 10), (Bytes{0xCF, 0xFF}));
    EXPECT_EQ(with_speed({0x31, 0x40}, 10), (Bytes{0x01, 0x40}));
}

TEST(PortControlBits, OnlyTheLowestTwoCount) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char *const expected[] = {"on", "partly", "partly", "off"};
        const Bytes bytes = {static_cast<uint8_t>(byte), 0xFF, 0xFF, 0xFF};
        EXPECT_EQ(port_control_text(bytes), expected[byte & 3]) << byte;
        EXPECT_EQ(port_control_json(bytes), expected[byte & 3]) << byte;
    }
}

TEST(SpeedIndicationBits, BitOneIsTheSpeed) {
    EXPECT_EQ(speed_indication_text({0x00, 0x02}), "100");
    EXPECT_EQ(speed_indication_text({0xFF, 0xFD}), "10");
    EXPECT_EQ(speed_indication_json({0xFF, 0x02}), 100);
    EXPECT_EQ(speed_indication_json({0x02, 0x00}), 10);
}

TEST(PvidBits, VlanAndPriority) {
    EXPECT_EQ(pvid_text({0x20, 0x64}), "VLAN 100, priority 1");
    EXPECT_EQ(pvid_text({0xFF, 0xFF}), "VLAN 4095, priority 7");
    EXPECT_EQ(pvid_text({0x10, 0x00}), "VLAN 0, priority 0"); // bit 12 is neither
    EXPECT_EQ(pvid_json({0x4F, 0xFE}), (Json{{"vid", 4094}, {"priority", 2}}));
}

TEST(PvidBits, AreWrittenWithBit12Clear) {
    EXPECT_EQ(pvid_bytes(4095, 7), (Bytes{0xEF, 0xFF}));
    EXPECT_EQ(pvid_bytes(0x123, 1), (Bytes{0x21, 0x23}));
    EXPECT_EQ(pvid_bytes(0, 0), (Bytes{}));
}

} // namespace
