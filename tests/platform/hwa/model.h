// SPDX-License-Identifier: Apache-2.0
// A hub of a given scenario in a folder of its own, reached without the library around it.
#pragma once

#include "support.h"
#include "transaction.h"

namespace hwa_test {

inline constexpr char kTwoChips[] = R"({
  "name": "two chips",
  "chips": [
    { "chip": 0,
      "ports": [
        { "port": 0, "link": true, "speed": 100, "duplex": "full" },
        { "port": 1, "link": true, "speed": 10, "duplex": "full" },
        { "port": 9, "link": true, "speed": 100, "duplex": "half" },
        { "port": 10, "link": false, "speed": 100, "duplex": "full" },
        { "port": 23, "link": true, "speed": 10, "duplex": "half" }
      ],
      "registers": [{ "page": "0x34", "offset": "0x10", "bytes": "0001 0002 0003 0004" }] },
    { "chip": 5,
      "mode": { "managed": false, "forwarding": true },
      "ports": [
        { "port": 2, "link": false, "self_test": "fail" },
        { "port": 20, "link": false, "self_test": "fail" }
      ] }
  ]
})";

class ModelTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const hwa::Scenario scenario = hwa::parse_scenario(kTwoChips);
    hwa::StateFile state{folder / "state", scenario};
};

} // namespace hwa_test
