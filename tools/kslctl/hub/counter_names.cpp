// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/counter_names.h"

#include <algorithm>
#include <fmt/core.h>
#include <json/file.h>
#include <json/node.h>
#include <set>

namespace kslctl::hub {

namespace {

using json::Node;

constexpr size_t kLongestName = 24;
constexpr size_t kLongestUnit = 12;

// In ASCII, whatever the locale.
bool is_letter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool is_of_word(char character) {
    return is_letter(character) || (character >= '0' && character <= '9') || character == '_';
}

// One word that no offset looks like.
std::string read_name(const Node &node, std::set<std::string> &known) {
    std::string name = node.text();
    if (name.empty() || name.size() > kLongestName || !is_letter(name[0]) ||
        !std::all_of(name.begin(), name.end(), is_of_word)) {
        node.refuse(fmt::format("must be a letter and up to {} more letters, digits and \"_\"", kLongestName - 1));
    }
    if (name == kTotal) {
        node.refuse("must not be \"total\", which means all counters together");
    }
    if (!known.insert(name).second) {
        node.refuse("is the name of an earlier counter");
    }
    return name;
}

std::string read_unit(const Node &node) {
    std::string unit = node.line();
    if (unit.size() > kLongestUnit) {
        node.refuse(fmt::format("must have at most {} bytes", kLongestUnit));
    }
    return unit;
}

uint32_t read_offset(const Node &row, std::set<unsigned> &known) {
    constexpr unsigned kLast = 0xFF;
    const unsigned offset = row.identity("offset", 0, kLast, known);
    if (counter_at(offset) == nullptr) {
        row.required("offset").refuse("must be that of a counter that the library reads, such as \"0x50\"");
    }
    return offset;
}

} // namespace

CounterNames parse_counter_names(std::string_view text) {
    const json::Value document = json::parse(text);
    const Node root(document);
    root.only({"name", "counters"});
    if (const auto name = root.optional("name")) {
        name->line();
    }
    CounterNames names;
    std::set<unsigned> offsets;
    std::set<std::string> known;
    for (const Node &row : root.required("counters").list()) {
        row.only({"offset", "name", "unit", "error"});
        CounterName &of_counter = names[read_offset(row, offsets)];
        const auto unit = row.optional("unit");
        const auto error = row.optional("error");
        of_counter = {.name = read_name(row.required("name"), known),
                      .unit = unit ? read_unit(*unit) : "",
                      .is_error = error && error->boolean()};
    }
    return names;
}

CounterNames load_counter_names(const std::string &path) {
    return json::read_file(path, json::Files::any, parse_counter_names);
}

const CounterName *name_of(const Counter &counter, const CounterNames &names) {
    const auto found = names.find(counter.offset);
    return found == names.end() ? nullptr : &found->second;
}

std::string label_of(const Counter &counter, const CounterNames &names) {
    const CounterName *const name = name_of(counter, names);
    return name != nullptr ? name->name : fmt::format("0x{:02x}", counter.offset);
}

const Counter *counter_named(std::string_view name, const CounterNames &names) {
    const auto found =
        std::find_if(names.begin(), names.end(), [name](const auto &each) { return each.second.name == name; });
    return found == names.end() ? nullptr : counter_at(found->first);
}

bool is_error(const Counter &counter, const CounterNames &names) {
    const CounterName *const name = name_of(counter, names);
    return name != nullptr && name->is_error;
}

bool has_errors(const CounterNames &names) {
    return std::any_of(names.begin(), names.end(), [](const auto &each) { return each.second.is_error; });
}

} // namespace kslctl::hub
