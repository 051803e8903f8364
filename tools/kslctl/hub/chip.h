// SPDX-License-Identifier: Apache-2.0
// The hub's controller, and what is done to a chip as a whole.
#pragma once

#include "kslctl/hub/fact.h"

#include <array>
#include <functional>

namespace kslctl::hub {

using FirmwareVersion = std::array<uint8_t, 9>;
Fact<FirmwareVersion> read_firmware_version(uint32_t chip, Failures &failures);

// An operation whose effect no register shows.
struct Action {
    const char *operation;
    const char *about;
    const char *undone; // what it is after a failure: "not reset"
    std::function<int32_t(uint32_t chip)> run;
    bool reaches_chip = true;
};

// Whether the chip answers: its switch mode can be read. That is one short access, and changes nothing in the chip.
bool answers(uint32_t chip, Failures &failures);

// Whether there is a chip to do it to. Nothing is done.
bool can_perform(const Action &action, uint32_t chip, Failures &failures);

// Whether it was done.
bool perform(const Action &action, uint32_t chip, Failures &failures);

Action reset_switch();
Action select_configuration(uint32_t configuration);
// The library records the call in its trace and sends nothing to the chip.
Action pass_mac_filter(uint32_t filter);

} // namespace kslctl::hub
