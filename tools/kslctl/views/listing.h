// SPDX-License-Identifier: Apache-2.0
// Listings: one description of the columns gives the table and the JSON objects.
#pragma once

#include "kslctl/views/shown.h"

#include <algorithm>
#include <fmt/core.h>
#include <type_traits>
#include <vector>

namespace kslctl::views {

// A column of a table, and the key of the same value in JSON. Without a heading the value is for programs only, without
// a key for people only.
template <typename Row>
struct Column {
    const char *heading;
    const char *key;
    Align align;
    Cell (*cell)(const Row &row);
};

template <typename Row>
using Columns = std::vector<Column<Row>>;

// Of rows that have a port.
template <typename Row>
inline const Column<Row> kPortColumn = {"port", "port", Align::right, [](const Row &row) { return number(row.port); }};

template <typename Row>
Json object(const Columns<Row> &columns, const std::type_identity_t<Row> &row) {
    Json json = Json::object();
    for (const Column<Row> &column : columns) {
        if (column.key != nullptr) {
            json[column.key] = column.cell(row).json;
        }
    }
    return json;
}

template <typename Row>
Json objects(const Columns<Row> &columns, const std::vector<std::type_identity_t<Row>> &rows) {
    Json list = Json::array();
    for (const Row &row : rows) {
        list.push_back(object(columns, row));
    }
    return list;
}

template <typename Row>
std::string table(const Columns<Row> &columns, const std::vector<std::type_identity_t<Row>> &rows, const Style &style) {
    std::vector<tools::Column> headings;
    for (const Column<Row> &column : columns) {
        if (column.heading != nullptr) {
            headings.push_back({column.heading, column.align});
        }
    }
    tools::Table table(headings);
    for (const Row &row : rows) {
        std::vector<std::string> cells;
        std::vector<bool> wrong;
        for (const Column<Row> &column : columns) {
            if (column.heading != nullptr) {
                const Cell cell = column.cell(row);
                cells.push_back(cell.text);
                wrong.push_back(cell.is_wrong);
            }
        }
        table.add_row(cells, wrong);
    }
    return table.render(style);
}

// The values of one row below each other, each after its heading.
template <typename Row>
std::string lines(const Columns<Row> &columns, const std::type_identity_t<Row> &row, const Style &style) {
    size_t width = std::string_view("self-test").size(); // the same in most commands
    for (const Column<Row> &column : columns) {
        width = std::max(width, std::string_view(column.heading != nullptr ? column.heading : "").size());
    }
    std::string text;
    for (const Column<Row> &column : columns) {
        if (column.heading != nullptr) {
            text += fmt::format("{:<{}}  {}\n", column.heading, width, shown(column.cell(row), style));
        }
    }
    return text;
}

} // namespace kslctl::views
