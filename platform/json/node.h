// SPDX-License-Identifier: Apache-2.0
// A value of a document that knows its path, so that every complaint can name it.
#pragma once

#include "json/value.h"

#include <initializer_list>
#include <optional>
#include <set>

namespace json {

class Node {
public:
    explicit Node(const Value &value, std::string path = "") : value_(&value), path_(std::move(path)) {}

    // Throws Unusable, such as "line 7, column 12: vlans[0].vid must be ...".
    [[noreturn]] void refuse(const std::string &reason) const;

    // Checks that this is an object with no other keys than these.
    const Node &only(std::initializer_list<std::string_view> keys) const;
    // The values of keys of an object that only() has checked.
    Node required(std::string_view key) const;
    std::optional<Node> optional(std::string_view key) const;

    // The elements of this list.
    std::vector<Node> list(size_t most = SIZE_MAX) const;
    // The elements of the list of a key; none when the key is missing.
    std::vector<Node> list(std::string_view key, size_t most = SIZE_MAX) const;
    // The number of a key that identifies the elements of a list; those `seen` are refused.
    unsigned identity(std::string_view key, unsigned least, unsigned most, std::set<unsigned> &seen) const;

    bool boolean() const;
    // A number, or a string with a hexadecimal one ("0x34").
    unsigned number(unsigned least, unsigned most) const;
    std::string text() const;
    // A string that a terminal shows as one line; it may be empty.
    std::string line() const;
    // Which of the words this string is.
    size_t one_of(std::initializer_list<std::string_view> words) const;

    // For values that may be of several kinds: nothing, null or false for any other.
    std::optional<uint64_t> if_number() const;
    const std::string *if_text() const;
    bool is_list() const;

private:
    const Value *value_;
    std::string path_;
};

} // namespace json
