// SPDX-License-Identifier: Apache-2.0
#include "json_node.h"

#include <algorithm>
#include <charconv>

namespace kslcfg {

std::string printable(std::string text) {
    const auto breaks = [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; };
    std::replace_if(text.begin(), text.end(), breaks, '?');
    return text;
}

std::string in_quotes(std::string_view text) {
    return '"' + printable(std::string(text)) + '"';
}

void JsonNode::refuse(const std::string &reason) const {
    const std::string place = place_.empty() ? "the document" : place_;
    throw Unusable("line " + std::to_string(value_->line) + ": " + place + " " + reason);
}

const JsonNode &JsonNode::only(std::initializer_list<std::string_view> keys) const {
    const auto *const members = std::get_if<JsonObject>(&value_->content);
    if (members == nullptr)
        refuse("must be an object");
    for (const JsonMember &member : *members) {
        if (std::find(keys.begin(), keys.end(), member.key) == keys.end()) {
            const JsonValue at{.line = member.line, .content = {}};
            JsonNode(at, place_).refuse("has the unknown key " + in_quotes(member.key));
        }
    }
    return *this;
}

std::optional<JsonNode> JsonNode::optional(std::string_view key) const {
    for (const JsonMember &member : std::get<JsonObject>(value_->content)) {
        if (member.key == key)
            return JsonNode(member.value, place_.empty() ? member.key : place_ + "." + member.key);
    }
    return std::nullopt;
}

JsonNode JsonNode::required(std::string_view key) const {
    const std::optional<JsonNode> found = optional(key);
    if (!found)
        refuse("lacks the key " + in_quotes(key));
    return *found;
}

std::vector<JsonNode> JsonNode::list() const {
    const auto *const elements = std::get_if<JsonList>(&value_->content);
    if (elements == nullptr)
        refuse("must be a list");
    std::vector<JsonNode> nodes;
    for (const JsonValue &element : *elements)
        nodes.emplace_back(element, place_ + "[" + std::to_string(nodes.size()) + "]");
    return nodes;
}

std::vector<JsonNode> JsonNode::list(std::string_view key) const {
    const std::optional<JsonNode> found = optional(key);
    return found ? found->list() : std::vector<JsonNode>();
}

bool JsonNode::boolean() const {
    const bool *const value = std::get_if<bool>(&value_->content);
    if (value == nullptr)
        refuse("must be true or false");
    return *value;
}

unsigned JsonNode::number(unsigned least, unsigned most) const {
    const std::optional<std::uint64_t> number = if_number();
    if (!number || *number < least || *number > most)
        refuse("must be a number from " + std::to_string(least) + " to " + std::to_string(most));
    return static_cast<unsigned>(*number);
}

std::optional<std::uint64_t> JsonNode::if_number() const {
    if (const auto *const number = std::get_if<std::uint64_t>(&value_->content))
        return *number;
    const std::string *const text = if_text();
    if (text == nullptr || !text->starts_with("0x"))
        return std::nullopt;
    const char *const end = text->data() + text->size();
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(text->data() + 2, end, number, 16);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

std::string JsonNode::text() const {
    const std::string *const text = if_text();
    if (text == nullptr)
        refuse("must be a string");
    return *text;
}

const std::string *JsonNode::if_text() const {
    return std::get_if<std::string>(&value_->content);
}

bool JsonNode::is_list() const {
    return std::holds_alternative<JsonList>(value_->content);
}

} // namespace kslcfg
