// SPDX-License-Identifier: Apache-2.0
// The status of the hub's controller, of a chip and of its ports one by one.
#pragma once

#include "kslctl/hub/chip.h"
#include "kslctl/hub/ports.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// The values of the wanted registers.
Shown status(const hub::ChipStatus &status, const hub::WantedRegisters &wanted, const Style &style);

Shown ports(const hub::PortStates &states, const Style &style);
Shown port_speeds(const std::vector<hub::PortSpeed> &speeds, const Style &style);

Shown firmware(const hub::Fact<hub::FirmwareVersion> &firmware, const Style &style);

} // namespace kslctl::views
