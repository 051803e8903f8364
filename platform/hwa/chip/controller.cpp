// SPDX-License-Identifier: Apache-2.0
#include "chip/controller.h"

#include <algorithm>

namespace hwa {
namespace {

constexpr std::array<uint8_t, 15> kVersionCommand{0x08, 0x78, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x03, 0x00, 0xA2, 0x02};
constexpr size_t kChip = 10;

} // namespace

std::optional<uint8_t> version_asked_for(std::span<const uint8_t> command) {
    if (command.size() != kVersionCommand.size()) {
        return std::nullopt;
    }
    std::array<uint8_t, kVersionCommand.size()> general{};
    std::copy(command.begin(), command.end(), general.begin());
    general[kChip] = 0;
    return general == kVersionCommand ? std::optional(command[kChip]) : std::nullopt;
}

} // namespace hwa
