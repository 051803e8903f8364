// SPDX-License-Identifier: Apache-2.0
// The commands that the hub's controller understands.
#pragma once

#include "state/bytes.h"

#include <optional>
#include <span>

namespace hwa {

// The chip whose firmware version a command asks for; empty if it is another command.
std::optional<uint8_t> version_asked_for(std::span<const uint8_t> command);

} // namespace hwa
