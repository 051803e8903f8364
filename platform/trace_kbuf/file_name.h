// SPDX-License-Identifier: Apache-2.0
// The file name of a buffer: NAME.kbuf, where characters that are not safe in a file name become %XX.
#pragma once

#include "format.h"

#include <cstring>

namespace trace_kbuf {

inline constexpr size_t kMaxName = sizeof(Description::name) - 1;
using FileName = std::array<char, kMaxName * 3 + 16>;

inline bool is_valid_name(const char *name) {
    return name != nullptr && name[0] != '\0' && strnlen(name, kMaxName + 1) <= kMaxName;
}

// `name` has to be valid.
inline FileName file_name(const char *name) {
    constexpr const char *hex = "0123456789ABCDEF";
    FileName result{};
    size_t length = 0;
    for (const char *at = name; *at != '\0'; ++at) {
        const char c = *at;
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                           c == '-' || (c == '.' && at != name);
        if (plain) {
            result[length++] = c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result[length++] = '%';
            result[length++] = hex[byte >> 4];
            result[length++] = hex[byte & 15];
        }
    }
    std::memcpy(&result[length], kFileSuffix, sizeof kFileSuffix);
    return result;
}

} // namespace trace_kbuf
