// SPDX-License-Identifier: Apache-2.0
#include "json/problem.h"

namespace json {
namespace {

constexpr size_t kLongestQuote = 60;

constexpr bool continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The bytes of the character at the start of a text; 0 if they are not UTF-8.
size_t character_length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const size_t length = first < 0x80   ? 1
                          : first < 0xC2 ? 0
                          : first < 0xE0 ? 2
                          : first < 0xF0 ? 3
                          : first < 0xF5 ? 4
                                         : 0;
    if (length > text.size()) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if (!continues(text[i])) {
            return 0;
        }
    }
    return length;
}

// The control characters of ASCII, and those that UTF-8 writes as 0xC2 and a byte below 0xA0.
bool is_control(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    return first < ' ' || first == 0x7F || (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

// The marks that change the direction of text: they make a terminal show characters in another order.
bool is_direction_mark(std::string_view character) {
    // NOLINTBEGIN(misc-misleading-bidirectional): these are the marks themselves
    return character == "\u061C" || character == "\u200E" || character == "\u200F" ||
           (character >= "\u202A" && character <= "\u202E") || (character >= "\u2066" && character <= "\u2069");
    // NOLINTEND(misc-misleading-bidirectional)
}

} // namespace

std::string printable(std::string_view text) {
    std::string clean;
    while (!text.empty()) {
        const size_t length = character_length(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        clean += length == 0 || is_control(character) || is_direction_mark(character) ? "?" : character;
        text.remove_prefix(character.size());
    }
    return clean;
}

std::string shortened(std::string_view text, size_t most) {
    if (text.size() <= most) {
        return std::string(text);
    }
    while (most > 0 && continues(text[most])) {
        --most;
    }
    return std::string(text.substr(0, most)) + "...";
}

std::string in_quotes(std::string_view text) {
    return '"' + printable(shortened(text, kLongestQuote)) + '"';
}

} // namespace json
