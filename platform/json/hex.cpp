// SPDX-License-Identifier: Apache-2.0
#include "json/hex.h"

#include <charconv>

namespace json {

std::vector<uint8_t> hex_bytes(std::string_view text, char separator) {
    std::vector<uint8_t> bytes;
    while (!text.empty()) {
        if (text.front() == separator && !bytes.empty()) {
            text.remove_prefix(1);
        }
        const std::string_view pair = text.substr(0, 2);
        uint8_t byte = 0;
        const auto [stop, error] = std::from_chars(pair.data(), pair.data() + pair.size(), byte, 16);
        if (error != std::errc{} || stop != pair.data() + 2) {
            return {};
        }
        bytes.push_back(byte);
        text.remove_prefix(2);
    }
    return bytes;
}

} // namespace json
