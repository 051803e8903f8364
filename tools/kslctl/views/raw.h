// SPDX-License-Identifier: Apache-2.0
// Registers as bytes: for --raw of every command, and by their places.
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

// Registers by their names.
Shown raw(const std::vector<hub::Reading> &readings, const Style &style);

// Registers by their places.
Shown register_bytes(const hub::Reading &reading, const Style &style);
Shown dumped_registers(const hub::Fact<std::vector<hub::Reading>> &registers, const Style &style);

} // namespace kslctl::views
