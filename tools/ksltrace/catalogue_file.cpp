// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/catalogue_file.h"

#include "support/json.h"

#include <algorithm>
#include <fmt/core.h>
#include <json/file.h>
#include <json/node.h>
#include <set>
#include <trace_kbuf_reader.h>

namespace ksltrace {

namespace {

using json::Node;
using tools::Json;

constexpr std::string_view kSchema = "ksl.trace-catalogue/1";

// Names become names of fields in other formats.
bool is_name(std::string_view text) {
    const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    const auto is_letter_or_digit = [&](char c) { return is_letter(c) || (c >= '0' && c <= '9'); };
    return !text.empty() && is_letter(text[0]) && std::all_of(text.begin(), text.end(), is_letter_or_digit);
}

std::string read_name(const Node &node) {
    std::string name = node.text();
    if (!is_name(name)) {
        node.refuse("must be a name of letters, digits and \"_\" that does not begin with a digit");
    }
    return name;
}

uint32_t read_identifier(const Node &node, std::set<uint32_t> &seen) {
    const uint64_t number = node.if_number().value_or(UINT64_MAX);
    if (node.if_text() == nullptr || number > UINT32_MAX) {
        node.refuse("must be a hexadecimal number of up to 32 bits, such as \"0x80000001\"");
    }
    const auto identifier = static_cast<uint32_t>(number);
    if (!seen.insert(identifier).second) {
        node.refuse(fmt::format("names 0x{:08x}, which an earlier point names", identifier));
    }
    return identifier;
}

Kind read_kind(const Node &node) {
    const std::optional<Kind> kind = kind_of(node.text());
    if (!kind) {
        node.refuse("must be \"entry\", \"exit\", \"failure\", \"step\" or \"elapsed\"");
    }
    return *kind;
}

ValueType read_type(const Node &node) {
    const std::optional<ValueType> type = type_of(node.text());
    if (!type) {
        node.refuse("must be \"decimal\", \"int\", \"hex\", \"address\" or \"byte\"");
    }
    return *type;
}

Point read_point(const Node &node, Catalogue &catalogue, std::set<uint32_t> &seen) {
    node.only({"identifier", "kind", "name", "text", "values"});
    Point point{};
    point.identifier = read_identifier(node.required("identifier"), seen);
    point.kind = read_kind(node.required("kind"));
    point.name = catalogue.keep(read_name(node.required("name")));
    const Node text = node.required("text");
    point.text = catalogue.keep(text.line());
    if (point.text.empty()) {
        text.refuse("must be one line of text");
    }
    for (const Node &value : node.required("values").list(TRACE_KBUF_VALUES)) {
        value.only({"name", "type"});
        const Node name_node = value.required("name");
        const std::string_view name = catalogue.keep(read_name(name_node));
        if (std::any_of(point.values.begin(), point.values.end(), [&](const Value &v) { return v.name == name; })) {
            name_node.refuse(fmt::format("is \"{}\" as that of an earlier value", name));
        }
        point.values.push_back({name, read_type(value.required("type"))});
    }
    return point;
}

} // namespace

void add_catalogue_text(std::string_view text, Catalogue &catalogue) {
    const json::Value document = json::parse(text);
    const Node root(document);
    root.only({"schema", "points"}).required("schema").one_of({kSchema});
    std::set<uint32_t> seen;
    for (const Node &point : root.required("points").list()) {
        catalogue.add(read_point(point, catalogue, seen));
    }
}

void add_catalogue_file(const std::string &path, Catalogue &catalogue) {
    json::read_file(path, json::Files::any, [&](std::string_view text) { add_catalogue_text(text, catalogue); });
}

// A point a line, so that people can compare two catalogues.
std::string render_catalogue(const Catalogue &catalogue) {
    std::string text = fmt::format("{{\"schema\": \"{}\", \"points\": [", kSchema);
    const char *separator = "\n";
    for (const Point *point : catalogue.sorted()) {
        Json values = Json::array();
        for (const Value &value : point->values) {
            values.push_back({{"name", value.name}, {"type", word_of(value.type)}});
        }
        const Json json = {{"identifier", fmt::format("0x{:08x}", point->identifier)},
                           {"kind", word_of(point->kind)},
                           {"name", point->name},
                           {"text", point->text},
                           {"values", values}};
        text += separator + json.dump(-1, ' ', false, Json::error_handler_t::replace);
        separator = ",\n";
    }
    return text + "\n]}\n";
}

} // namespace ksltrace
