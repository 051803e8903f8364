// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/counters.h"

#include "kslctl/views/listing.h"

namespace kslctl::views {

namespace {

using hub::CounterNames;
using hub::CounterValue;

// A port that was not read has one row. In that of all its counters together, the value means nothing.
struct Row {
    uint32_t port;
    hub::Fact<CounterValue> counter;
    const CounterView *view;

    bool is_total() const { return counter.is_read() && counter->which == nullptr; }
    const hub::CounterName *name() const {
        return counter.is_read() && !is_total() ? hub::name_of(*counter->which, view->names) : nullptr;
    }
};

Cell offset(const Row &row) {
    return cell(row.counter, [&](const CounterValue &counter) {
        return row.is_total() ? Cell{std::string(hub::kTotal), nullptr}
                              : Cell{fmt::format("0x{:02x}", counter.which->offset), counter.which->offset};
    });
}

Cell text_or_nothing(const std::string &text) {
    return text.empty() ? Cell{std::string(tools::kNothing), nullptr} : Cell{text, text};
}

Cell name(const Row &row) {
    const hub::CounterName *const name = row.name();
    return text_or_nothing(name != nullptr ? name->name : "");
}

Cell unit(const Row &row) {
    const hub::CounterName *const name = row.name();
    return text_or_nothing(name != nullptr ? name->unit : "");
}

Cell is_error(const Row &row) {
    return {{}, row.name() != nullptr && row.name()->is_error};
}

Cell value(const Row &row) {
    return row.is_total() ? Cell{std::string(tools::kNothing), nullptr}
                          : cell(row.counter, [](const CounterValue &counter) { return number(counter.value); });
}

Cell of_change(const Row &row, Cell (*show)(const hub::CounterChange &change, const CounterView &view)) {
    return cell(row.counter, [&](const CounterValue &counter) {
        return cell(counter.change, [&](const hub::CounterChange &change) { return show(change, *row.view); });
    });
}

Cell change(const Row &row) {
    const bool counts_errors = row.name() != nullptr && row.name()->is_error;
    Cell cell = of_change(row, [](const hub::CounterChange &change, const CounterView &) { return number(change.by); });
    cell.is_wrong = counts_errors && row.counter->change.is_read() && row.counter->change->by != 0;
    return cell;
}

// Its text always has the same width, so that the columns keep their places from one reading to the next.
Cell rate(const Row &row) {
    return of_change(row, [](const hub::CounterChange &change, const CounterView &view) {
        return Cell{view.has_short_rates ? fmt::format("{:>7}/s", rate_text(change.per_second))
                                         : fmt::format("{:>14.1f}/s", change.per_second),
                    change.per_second};
    });
}

Columns<Row> columns_of(bool has_changes, bool has_names) {
    Columns<Row> columns = {{"port", nullptr, Align::right, [](const Row &row) { return number(row.port); }},
                            {"counter", "offset", Align::left, offset}};
    if (has_names) {
        columns.push_back({"name", "name", Align::left, name});
        columns.push_back({nullptr, "error", Align::left, is_error});
    }
    columns.push_back({"value", "value", Align::right, value});
    if (has_changes) {
        columns.push_back({"change", "change", Align::right, change});
        columns.push_back({"per second", "per_second", Align::right, rate});
    }
    if (has_names) {
        columns.push_back({"unit", "unit", Align::left, unit});
    }
    return columns;
}

std::vector<Row> rows_of(uint32_t port, const hub::Fact<std::vector<CounterValue>> &counters, const CounterView &view) {
    if (const hub::Failure *const failure = counters.failure()) {
        return {{port, *failure, &view}};
    }
    std::vector<Row> rows;
    for (const CounterValue &counter : *counters) {
        rows.push_back({port, counter, &view});
    }
    return rows;
}

// The change of all counters of a port.
Json total_json(const hub::Fact<std::vector<CounterValue>> &counters) {
    const hub::Fact<hub::CounterChange> total =
        counters.is_read() ? hub::total_of(*counters) : hub::Fact<hub::CounterChange>();
    return cell(total,
                [](const hub::CounterChange &change) {
                    return Cell{{}, {{"change", change.by}, {"per_second", change.per_second}}};
                })
        .json;
}

std::string rate_of(const hub::Fact<hub::CounterChange> &change) {
    return cell(change,
                [](const hub::CounterChange &known) {
                    return Cell{rate_text(known.per_second) + "/s", nullptr};
                })
        .text;
}

std::string rates_of(const std::vector<CounterValue> &counters, const CounterNames &names) {
    std::string text;
    for (const CounterValue &counter : counters) {
        text += fmt::format(" {}={}", hub::label_of(*counter.which, names), rate_of(counter.change));
    }
    return text.empty() ? fmt::format(" {}", tools::kNothing)
                        : fmt::format("{} {}={}", text, hub::kTotal, rate_of(hub::total_of(counters)));
}

} // namespace

std::string rate_text(double rate) {
    constexpr double kSmall = 1000;
    constexpr double kInThousands = 1e5;
    constexpr double kInMillions = 1e8;
    constexpr double kInBillions = 1e11;
    constexpr double kHuge = 1e14;
    if (rate < kSmall) {
        return fmt::format("{:.1f}", rate);
    }
    return rate < kInThousands  ? fmt::format("{:.0f}", rate)
           : rate < kInMillions ? fmt::format("{:.0f}k", rate / 1e3)
           : rate < kInBillions ? fmt::format("{:.0f}M", rate / 1e6)
           : rate < kHuge       ? fmt::format("{:.0f}G", rate / 1e9)
                                : fmt::format("{:.0e}", rate);
}

Shown counters(const hub::ChipCounters &counters, const CounterView &view, const Style &style) {
    const bool has_changes = counters.since.has_value();
    const Columns<Row> columns = columns_of(has_changes, !view.names.empty());
    std::vector<Row> rows;
    Json ports = Json::array();
    for (const uint32_t port : hub::ports_of(counters)) {
        const hub::Fact<std::vector<CounterValue>> &values = counters.ports.at(port);
        const std::vector<Row> of_port = rows_of(port, values, view);
        rows.insert(rows.end(), of_port.begin(), of_port.end());
        Json json = {{"port", port}, {"counters", values.is_read() ? objects(columns, of_port) : Json()}};
        if (has_changes) {
            json["total"] = total_json(values);
        }
        ports.push_back(json);
        if (has_changes && of_port.size() > 1) {
            rows.push_back({port, CounterValue{nullptr, 0, hub::total_of(*values)}, &view});
        }
    }
    Json json = Json::object();
    if (has_changes) {
        json["seconds"] = counters.since->count();
    }
    json["ports"] = ports;
    return {json, table(columns, rows, style)};
}

std::string rate_lines(const std::vector<hub::ChipCounters> &chips, const CounterNames &names,
                       const std::string &time) {
    std::string lines;
    for (const hub::ChipCounters &counters : chips) {
        for (const uint32_t port : hub::ports_of(counters)) {
            const hub::Fact<std::vector<CounterValue>> &values = counters.ports.at(port);
            lines += fmt::format("{} chip {} port {}:{}\n", time, counters.chip, port,
                                 values.is_read() ? rates_of(*values, names) : fmt::format(" {}", tools::kNotRead));
        }
    }
    return lines;
}

std::string openmetrics(const std::vector<hub::ChipCounters> &chips, const CounterNames &names) {
    std::string readable;
    std::string totals;
    for (const hub::ChipCounters &counters : chips) {
        for (const auto &[port, values] : counters.ports) {
            const std::string labels = fmt::format("chip=\"{}\",port=\"{}\"", counters.chip, port);
            readable += fmt::format("ksl_mib_readable{{{}}} {}\n", labels, values.is_read() ? 1 : 0);
            for (const CounterValue &counter : values.is_read() ? *values : std::vector<CounterValue>()) {
                const hub::CounterName *const name = hub::name_of(*counter.which, names);
                totals += fmt::format("ksl_mib_total{{{},offset=\"0x{:02x}\"{}}} {}\n", labels, counter.which->offset,
                                      name != nullptr ? fmt::format(",name=\"{}\"", name->name) : "", counter.value);
            }
        }
    }
    std::string text = "# HELP ksl_mib_readable Whether the counters of the port could be read.\n"
                       "# TYPE ksl_mib_readable gauge\n" +
                       readable;
    if (!totals.empty()) {
        text += "# HELP ksl_mib_total MIB counter of the port, named by its register offset.\n"
                "# TYPE ksl_mib_total counter\n" +
                totals;
    }
    return text;
}

} // namespace kslctl::views
