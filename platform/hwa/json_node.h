// SPDX-License-Identifier: Apache-2.0
// A JSON value that knows its place in the document, so that every complaint can name it.
#pragma once

#include "problem.h"

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace hwa {

class JsonNode {
public:
    JsonNode(const nlohmann::json &value, std::string place) : value_(&value), place_(std::move(place)) {}

    [[noreturn]] void refuse(const std::string &reason) const;

    // Checks that this is an object with no other keys than these.
    const JsonNode &only(std::initializer_list<std::string_view> keys) const;
    JsonNode required(const char *key) const;
    std::optional<JsonNode> optional(const char *key) const;
    // The elements of the array behind a key, none when the key is missing.
    std::vector<JsonNode> list(const char *key, std::size_t most) const;

    // The number behind a key that tells apart the elements of a list; those `seen` are refused.
    unsigned identity(const char *key, unsigned least, unsigned most, std::set<unsigned> &seen) const;

    bool boolean() const;
    // A number, or a string with a hexadecimal one ("0x34").
    unsigned number(unsigned least, unsigned most) const;
    std::string text() const;
    // Which of the words this string is.
    std::size_t one_of(std::initializer_list<std::string_view> words) const;

private:
    const nlohmann::json *value_;
    std::string place_;
};

} // namespace hwa
