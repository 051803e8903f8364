// SPDX-License-Identifier: Apache-2.0
// A JSON document whose values know where they begin.
#pragma once

#include "json/problem.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace json {

// Far more than the documents need: limits for those that are made to exhaust the reader.
constexpr size_t kLongestText = size_t{4} << 20;
constexpr size_t kDeepest = 16;
constexpr size_t kMostKeys = 64;

// Counted from 1; a column is a character.
struct Place {
    unsigned line = 1;
    unsigned column = 1;
};

struct Member;
struct Value;

using List = std::vector<Value>;
using Object = std::vector<Member>; // in the document's order, no key twice
struct Other {};                    // null, and numbers below 0, with a fraction or of more than 64 bits

struct Value {
    Place place;
    std::variant<Other, bool, uint64_t, std::string, List, Object> content;
};

struct Member {
    std::string key;
    Place place; // of the key
    Value value;
};

// Throws Unusable, such as "line 3, column 7: ...", for
// - what is not JSON, or not UTF-8, or has a number that no floating-point number can hold,
// - anything after the document, a NUL byte included,
// - a key that is twice in one object,
// - a text, a nesting or an object beyond the limits above.
Value parse(std::string_view text);

// Throws Unusable with the place in front.
[[noreturn]] void refuse(const Place &place, const std::string &reason);

// A value as JSON without layout, keys in order: equal for documents that say the same in the same words. Values
// that no reader here accepts, those of Other, are all the same.
std::string canonical(const Value &value);

} // namespace json
