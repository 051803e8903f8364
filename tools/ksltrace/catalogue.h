// SPDX-License-Identifier: Apache-2.0
// The trace points that a reader knows: what the numbers of a record mean.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ksltrace {

enum class Kind { entry, exit, failure, step, elapsed };

// How a value is shown.
enum class ValueType { decimal, signed_int, hex, address, byte };

struct Value {
    std::string_view name;
    ValueType type;
};

// A row of a trace_points.def.
struct Row {
    uint32_t identifier;
    Kind kind;
    std::string_view name;
    std::string_view values;
    std::string_view text;
};

struct Point {
    uint32_t identifier;
    Kind kind;
    std::string_view name;
    std::string_view text; // of an entry or exit: the operation
    std::vector<Value> values;
};

class Catalogue {
public:
    Catalogue() = default;
    // The rows' texts have to outlive the catalogue.
    explicit Catalogue(std::span<const Row> rows) { add(rows); }
    // Points refer to texts that a copy would not have.
    Catalogue(const Catalogue &) = delete;
    Catalogue &operator=(const Catalogue &) = delete;
    Catalogue(Catalogue &&) = default;
    Catalogue &operator=(Catalogue &&) = default;
    ~Catalogue() = default;

    // A point that is there already stays what it is.
    void add(std::span<const Row> rows);
    bool add(Point point) { return points_.emplace(point.identifier, std::move(point)).second; }
    // For a point's texts: keeps a copy.
    std::string_view keep(std::string text) { return texts_.emplace_back(std::move(text)); }

    // Null when the identifier is in no table.
    const Point *find(uint32_t identifier) const;
    // All of them by identifier.
    std::vector<const Point *> sorted() const;

private:
    std::unordered_map<uint32_t, Point> points_;
    std::deque<std::string> texts_;
};

// The words by which catalogues name kinds and types.
std::string_view word_of(Kind kind);
std::string_view word_of(ValueType type);
std::optional<Kind> kind_of(std::string_view word);
std::optional<ValueType> type_of(std::string_view word);

// The tables of this tree's library.
std::span<const Row> library_rows();
const Catalogue &library_catalogue();

} // namespace ksltrace
