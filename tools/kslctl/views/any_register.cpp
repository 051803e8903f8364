// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/any_register.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/raw.h"

namespace kslctl::views {

namespace {

using hub::Reading;

const Columns<Reading> kReadingColumns = {
    {nullptr, "page", Align::left, [](const Reading &r) { return place(r.page); }},
    {nullptr, "offset", Align::left, [](const Reading &r) { return place(r.offset); }},
    {nullptr, "length", Align::left, [](const Reading &r) { return number(r.length); }},
    {nullptr, "bytes", Align::left, [](const Reading &r) { return bytes(r.bytes, r.length); }},
};

const Columns<Reading> kDumpColumns = {
    {"page", "page", Align::left, [](const Reading &r) { return place(r.page); }},
    {"offset", "offset", Align::left, [](const Reading &r) { return place(r.offset); }},
    {"bytes", "bytes", Align::left, [](const Reading &r) { return bytes(r.bytes, r.length); }},
};

struct Change {
    const hub::ChangedRegister &changed;
    bool dry_run;

    const ksl_register &at() const { return changed.which->place; }
};

const Columns<Change> kChangeColumns = {
    {"page", "page", Align::left, [](const Change &c) { return place(c.at().page); }},
    {"offset", "offset", Align::left, [](const Change &c) { return place(c.at().offset); }},
    {nullptr, "length", Align::left, [](const Change &c) { return number(c.at().length); }},
    {nullptr, "dry_run", Align::left,
     [](const Change &c) {
         return Cell{{}, c.dry_run};
     }},
    {"from", "before", Align::left, [](const Change &c) { return bytes(c.changed.before, c.at().length); }},
    {"to", "after", Align::left, [](const Change &c) { return bytes(c.changed.after, c.at().length); }},
};

} // namespace

Shown register_bytes(const Reading &reading, const Style &style) {
    return {object(kReadingColumns, reading), style.value(bytes(reading.bytes, reading.length).text) + "\n"};
}

Shown register_change(const hub::Changes &changes, const Style &style) {
    const Change change{changes.registers.front(), changes.dry_run};
    return {object(kChangeColumns, change), table(kChangeColumns, {change}, style)};
}

Shown dumped_registers(const hub::Fact<std::vector<Reading>> &registers, const Style &style) {
    const Cell shown = cell(registers, [&](const std::vector<Reading> &readings) {
        return Cell{table(kDumpColumns, readings, style), objects(kDumpColumns, readings)};
    });
    return {{{"registers", shown.json}}, registers.is_read() ? shown.text : style.value(shown.text) + "\n"};
}

} // namespace kslctl::views
