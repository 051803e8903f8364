// SPDX-License-Identifier: Apache-2.0
// Registers as bytes, for --raw.
#pragma once

#include "kslctl/port_registers.h"
#include "kslctl/report.h"
#include "kslctl/status_bits.h"
#include "kslctl/table.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kslctl {

// "31 00"
std::string hex(const Bytes &bytes, size_t length);
Json hex_or_null(const std::optional<Bytes> &bytes, size_t length);
std::string hex_or_mark(const std::optional<Bytes> &bytes, size_t length);

struct RawRegister {
    const char *key;
    std::optional<std::pair<const char *, uint32_t>> of; // {"port", 3}; none: of the whole chip
    uint32_t page;
    uint32_t offset;
    size_t length;
    std::optional<Bytes> bytes; // none: not read
};

RawRegister raw(const PortRegister &which, uint32_t port, const std::optional<Bytes> &bytes);

Json raw_json(const std::vector<RawRegister> &registers);
std::string raw_text(const std::vector<RawRegister> &registers, const Style &style);

} // namespace kslctl
