// SPDX-License-Identifier: Apache-2.0
// How a reader says what is wrong with a document.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace json {

// The text without what would break a line, steer a terminal or not be UTF-8: each such character becomes a "?".
std::string printable(std::string_view text);

// The beginning of a text, up to a number of bytes; "..." after it says that there is more.
std::string shortened(std::string_view text, size_t most);

// What the document has, as a message quotes it: in quotes, printable, and not too long for a line.
std::string in_quotes(std::string_view text);

// The input cannot be used. The text says in one line where, why and what is wanted.
struct Unusable : std::runtime_error {
    explicit Unusable(std::string_view sentence) : std::runtime_error(printable(sentence)) {}
};

} // namespace json
