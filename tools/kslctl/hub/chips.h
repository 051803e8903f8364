// SPDX-License-Identifier: Apache-2.0
// Which chips there are.
#pragma once

#include "kslctl/hub/chip.h"
#include "kslctl/hub/status.h"

namespace kslctl::hub {

// Every number that a chip may have.
std::vector<uint32_t> all_chip_numbers();

struct ChipSearch {
    std::vector<uint32_t> found; // those that answer
    Failures silent;             // of the others: what they did not answer
};

// Which of these chips answer. Their change marks stay.
ChipSearch search_chips(std::span<const uint32_t> numbers);

struct ChipSummary {
    uint32_t chip;
    Fact<Mode> mode;
    Fact<SelfTest> self_test;
    Fact<uint32_t> links; // how many ports have one
    Fact<FirmwareVersion> firmware;
};

ChipSummary read_chip_summary(uint32_t chip, Failures &failures);

} // namespace kslctl::hub
