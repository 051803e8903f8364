// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/catalogue.h"

#include <algorithm>
#include <stdexcept>

namespace ksltrace {

namespace {

// The library's own tables.
constexpr Row kRows[] = {
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, Kind::kind, #name, values, text},
#include "trace_points.def"
#undef KSL_TRACE_POINT
};

template <class Meaning>
struct Word {
    std::string_view word;
    Meaning meaning;
};

constexpr Word<Kind> kKinds[] = {{"entry", Kind::entry},
                                 {"exit", Kind::exit},
                                 {"failure", Kind::failure},
                                 {"step", Kind::step},
                                 {"elapsed", Kind::elapsed}};

constexpr Word<ValueType> kTypes[] = {{"decimal", ValueType::decimal},
                                      {"int", ValueType::signed_int},
                                      {"hex", ValueType::hex},
                                      {"address", ValueType::address},
                                      {"byte", ValueType::byte}};

template <class Meaning, size_t count>
constexpr std::optional<Meaning> meaning_of(std::string_view word, const Word<Meaning> (&words)[count]) {
    for (const Word<Meaning> &row : words) {
        if (row.word == word) {
            return row.meaning;
        }
    }
    return std::nullopt;
}

template <class Meaning, size_t count>
std::string_view word_for(Meaning meaning, const Word<Meaning> (&words)[count]) {
    return std::find_if(std::begin(words), std::end(words), [&](const auto &row) { return row.meaning == meaning; })
        ->word;
}

// Hands each "name:type" of a row's values to `take` as a name and a type (if there is such a type).
template <class Take>
constexpr void for_each_value(std::string_view values, Take take) {
    while (!values.empty()) {
        const std::string_view word = values.substr(0, values.find(' '));
        values.remove_prefix(word.size());
        values.remove_prefix(values.empty() ? 0 : 1);
        const size_t colon = word.find(':');
        if (!word.empty()) {
            const std::string_view type = colon == word.npos ? "decimal" : word.substr(colon + 1);
            take(word.substr(0, colon), meaning_of(type, kTypes));
        }
    }
}

consteval bool types_are_known() {
    bool known = true;
    for (const Row &row : kRows) {
        for_each_value(row.values,
                       [&known](std::string_view, std::optional<ValueType> type) { known &= type.has_value(); });
    }
    return known;
}

consteval bool identifiers_are_unique() {
    for (const Row &row : kRows) {
        for (const Row *other = &row + 1; other != std::end(kRows); ++other) {
            if (row.identifier == other->identifier) {
                return false;
            }
        }
    }
    return true;
}

// From here on identifiers are left to callers.
consteval bool identifiers_are_the_librarys() {
    return std::all_of(std::begin(kRows), std::end(kRows), [](const Row &row) { return row.identifier < 0x80000000; });
}

static_assert(identifiers_are_the_librarys(), "a trace point has an identifier that belongs to callers");
static_assert(types_are_known(), "a trace point's value has a type that no reader can show");
static_assert(identifiers_are_unique(), "two trace points have one identifier");

} // namespace

void Catalogue::add(std::span<const Row> rows) {
    for (const Row &row : rows) {
        Point point{row.identifier, row.kind, row.name, row.text, {}};
        for_each_value(row.values, [&](std::string_view name, std::optional<ValueType> type) {
            if (!type) {
                throw std::invalid_argument("no such value type: " + std::string(row.values));
            }
            point.values.push_back({name, *type});
        });
        add(std::move(point));
    }
}

const Point *Catalogue::find(uint32_t identifier) const {
    const auto found = points_.find(identifier);
    return found == points_.end() ? nullptr : &found->second;
}

std::vector<const Point *> Catalogue::sorted() const {
    std::vector<const Point *> points;
    for (const auto &[identifier, point] : points_) {
        points.push_back(&point);
    }
    std::sort(points.begin(), points.end(),
              [](const Point *a, const Point *b) { return a->identifier < b->identifier; });
    return points;
}

std::string_view word_of(Kind kind) {
    return word_for(kind, kKinds);
}

std::string_view word_of(ValueType type) {
    return word_for(type, kTypes);
}

std::optional<Kind> kind_of(std::string_view word) {
    return meaning_of(word, kKinds);
}

std::optional<ValueType> type_of(std::string_view word) {
    return meaning_of(word, kTypes);
}

std::span<const Row> library_rows() {
    return kRows;
}

const Catalogue &library_catalogue() {
    static const Catalogue catalogue(kRows);
    return catalogue;
}

} // namespace ksltrace
