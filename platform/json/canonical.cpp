// SPDX-License-Identifier: Apache-2.0
#include "json/value.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace json {
namespace {

std::string quoted(const std::string &text) {
    return nlohmann::json(text).dump();
}

std::string text_of(const Other &) {
    return "null";
}

std::string text_of(bool value) {
    return value ? "true" : "false";
}

std::string text_of(uint64_t value) {
    return std::to_string(value);
}

std::string text_of(const std::string &value) {
    return quoted(value);
}

std::string text_of(const List &list) {
    std::string text;
    for (const Value &element : list) {
        text += (text.empty() ? "" : ",") + canonical(element);
    }
    return "[" + text + "]";
}

std::string text_of(const Object &object) {
    std::vector<const Member *> members;
    members.reserve(object.size());
    for (const Member &member : object) {
        members.push_back(&member);
    }
    std::sort(members.begin(), members.end(),
              [](const Member *one, const Member *other) { return one->key < other->key; });
    std::string text;
    for (const Member *const member : members) {
        text += (text.empty() ? "" : ",") + quoted(member->key) + ":" + canonical(member->value);
    }
    return "{" + text + "}";
}

} // namespace

std::string canonical(const Value &value) {
    return std::visit([](const auto &content) { return text_of(content); }, value.content);
}

} // namespace json
