// SPDX-License-Identifier: Apache-2.0
#include "json/node.h"

#include <algorithm>
#include <charconv>

namespace json {
namespace {

// "a", "b" or "c"
std::string choice(std::initializer_list<std::string_view> words) {
    std::string text;
    for (const std::string_view &word : words) {
        const bool is_last = &word + 1 == words.end();
        text += text.empty() ? "" : is_last ? " or " : ", ";
        text += in_quotes(word);
    }
    return text;
}

} // namespace

void Node::refuse(const std::string &reason) const {
    json::refuse(value_->place, (path_.empty() ? "the document" : path_) + " " + reason);
}

const Node &Node::only(std::initializer_list<std::string_view> keys) const {
    const auto *const members = std::get_if<Object>(&value_->content);
    if (members == nullptr) {
        refuse("must be an object");
    }
    for (const Member &member : *members) {
        if (std::find(keys.begin(), keys.end(), member.key) == keys.end()) {
            const Value key{.place = member.place, .content = {}};
            Node(key, path_).refuse("has the unknown key " + in_quotes(member.key));
        }
    }
    return *this;
}

std::optional<Node> Node::optional(std::string_view key) const {
    for (const Member &member : std::get<Object>(value_->content)) {
        if (member.key == key) {
            return Node(member.value, path_.empty() ? member.key : path_ + "." + member.key);
        }
    }
    return std::nullopt;
}

Node Node::required(std::string_view key) const {
    const std::optional<Node> found = optional(key);
    if (!found) {
        refuse("lacks the key " + in_quotes(key));
    }
    return *found;
}

std::vector<Node> Node::list(size_t most) const {
    const auto *const elements = std::get_if<List>(&value_->content);
    if (elements == nullptr) {
        refuse("must be a list");
    }
    if (elements->size() > most) {
        refuse("has " + std::to_string(elements->size()) + " elements, at most " + std::to_string(most) +
               " are possible");
    }
    std::vector<Node> nodes;
    nodes.reserve(elements->size());
    for (const Value &element : *elements) {
        nodes.emplace_back(element, path_ + "[" + std::to_string(nodes.size()) + "]");
    }
    return nodes;
}

std::vector<Node> Node::list(std::string_view key, size_t most) const {
    const std::optional<Node> found = optional(key);
    return found ? found->list(most) : std::vector<Node>();
}

unsigned Node::identity(std::string_view key, unsigned least, unsigned most, std::set<unsigned> &seen) const {
    const Node node = required(key);
    const unsigned number = node.number(least, most);
    if (!seen.insert(number).second) {
        node.refuse("names " + std::string(key) + " " + std::to_string(number) + " a second time");
    }
    return number;
}

bool Node::boolean() const {
    const bool *const value = std::get_if<bool>(&value_->content);
    if (value == nullptr) {
        refuse("must be true or false");
    }
    return *value;
}

unsigned Node::number(unsigned least, unsigned most) const {
    const std::optional<uint64_t> number = if_number();
    if (!number || *number < least || *number > most) {
        refuse("must be a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return static_cast<unsigned>(*number);
}

std::string Node::text() const {
    const std::string *const text = if_text();
    if (text == nullptr) {
        refuse("must be a string");
    }
    return *text;
}

std::string Node::line() const {
    std::string line = text();
    if (printable(line) != line) {
        refuse("must be one line of text");
    }
    return line;
}

size_t Node::one_of(std::initializer_list<std::string_view> words) const {
    const std::string *const text = if_text();
    const auto *const found = text != nullptr ? std::find(words.begin(), words.end(), *text) : words.end();
    if (found == words.end()) {
        refuse("must be " + choice(words));
    }
    return static_cast<size_t>(found - words.begin());
}

std::optional<uint64_t> Node::if_number() const {
    if (const auto *const number = std::get_if<uint64_t>(&value_->content)) {
        return *number;
    }
    const std::string *const text = if_text();
    if (text == nullptr || !text->starts_with("0x")) {
        return std::nullopt;
    }
    const char *const end = text->data() + text->size();
    uint64_t number = 0;
    const auto [stop, error] = std::from_chars(text->data() + 2, end, number, 16);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

const std::string *Node::if_text() const {
    return std::get_if<std::string>(&value_->content);
}

bool Node::is_list() const {
    return std::holds_alternative<List>(value_->content);
}

} // namespace json
