// SPDX-License-Identifier: Apache-2.0
// The chip's main control and status registers, and how they are read.
#pragma once

#include "kslctl/report.h"
#include "kslctl/status_bits.h"

#include <array>
#include <optional>
#include <span>

namespace kslctl {

enum class Register { self_test, mode, link, link_change, speed, duplex, age_timer };
inline constexpr size_t kRegisters = 7;

struct RegisterInfo {
    const char *key;  // for programs
    const char *what; // for people
    uint32_t page;
    uint32_t offset;
    size_t length; // of what the library hands out
};

const RegisterInfo &info(Register which);

struct ChipStatus {
    uint32_t chip;
    std::array<std::optional<Bytes>, kRegisters> registers; // none: not asked for, or not read

    const std::optional<Bytes> &operator[](Register which) const { return registers[static_cast<size_t>(which)]; }
};

// All of them by one operation, which ends at the first that fails. Also clears the change marks.
ChipStatus read_control_registers(uint32_t chip, Report &report);

// Reads the wanted registers in order. What cannot be read is reported and left out.
// Reading Register::link_change clears the chip's change marks.
ChipStatus read_status(uint32_t chip, std::span<const Register> wanted, Report &report);

} // namespace kslctl
