// SPDX-License-Identifier: Apache-2.0
// Registers as bytes, for --raw of every command.
#pragma once

#include "kslctl/hub/registers.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// "31 00"
std::string hex(const hub::Bytes &bytes, size_t length);

// The cell of a page or an offset.
Cell place(uint32_t number);
// The cell of that many bytes.
Cell bytes(const hub::Fact<hub::Bytes> &bytes, size_t length);

Shown raw(const std::vector<hub::Reading> &readings, const Style &style);

} // namespace kslctl::views
