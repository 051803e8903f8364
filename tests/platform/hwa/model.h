// SPDX-License-Identifier: Apache-2.0
// A hub of a given scenario in a folder of its own, reached without the library around it.
#pragma once

#include "chip/registers.h"
#include "state/transaction.h"
#include "support.h"

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

using Bytes = std::vector<uint8_t>;

class ModelTest : public testing::Test {
protected:
    explicit ModelTest(const char *text = kTwoChips) : scenario(hwa::parse_scenario(text)) {}

    Bytes read(uint8_t page, uint8_t offset, size_t length, uint32_t chip = 0) {
        hwa::Transaction transaction(state);
        Bytes bytes(length, 0xEE);
        read_register(transaction, *transaction.chip(chip), page, offset, bytes);
        transaction.commit();
        return bytes;
    }

    void write(uint8_t page, uint8_t offset, const Bytes &bytes, uint32_t chip = 0) {
        hwa::Transaction transaction(state);
        write_register(transaction, *transaction.chip(chip), page, offset, bytes);
        transaction.commit();
    }

    // What no register changes.
    void set_port(size_t port, hwa::PortImage image) {
        hwa::Transaction transaction(state);
        const_cast<hwa::PortImage &>(transaction.chip(0)->ports[port]) = image;
        transaction.commit();
    }

    void reset(uint32_t chip = 0) {
        hwa::Transaction transaction(state);
        transaction.reset(*transaction.chip(chip));
    }

    TemporaryFolder folder;
    const hwa::Scenario scenario;
    hwa::StateFile state{folder / "state", scenario};
};

} // namespace hwa_test
