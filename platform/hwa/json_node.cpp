// SPDX-License-Identifier: Apache-2.0
#include "json_node.h"

#include <algorithm>
#include <charconv>

namespace hwa {

void JsonNode::refuse(const std::string &reason) const {
    throw Unusable((place_.empty() ? "the document" : place_) + " " + reason);
}

const JsonNode &JsonNode::only(std::initializer_list<std::string_view> keys) const {
    if (!value_->is_object())
        refuse("must be an object");
    for (const auto &[key, unused] : value_->items()) {
        if (std::find(keys.begin(), keys.end(), key) == keys.end())
            refuse("has the unknown key \"" + key + "\"");
    }
    return *this;
}

std::optional<JsonNode> JsonNode::optional(const char *key) const {
    const auto found = value_->find(key);
    if (found == value_->end())
        return std::nullopt;
    return JsonNode(*found, place_.empty() ? key : place_ + "." + key);
}

JsonNode JsonNode::required(const char *key) const {
    const std::optional<JsonNode> found = optional(key);
    if (!found)
        refuse("lacks the key \"" + std::string(key) + "\"");
    return *found;
}

std::vector<JsonNode> JsonNode::list(const char *key, std::size_t most) const {
    std::vector<JsonNode> nodes;
    const std::optional<JsonNode> found = optional(key);
    if (!found)
        return nodes;
    if (!found->value_->is_array())
        found->refuse("must be a list");
    if (found->value_->size() > most)
        found->refuse("has " + std::to_string(found->value_->size()) + " elements, at most " + std::to_string(most) +
                      " are possible");
    for (const auto &element : *found->value_)
        nodes.emplace_back(element, found->place_ + "[" + std::to_string(nodes.size()) + "]");
    return nodes;
}

unsigned JsonNode::identity(const char *key, unsigned least, unsigned most, std::set<unsigned> &seen) const {
    const JsonNode node = required(key);
    const unsigned number = node.number(least, most);
    if (!seen.insert(number).second)
        node.refuse("names " + std::string(key) + " " + std::to_string(number) + " a second time");
    return number;
}

bool JsonNode::boolean() const {
    if (!value_->is_boolean())
        refuse("must be true or false");
    return value_->get<bool>();
}

unsigned JsonNode::number(unsigned least, unsigned most) const {
    std::uint64_t number = most + std::uint64_t{1};
    if (value_->is_number_unsigned()) {
        number = value_->get<std::uint64_t>();
    } else if (value_->is_string() && value_->get_ref<const std::string &>().starts_with("0x")) {
        const std::string &digits = value_->get_ref<const std::string &>();
        const char *const end = digits.data() + digits.size();
        std::uint64_t parsed = 0;
        const auto [stop, error] = std::from_chars(digits.data() + 2, end, parsed, 16);
        if (error == std::errc{} && stop == end)
            number = parsed;
    }
    if (number < least || number > most)
        refuse("must be a number from " + std::to_string(least) + " to " + std::to_string(most));
    return static_cast<unsigned>(number);
}

std::string JsonNode::text() const {
    if (!value_->is_string())
        refuse("must be a string");
    return value_->get<std::string>();
}

std::size_t JsonNode::one_of(std::initializer_list<std::string_view> words) const {
    const std::string word = value_->is_string() ? value_->get<std::string>() : std::string();
    const auto found = std::find(words.begin(), words.end(), word);
    if (found == words.end()) {
        std::string choice;
        for (const std::string_view possible : words)
            choice += (choice.empty() ? "\"" : " or \"") + std::string(possible) + "\"";
        refuse("must be " + choice);
    }
    return static_cast<std::size_t>(found - words.begin());
}

} // namespace hwa
