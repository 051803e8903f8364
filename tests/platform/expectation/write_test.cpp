// SPDX-License-Identifier: Apache-2.0
// The JSON form that is written, and read again.
#include "expectation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace kslcfg {
namespace {

TEST(WriteExpectation, WritesARowALine) {
    Expectation expectation;
    expectation.name = "a \"b\"\xFF";
    expectation.pvids.fill({.vid = 1, .priority = 0});
    expectation.pvids[3] = {.vid = 4095, .priority = 7};
    expectation.pvids[23] = {.vid = 1, .priority = 1};
    expectation.vlans = {{300, true, 31, 0x400001D, 0}, {2, false, 0, 0x7FFFFFF, 0x2000001}};
    expectation.registers = {{0xAB, 0x0C, {0x80, 0x01}}, {0x02, 0xFF, {0x00}}};
    EXPECT_EQ(to_json(expectation), R"({
  "name": "a \"b\")"
                                    "\uFFFD"
                                    R"(",
  "pvids": [
    { "ports": ["0-2", "4-22"], "vid": 1, "priority": 0 },
    { "ports": [3], "vid": 4095, "priority": 7 },
    { "ports": [23], "vid": 1, "priority": 1 }
  ],
  "vlans": [
    { "vid": 300, "valid": true, "field": 31, "upper": [0, "2-4", 26], "lower": [] },
    { "vid": 2, "valid": false, "field": 0, "upper": ["0-26"], "lower": [0, 25] }
  ],
  "registers": [
    { "page": "0xAB", "offset": "0x0C", "bytes": "80 01" },
    { "page": "0x02", "offset": "0xFF", "bytes": "00" }
  ]
}
)");
}

TEST(WriteExpectation, WritesEmptyLists) {
    EXPECT_EQ(to_json(Expectation{}), R"({
  "name": "",
  "pvids": [
    { "ports": ["0-23"], "vid": 0, "priority": 0 }
  ],
  "vlans": [],
  "registers": []
}
)");
}

// Values that are too large for a register are cut to its width, so that the file can be read.
TEST(WriteExpectation, CutsValuesToTheirWidth) {
    Expectation expectation;
    expectation.pvids.fill({.vid = 0xF123, .priority = 0xFD});
    expectation.vlans = {{1, true, 0xE3, 0xF8000001, 0xFFFFFFFF}};
    const Expectation read = parse(to_json(expectation));
    EXPECT_EQ(read.pvids[0], (Pvid{0x123, 5}));
    EXPECT_EQ(read.vlans[0], (VlanEntry{1, true, 3, 1, 0x7FFFFFF}));
}

TEST(WriteExpectation, IsReadAsItWasMeant) {
    std::mt19937 random(20);
    const auto below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    for (int round = 0; round < 50; ++round) {
        Expectation expectation;
        expectation.name = std::string("\"\\/") + char('a' + below(26)) + "\u00e9\u20ac";
        for (Pvid &pvid : expectation.pvids) {
            pvid = {static_cast<uint16_t>(below(2) == 0 ? 1 : below(4096)), static_cast<uint8_t>(below(8))};
        }
        for (unsigned vid = 1 + below(100); vid <= kLastVid; vid += 1 + below(400)) {
            expectation.vlans.push_back({static_cast<uint16_t>(vid), below(2) == 0, static_cast<uint8_t>(below(32)),
                                         below(1 << 27), below(1 << 27)});
        }
        std::shuffle(expectation.vlans.begin(), expectation.vlans.end(), random);
        for (unsigned page = 0x40; page < 0x48; ++page) {
            Setting setting{static_cast<uint8_t>(page), static_cast<uint8_t>(below(249)), {}};
            for (unsigned left = 1 + below(8); left > 0; --left) {
                setting.bytes.push_back(static_cast<uint8_t>(below(256)));
            }
            expectation.registers.push_back(setting);
        }
        const std::string text = to_json(expectation);
        EXPECT_EQ(parse(text), expectation) << text;
    }
}

} // namespace
} // namespace kslcfg
