// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/changes.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/raw.h"
#include "kslctl/views/values.h"

#include <algorithm>

namespace kslctl::views {

namespace {

struct Row {
    const hub::ChangedRegister &changed;
    bool raw;

    const hub::Register &which() const { return *changed.which; }
    uint32_t page() const { return which().page(changed.port); }
    uint32_t offset() const { return which().offset(changed.port); }
};

Cell value(const Row &row, const hub::Fact<hub::Bytes> &fact) {
    return row.raw ? bytes(fact, row.which().place.length)
                   : cell(fact, [&](const hub::Bytes &known) { return value_of(row.which(), known); });
}

Cell write(const Row &row) {
    if (!row.changed.write) {
        return {std::string(tools::kNothing), nullptr};
    }
    const std::string text = hex(*row.changed.write, row.which().place.length);
    return {fmt::format("page 0x{:02x}, offset 0x{:02x}: {}", row.page(), row.offset(), text), text};
}

Columns<Row> columns_of(bool of_ports, bool dry_run) {
    Columns<Row> columns;
    if (of_ports) {
        columns.push_back({"port", "port", Align::right, [](const Row &row) { return number(row.changed.port); }});
    }
    columns.insert(columns.end(),
                   {{"register", "register", Align::left,
                     [](const Row &row) {
                         return Cell{row.which().text, row.which().name};
                     }},
                    {nullptr, "page", Align::left, [](const Row &row) { return number(row.page()); }},
                    {nullptr, "offset", Align::left, [](const Row &row) { return number(row.offset()); }},
                    {"from", "before", Align::left, [](const Row &row) { return value(row, row.changed.before); }},
                    {"to", "after", Align::left, [](const Row &row) { return value(row, row.changed.after); }}});
    if (dry_run) {
        columns.push_back({"write", "write", Align::left, write});
    }
    return columns;
}

} // namespace

Shown changes(const hub::Changes &changes, bool raw, const Style &style) {
    std::vector<Row> rows;
    std::transform(changes.registers.begin(), changes.registers.end(), std::back_inserter(rows),
                   [raw](const hub::ChangedRegister &changed) {
                       return Row{changed, raw};
                   });
    const bool of_ports = !rows.empty() && rows.front().which().is_of_port();
    const Columns<Row> columns = columns_of(of_ports, changes.dry_run);
    return {{{"dry_run", changes.dry_run}, {"changes", objects(columns, rows)}}, table(columns, rows, style)};
}

} // namespace kslctl::views
