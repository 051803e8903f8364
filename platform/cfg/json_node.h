// SPDX-License-Identifier: Apache-2.0
// A JSON document whose values know their place and line, so that every complaint can name them.
#pragma once

#include "unusable.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kslcfg {

struct JsonMember;
struct JsonValue;

using JsonList = std::vector<JsonValue>;
using JsonObject = std::vector<JsonMember>; // in the document's order, no key twice
struct JsonOther {};                        // null, and numbers below 0 or with a fraction

struct JsonValue {
    unsigned line = 1; // where it begins
    std::variant<JsonOther, bool, std::uint64_t, std::string, JsonList, JsonObject> content;
};

struct JsonMember {
    std::string key;
    unsigned line;
    JsonValue value;
};

// The text without the characters that would break a line or steer a terminal.
std::string printable(std::string text);
std::string in_quotes(std::string_view text);

// Throws Unusable: "line 3: not valid JSON: ...".
JsonValue parse_json(std::string_view text);

class JsonNode {
public:
    explicit JsonNode(const JsonValue &value, std::string place = "") : value_(&value), place_(std::move(place)) {}

    [[noreturn]] void refuse(const std::string &reason) const;

    // Checks that this is an object with no other keys than these.
    const JsonNode &only(std::initializer_list<std::string_view> keys) const;
    JsonNode required(std::string_view key) const;
    std::optional<JsonNode> optional(std::string_view key) const;
    // The elements of this list.
    std::vector<JsonNode> list() const;
    // The elements of the list behind a key, none when the key is missing.
    std::vector<JsonNode> list(std::string_view key) const;

    bool boolean() const;
    // A number, or a string with a hexadecimal one ("0x34").
    unsigned number(unsigned least, unsigned most) const;
    // Nothing for any other value, and for a number of more than 64 bits.
    std::optional<std::uint64_t> if_number() const;
    std::string text() const;
    // The text of a string, null for any other value.
    const std::string *if_text() const;
    bool is_list() const;

private:
    const JsonValue *value_;
    std::string place_;
};

} // namespace kslcfg
