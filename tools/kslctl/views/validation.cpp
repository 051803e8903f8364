// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/validation.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/values.h"
#include "kslctl/views/vlans.h"

#include <algorithm>

namespace kslctl::views {

namespace {

using hub::Bytes;
using hub::Comparison;
using hub::Fact;
using hub::VlanValidation;

Cell boolean(const Fact<bool> &fact) {
    return cell(fact, [](bool value) { return Cell{{}, value}; });
}

bool is_no(const hub::Verdict &verdict) {
    return verdict.is_read() && !*verdict;
}

Cell verdict(const hub::Verdict &verdict) {
    const char *const known = verdict.is_read() && *verdict ? "as expected" : "not as expected";
    return {verdict.is_read() ? known : "could not be compared", boolean(verdict).json, is_no(verdict)};
}

// ---- PVIDs ----

struct PvidRow {
    const Comparison &port;
    bool raw;

    Cell cell_of(const Fact<Bytes> &fact) const { return value_or_bytes(hub::registers::pvid, fact, raw); }
};

const Columns<PvidRow> kPvidColumns = {
    {"port", "port", Align::right, [](const PvidRow &row) { return number(row.port.of); }},
    {"expected", "expected", Align::left, [](const PvidRow &row) { return row.cell_of(row.port.expected); }},
    {"found", "found", Align::left, [](const PvidRow &row) { return row.cell_of(row.port.found); }},
    {nullptr, "same", Align::left, [](const PvidRow &row) { return boolean(row.port.same); }},
};

// ---- VLAN table entries ----

struct EntryRow {
    const VlanValidation &vlan;
    bool raw;

    Cell cell_of(const Fact<Bytes> &fact) const { return value_or_bytes(hub::registers::vlan_table_entry, fact, raw); }
};

const Columns<EntryRow> kEntryColumns = {
    {nullptr, "vid", Align::left, [](const EntryRow &row) { return number(row.vlan.entry.of); }},
    {nullptr, "verdict", Align::left, [](const EntryRow &row) { return verdict(row.vlan.verdict); }},
    {nullptr, "named", Align::left, [](const EntryRow &row) { return boolean(row.vlan.named); }},
    {"expected", "expected", Align::left, [](const EntryRow &row) { return row.cell_of(row.vlan.entry.expected); }},
    {"found", "found", Align::left, [](const EntryRow &row) { return row.cell_of(row.vlan.entry.found); }},
};

// Where two pictures differ; no blanks at the end.
std::string marks(const std::string &one, const std::string &other) {
    std::string marks;
    for (size_t column = 0; column < one.size(); ++column) {
        if (one[column] != other[column]) {
            marks.resize(column, ' ');
            marks += '^';
        }
    }
    return marks;
}

std::string pictures(const ksl_vlan_entry &expected, const ksl_vlan_entry &found, const Style &style) {
    tools::Table table({{"", Align::left}, {"", Align::left}, {std::string(kMapRuler), Align::left}});
    const auto add = [&](const char *what, const std::string &was_expected, const std::string &was_found) {
        table.add_row({what, "expected", was_expected});
        table.add_row({"", "found", was_found});
    };
    const auto add_map = [&](const char *what, uint32_t expected_map, uint32_t found_map) {
        const std::string one = port_map(expected_map).text;
        const std::string other = port_map(found_map).text;
        add(what, one, other);
        if (one != other) {
            table.add_row({"", "differ", marks(one, other)});
        }
    };
    add("valid", expected.valid != 0 ? "yes" : "no", found.valid != 0 ? "yes" : "no");
    add_map("upper map", expected.upper_map, found.upper_map);
    add_map("lower map", expected.lower_map, found.lower_map);
    return table.render(style);
}

std::string text_of(const EntryRow &row, const Style &style) {
    const Comparison &entry = row.vlan.entry;
    const ksl_vlan_entry expected = ksl_decode_vlan_entry(entry.expected.data());
    const Fact<ksl_vlan_entry> found =
        entry.found.map([](const Bytes &bytes) { return ksl_decode_vlan_entry(bytes.data()); });
    std::string text = fmt::format("VLAN {}  {}\n", entry.of, shown(verdict(row.vlan.verdict), style));
    if (!row.vlan.named && found.is_read()) {
        text += "The configuration does not name this VLAN, so its last entry was taken, if there is any.\n";
    }
    if (expected.valid == 0 || (found.is_read() && found->valid == 0)) {
        text += "An entry that is not valid is never as expected.\n";
    }
    if (row.raw) {
        text += lines(kEntryColumns, row, style);
    } else if (is_no(entry.same)) {
        text += pictures(expected, *found, style);
    }
    return text;
}

} // namespace

Shown pvid_validation(const hub::PvidValidation &validation, bool raw, const Style &style) {
    std::vector<PvidRow> all;
    std::vector<PvidRow> differing;
    for (const Comparison &port : validation.ports) {
        all.push_back({port, raw});
        if (!port.same.is_read() || !*port.same) {
            differing.push_back({port, raw});
        }
    }
    const Cell cell = verdict(validation.verdict);
    Shown shown{{{"verdict", cell.json}, {"ports", objects(kPvidColumns, all)}},
                fmt::format("PVIDs  {}\n", views::shown(cell, style)),
                is_no(validation.verdict)};
    const bool any_is_read =
        std::any_of(all.begin(), all.end(), [](const PvidRow &row) { return row.port.found.is_read(); });
    if (any_is_read && !differing.empty()) {
        shown.text += "\n" + table(kPvidColumns, differing, style);
    }
    return shown;
}

Shown vlan_validations(const std::vector<VlanValidation> &validations, bool raw, const Style &style) {
    Shown shown;
    for (const VlanValidation &vlan : validations) {
        const EntryRow row{vlan, raw};
        shown.json["vlans"].push_back(object(kEntryColumns, row));
        shown.text += (shown.text.empty() ? "" : "\n") + text_of(row, style);
        shown.answer_is_no = shown.answer_is_no || is_no(vlan.verdict);
    }
    return shown;
}

Shown vlan_enable_validation(const hub::Verdict &verdict, const Style &style) {
    const Cell support = cell(verdict, [](bool on) {
        return Cell{on ? "on, as expected" : "off, not as expected", on, !on};
    });
    return {{{"verdict", support.json}}, fmt::format("VLAN support  {}\n", shown(support, style)), is_no(verdict)};
}

} // namespace kslctl::views
