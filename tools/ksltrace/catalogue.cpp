// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/catalogue.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace ksltrace {

namespace {

// The library's own tables.
constexpr Row kRows[] = {
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, Kind::kind, #name, values, text},
#include "trace_points.def"
#undef KSL_TRACE_POINT
};

constexpr std::optional<ValueType> type_of(std::string_view word) {
    constexpr struct {
        std::string_view word;
        ValueType type;
    } kTypes[] = {
        {"", ValueType::decimal},        {"int", ValueType::signed_int}, {"hex", ValueType::hex},
        {"address", ValueType::address}, {"byte", ValueType::byte},
    };
    for (const auto &row : kTypes) {
        if (row.word == word) {
            return row.type;
        }
    }
    return std::nullopt;
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
            take(word.substr(0, colon), type_of(colon == word.npos ? "" : word.substr(colon + 1)));
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

static_assert(types_are_known(), "a trace point's value has a type that no reader can show");
static_assert(identifiers_are_unique(), "two trace points have one identifier");

} // namespace

Catalogue::Catalogue(std::span<const Row> rows) {
    for (const Row &row : rows) {
        Point point{row.identifier, row.kind, row.name, row.text, {}};
        for_each_value(row.values, [&](std::string_view name, std::optional<ValueType> type) {
            if (!type) {
                throw std::invalid_argument("no such value type: " + std::string(row.values));
            }
            point.values.push_back({name, *type});
        });
        points_.emplace(row.identifier, std::move(point));
    }
}

const Point *Catalogue::find(uint32_t identifier) const {
    const auto found = points_.find(identifier);
    return found == points_.end() ? nullptr : &found->second;
}

const Catalogue &library_catalogue() {
    static const Catalogue catalogue(kRows);
    return catalogue;
}

} // namespace ksltrace
