// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/changes.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/raw.h"
#include "kslctl/views/values.h"

namespace kslctl::views {

namespace {

struct Row {
    const hub::ChangedRegister &changed;
    bool raw;
    bool dry_run;

    const hub::Register &which() const { return *changed.which; }
    uint32_t page() const { return which().page(changed.port); }
    uint32_t offset() const { return which().offset(changed.port); }
};

Cell write(const Row &row) {
    if (!row.changed.write) {
        return {std::string(tools::kNothing), nullptr};
    }
    const std::string text = hex(*row.changed.write, row.which().place.length);
    return {text, text};
}

const Column<Row> kBefore{"from", "before", Align::left,
                          [](const Row &row) { return value_or_bytes(row.which(), row.changed.before, row.raw); }};
const Column<Row> kAfter{"to", "after", Align::left,
                         [](const Row &row) { return value_or_bytes(row.which(), row.changed.after, row.raw); }};

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
                    kBefore,
                    kAfter});
    if (dry_run) {
        columns.insert(columns.end(),
                       {{"page", nullptr, Align::left, [](const Row &row) { return place(row.page()); }},
                        {"offset", nullptr, Align::left, [](const Row &row) { return place(row.offset()); }},
                        {"write", "write", Align::left, write}});
    }
    return columns;
}

const Columns<Row> kPlaceColumns = {
    {"page", "page", Align::left, [](const Row &row) { return place(row.page()); }},
    {"offset", "offset", Align::left, [](const Row &row) { return place(row.offset()); }},
    {nullptr, "length", Align::left, [](const Row &row) { return number(row.which().place.length); }},
    {nullptr, "dry_run", Align::left,
     [](const Row &row) {
         return Cell{{}, row.dry_run};
     }},
    kBefore,
    kAfter,
};

} // namespace

Shown changes(const hub::Changes &changes, bool raw, const Style &style) {
    std::vector<Row> rows;
    for (const hub::ChangedRegister &changed : changes.registers) {
        rows.push_back({changed, raw, changes.dry_run});
    }
    const bool of_ports = !rows.empty() && rows.front().which().is_of_port();
    const Columns<Row> columns = columns_of(of_ports, changes.dry_run);
    return {{{"dry_run", changes.dry_run}, {"changes", objects(columns, rows)}}, table(columns, rows, style)};
}

Shown register_change(const hub::Changes &changes, const Style &style) {
    const Row row{changes.registers.front(), true, changes.dry_run};
    return {object(kPlaceColumns, row), table(kPlaceColumns, {row}, style)};
}

} // namespace kslctl::views
