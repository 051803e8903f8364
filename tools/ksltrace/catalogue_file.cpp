// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/catalogue_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fmt/core.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>
#include <trace_kbuf_reader.h>

namespace ksltrace {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kSchema = "ksl.trace-catalogue/1";

// Names become names of fields in other formats.
bool is_name(std::string_view text) {
    const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    const auto is_letter_or_digit = [&](char c) { return is_letter(c) || (c >= '0' && c <= '9'); };
    return !text.empty() && is_letter(text[0]) && std::all_of(text.begin(), text.end(), is_letter_or_digit);
}

class Reader {
public:
    Reader(std::string path, Catalogue &catalogue) : path_(std::move(path)), catalogue_(catalogue) {}

    void read(const std::string &text) {
        const Json document = parse(text);
        if (text_of(document, "", "schema") != kSchema) {
            fail(fmt::format("\"schema\" is not \"{}\"", kSchema));
        }
        const Json &points = member(document, "", "points");
        if (!points.is_array()) {
            fail("\"points\" is no list");
        }
        for (size_t i = 0; i < points.size(); ++i) {
            add_point(points[i], fmt::format("points[{}]", i));
        }
    }

private:
    Json parse(const std::string &text) const {
        try {
            return Json::parse(text);
        } catch (const Json::exception &error) {
            // "[exception] parse error at line 1, column 2: what is wrong"
            const std::string_view words = error.what();
            fail(fmt::format("not valid JSON: {}", words.substr(words.find(']') + 2)));
        }
    }

    void add_point(const Json &json, const std::string &where) {
        Point point{};
        point.identifier = identifier_of(text_of(json, where, "identifier"), where);
        const std::string kind = text_of(json, where, "kind");
        const std::optional<Kind> known = kind_of(kind);
        if (!known) {
            fail(fmt::format("{}: there is no kind \"{}\"; it is entry, exit, failure, step or elapsed", where, kind));
        }
        point.kind = *known;
        point.name = name_of(json, where);
        point.text = catalogue_.keep(text_of(json, where, "text"));
        const Json &values = member(json, where, "values");
        if (!values.is_array() || values.size() > TRACE_KBUF_VALUES) {
            fail(fmt::format("{}: \"values\" is no list of up to {} values", where, int{TRACE_KBUF_VALUES}));
        }
        for (size_t i = 0; i < values.size(); ++i) {
            point.values.push_back(value_of(values[i], fmt::format("{}.values[{}]", where, i)));
        }
        if (!seen_.insert(point.identifier).second) {
            fail(fmt::format("{}: the identifier 0x{:08x} is there twice", where, point.identifier));
        }
        catalogue_.add(std::move(point));
    }

    Value value_of(const Json &json, const std::string &where) {
        const std::string type = text_of(json, where, "type");
        const std::optional<ValueType> known = type_of(type);
        if (!known) {
            fail(fmt::format("{}: there is no type \"{}\"; it is decimal, int, hex, address or byte", where, type));
        }
        return {name_of(json, where), *known};
    }

    std::string_view name_of(const Json &json, const std::string &where) {
        const std::string name = text_of(json, where, "name");
        if (!is_name(name)) {
            fail(fmt::format("{}: \"{}\" is no name: letters, digits and _ are, with no digit first", where, name));
        }
        return catalogue_.keep(name);
    }

    uint32_t identifier_of(const std::string &text, const std::string &where) const {
        uint32_t identifier = 0;
        const char *const end = text.data() + text.size();
        const bool has_digits = text.starts_with("0x") && text.size() > 2;
        const std::from_chars_result result =
            has_digits ? std::from_chars(text.data() + 2, end, identifier, 16) : std::from_chars_result{};
        if (result.ptr != end || result.ec != std::errc()) {
            fail(fmt::format("{}: \"{}\" is no identifier; one looks like 0x80000001", where, text));
        }
        return identifier;
    }

    const Json &member(const Json &json, const std::string &where, const char *key) const {
        if (!json.is_object() || !json.contains(key)) {
            fail(fmt::format("{}\"{}\" is missing", where.empty() ? "" : where + ": ", key));
        }
        return json[key];
    }

    std::string text_of(const Json &json, const std::string &where, const char *key) const {
        const Json &found = member(json, where, key);
        if (!found.is_string() || found.get_ref<const std::string &>().empty()) {
            fail(fmt::format("{}\"{}\" is no text", where.empty() ? "" : where + ": ", key));
        }
        return found;
    }

    [[noreturn]] void fail(const std::string &problem) const {
        throw CatalogueError(fmt::format("{}: {}", path_, problem));
    }

    std::string path_;
    Catalogue &catalogue_;
    std::set<uint32_t> seen_;
};

} // namespace

void add_catalogue_text(const std::string &path, const std::string &text, Catalogue &catalogue) {
    Reader(path, catalogue).read(text);
}

void add_catalogue_file(const std::string &path, Catalogue &catalogue) {
    const std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(path.c_str(), "re"), std::fclose);
    std::string text;
    errno = file ? 0 : errno;
    char block[4096];
    for (size_t got = 1; file && got > 0;) {
        got = std::fread(block, 1, sizeof block, file.get());
        text.append(block, got);
    }
    if (!file || std::ferror(file.get()) != 0) {
        throw CatalogueError(
            fmt::format("the catalogue {} cannot be read: {}", path, std::generic_category().message(errno)));
    }
    add_catalogue_text(path, text, catalogue);
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
