// SPDX-License-Identifier: Apache-2.0
// The registers that each port has one of, and how they are read. One of the whole chip has steps of 0, and its port is
// 0.
#pragma once

#include "kslctl/report.h"
#include "kslctl/status_bits.h"

#include <optional>
#include <string>

namespace kslctl {

struct PortRegister {
    const char *key;  // for programs
    const char *what; // for people
    uint32_t first_page;
    uint32_t page_step;
    uint32_t first_offset;
    uint32_t offset_step;
    size_t length;
    const char *operation;
    int32_t (*read)(uint32_t chip, uint32_t port, const PortRegister &which, uint8_t *bytes);
    std::string (*text)(const Bytes &bytes);
    Json (*json)(const Bytes &bytes);

    bool is_of_chip() const { return page_step == 0 && offset_step == 0; }
    uint32_t page(uint32_t port) const { return first_page + page_step * port; }
    uint32_t offset(uint32_t port) const { return first_offset + offset_step * port; }
};

extern const PortRegister kPhyControl;
extern const PortRegister kPortControl;
extern const PortRegister kSpeedIndication;
extern const PortRegister kPvid;

// By the operation for any register.
int32_t read_by_place(uint32_t chip, uint32_t port, const PortRegister &which, uint8_t *bytes);

// "PHY control of port 3 (page 0x13, offset 0x00)"
std::string describe(const PortRegister &which, uint32_t port);

// What cannot be read is reported.
std::optional<Bytes> read(const PortRegister &which, uint32_t chip, uint32_t port, Report &report);

} // namespace kslctl
