// SPDX-License-Identifier: Apache-2.0
// Which part of a trace the user wants to see.
#pragma once

#include "ksltrace/decoder.h"

#include <optional>
#include <string>
#include <vector>

namespace ksltrace {

struct Selection {
    std::vector<std::string> operations = {}; // patterns; one of them matches the name
    bool failed = false;                      // with a bad result, or without an exit
    std::vector<uint32_t> chips = {};
    std::optional<uint64_t> since_ns = {}; // begun then or later
    std::optional<size_t> last = {};       // of all that fits, so many operations at the end
};

bool matches(const Trace &trace, const Operation &operation, const Selection &selection);

// By line whether it is wanted. An operation comes with all that happened inside it. What happened outside of
// operations is wanted unless certain operations or chips are; of it, only failures are failed.
std::vector<bool> select(const Trace &trace, const Selection &selection);

// "2024-05-06T07:08:09Z" (with or without fraction and Z), or an age such as "90s", "10m", "2h", "3d".
std::optional<uint64_t> parse_since(const std::string &text, uint64_t now_ns);

// Whether the catalogue has an operation that the pattern matches; its letters *, ? and [...] are a shell's.
bool knows_operation(const Catalogue &catalogue, const std::string &pattern);

} // namespace ksltrace
