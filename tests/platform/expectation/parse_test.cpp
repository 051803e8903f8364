// SPDX-License-Identifier: Apache-2.0
// The contents of good files.
#include "expectation.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace kslcfg {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kAllPorts = R"("pvids": [{"ports": ["0-23"], "vid": 1}])";

Expectation with(const std::string &members) {
    return parse("{" + kAllPorts + ", " + members + "}");
}

VlanEntry only_vlan(const std::string &members) {
    return with(R"("vlans": [{)" + members + "}]").vlans.at(0);
}

TEST(ParseExpectation, ReadsTheSmallestFile) {
    const Expectation expectation = parse("{" + kAllPorts + "}");
    EXPECT_EQ(expectation.name, "");
    EXPECT_THAT(expectation.pvids, Each(Pvid{.vid = 1, .priority = 0}));
    EXPECT_THAT(expectation.vlans, IsEmpty());
    EXPECT_THAT(expectation.registers, IsEmpty());
}

TEST(ParseExpectation, ReadsEveryKey) {
    const Expectation expectation = parse(R"({
        "name": "north \"rack\"",
        "pvids": [
            {"ports": [0, "2-22"], "vid": "0xFFF", "priority": 7},
            {"priority": 3, "vid": 0, "ports": [23, 1]}
        ],
        "vlans": [
            {"vid": 4094, "valid": true, "field": 31, "upper": [0, "2-4", 26], "lower": "0x7FFFFFF"},
            {"vid": 1, "valid": false, "upper": [], "lower": "0x0"}
        ],
        "registers": [
            {"page": "0x02", "offset": 6, "bytes": "000A bc dE"},
            {"page": 255, "offset": "0xff", "bytes": "80"}
        ]
    })");
    EXPECT_EQ(expectation.name, "north \"rack\"");
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        const bool second_row = port == 1 || port == 23;
        EXPECT_EQ(expectation.pvids[port], (second_row ? Pvid{0, 3} : Pvid{0xFFF, 7})) << port;
    }
    EXPECT_THAT(expectation.vlans, ElementsAre(VlanEntry{4094, true, 31, 0x400001D, 0x7FFFFFF}, //
                                               VlanEntry{1, false, 0, 0, 0}));
    EXPECT_THAT(expectation.registers,
                ElementsAre(Setting{0x02, 0x06, {0x00, 0x0A, 0xBC, 0xDE}}, Setting{0xFF, 0xFF, {0x80}}));
}

TEST(ParseExpectation, SetsEveryBitOfAMap) {
    for (unsigned bit = 0; bit < kMapBits; ++bit) {
        const std::string list = "[" + std::to_string(bit) + "]";
        const VlanEntry entry =
            only_vlan(R"("vid": 7, "upper": )" + list + R"(, "lower": ["0-)" + std::to_string(bit) + R"("])");
        EXPECT_EQ(entry, (VlanEntry{7, true, 0, 1U << bit, (2U << bit) - 1})) << bit;
    }
}

TEST(ParseExpectation, TakesTheLimitsOfEveryNumber) {
    EXPECT_EQ(only_vlan(R"("vid": 1, "upper": [], "lower": [])").vid, 1);
    EXPECT_EQ(only_vlan(R"("vid": 4094, "upper": [], "lower": [])").vid, 4094);
    EXPECT_EQ(only_vlan(R"("vid": 1, "field": 0, "upper": [], "lower": [])").field, 0);
    EXPECT_EQ(only_vlan(R"("vid": 1, "field": 31, "upper": [], "lower": [])").field, 31);
    EXPECT_EQ(only_vlan(R"("vid": 1, "upper": "0x7ffffff", "lower": "0x000000001")"),
              (VlanEntry{1, true, 0, 0x7FFFFFF, 1}));
}

TEST(ParseExpectation, TakesEveryRegisterThatHasNoOtherKey) {
    const Expectation expectation = with(R"("registers": [
        {"page": 0, "offset": 0, "bytes": "80"},
        {"page": "0x34", "offset": 0, "bytes": "8000000000000000"},
        {"page": "0x34", "offset": 15, "bytes": "01"},
        {"page": "0x34", "offset": 64, "bytes": "02"},
        {"page": "0x08", "offset": 47, "bytes": "03"},
        {"page": "0x08", "offset": 64, "bytes": "04"},
        {"page": "0x07", "offset": 56, "bytes": "05"},
        {"page": "0x33", "offset": 16, "bytes": "06"},
        {"page": "0x33", "offset": 17, "bytes": "07"},
        {"page": 9, "offset": 248, "bytes": "00 01 02 03 04 05 06 07"}
    ])");
    EXPECT_EQ(expectation.registers.size(), 10u);
    EXPECT_EQ(expectation.registers[1].bytes, (std::vector<uint8_t>{0x80, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(expectation.registers[9].bytes, (std::vector<uint8_t>{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST(ParseExpectation, HasRoomForEveryVlan) {
    std::string rows;
    for (unsigned vid = 1; vid <= kLastVid; ++vid) {
        rows += (vid == 1 ? "" : ",\n") + std::string(R"({"vid": )") + std::to_string(vid) +
                R"(, "upper": "0x0", "lower": "0x0"})";
    }
    const Expectation expectation = with(R"("vlans": [)" + rows + "]");
    EXPECT_EQ(expectation.vlans.size(), kLastVid);
    EXPECT_EQ(expectation.vlans.back().vid, kLastVid);
}

// The manual page's example can be used.
TEST(ParseExpectation, ReadsTheDescribedExample) {
    std::ostringstream text;
    text << std::ifstream(DOCUMENT).rdbuf();
    const std::string document = text.str();
    const size_t start = document.find("```\n{") + 4;
    const Expectation expectation = parse(document.substr(start, document.find("```", start) - start));
    EXPECT_EQ(expectation.pvids[13], (Pvid{300, 7}));
    ASSERT_NE(find_vlan(expectation, 300), nullptr);
    EXPECT_EQ(find_vlan(expectation, 300)->upper, 0x4003000u);
    EXPECT_EQ(find_vlan(expectation, 300)->lower, 0x0003000u);
    EXPECT_EQ(find_vlan(expectation, 301), nullptr);
    EXPECT_EQ(expectation.registers.size(), 1u);
}

} // namespace
} // namespace kslcfg
