// SPDX-License-Identifier: Apache-2.0
// The trace points that a reader knows: what the numbers of a record mean.
#pragma once

#include <cstdint>
#include <span>
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
    // The rows' texts have to outlive the catalogue.
    explicit Catalogue(std::span<const Row> rows);

    // Null when the identifier is in no table.
    const Point *find(uint32_t identifier) const;

private:
    std::unordered_map<uint32_t, Point> points_;
};

// The tables of this tree's library.
const Catalogue &library_catalogue();

} // namespace ksltrace
