// SPDX-License-Identifier: Apache-2.0
// The registers of a chip by their names, and how they are read.
#pragma once

#include "kslctl/hub/fact.h"

#include <array>
#include <ksl/ksl.h>
#include <ksl/registers.h>
#include <span>

namespace kslctl::hub {

// A register as the library delivers it, the most significant byte first; zero after its length.
using Bytes = std::array<uint8_t, 8>;

// The bytes of a register of that many bits.
constexpr Bytes bytes16(uint32_t value) {
    return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}
constexpr Bytes bytes32(uint32_t value) {
    return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
            static_cast<uint8_t>(value)};
}

// A row of the public table. A register of the whole chip takes port 0.
struct Register {
    const char *name; // for programs
    const char *text; // for people
    ksl_register place;

    constexpr bool is_of_port() const { return place.page_step != 0 || place.offset_step != 0; }
    constexpr uint32_t page(uint32_t port) const { return place.page + uint32_t{place.page_step} * port; }
    constexpr uint32_t offset(uint32_t port) const { return place.offset + uint32_t{place.offset_step} * port; }
};

// registers::link_status and all others. Two pointers to a register are equal if it is the same.
namespace registers {
#define KSLCTL_REGISTER(name, text, page, page_step, offset, offset_step, length)                                      \
    inline constexpr Register name{#name, text, ksl_##name##_register};
KSL_REGISTERS(KSLCTL_REGISTER)
#undef KSLCTL_REGISTER
} // namespace registers

std::vector<uint32_t> all_ports();

// The ports whose bits are set, in ascending order; the bits above the last port are ignored.
std::vector<uint32_t> ports_of(uint32_t word);

// Numbers in ascending order: "0-3, 7"
std::string describe_numbers(const std::vector<uint32_t> &numbers);
// The same, with an end after the first few ranges: "0-3, 7, 9, 11, 13, 15 and more"
std::string describe_some(const std::vector<uint32_t> &numbers);

// "ports 0-3, 7", "port 7", "no port"
std::string describe_ports(const std::vector<uint32_t> &ports);

// What a register holds, with all that --raw shows of it.
struct Reading {
    const char *name;
    std::optional<std::pair<const char *, uint32_t>> of; // {"port", 3}; none: of the whole chip
    uint32_t page;
    uint32_t offset;
    size_t length;
    Fact<Bytes> bytes;
};

Reading reading_of(const Register &which, uint32_t port, Fact<Bytes> bytes);

// "PHY control of port 3 (page 0x13, offset 0x00)"
std::string describe(const Register &which, uint32_t port = 0);

// The bytes of a word as the library delivers it.
Bytes word_bytes(ksl_word word);

// By the library's own operation for the register if it has one, else by the one for any register.
Fact<Bytes> read(const Register &which, uint32_t chip, uint32_t port, Failures &failures);

// A number that an operation for a port makes of a register.
Fact<uint32_t> read_number(const Register &which, uint32_t chip, uint32_t port, const char *operation,
                           int32_t (*get)(uint32_t chip, uint32_t port, uint32_t *number), Failures &failures);

using WantedRegisters = std::vector<const Register *>;

// The registers of each of these ports. Registers of the chip take port 0.
std::vector<Reading> read_ports(const WantedRegisters &wanted, uint32_t chip, std::span<const uint32_t> ports,
                                Failures &failures);

// Where an operation that reads several registers puts one of them.
struct Target {
    template <typename Place>
    Target(const Register &register_, const Place &place, uint32_t of_port = 0)
        : which(&register_), port(of_port), bytes(reinterpret_cast<const uint8_t *>(&place)), length(sizeof place) {}

    const Register *which;
    uint32_t port;
    const uint8_t *bytes;
    size_t length;
};

// What every byte of a target is before the operation. None of the registers that are read so holds that.
inline constexpr uint8_t kUntouched = 0xFF;

// What an operation read that returned `code`. It reads the registers in this order, and ends at the first failure.
std::vector<Reading> readings_of(uint32_t chip, const char *operation, int32_t code, std::span<const Target> targets,
                                 Failures &failures);

} // namespace kslctl::hub
