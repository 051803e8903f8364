// SPDX-License-Identifier: Apache-2.0
// Bytes written in hexadecimal digits.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace json {

// Bytes of two digits each, with or without a separator between two of them. Empty for any other text.
std::vector<uint8_t> hex_bytes(std::string_view text, char separator);

} // namespace json
