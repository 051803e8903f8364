// SPDX-License-Identifier: Apache-2.0
// The PHY of each port: a page of 16-bit registers.
#pragma once

#include "frame/register_access.h"

namespace ksl {

constexpr uint32_t kPhyPages = 0x10;

constexpr Register phy_control(uint32_t port) {
    return {kPhyPages + port, 0x00, 2};
}

} // namespace ksl
