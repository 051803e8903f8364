// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/counters.h"

#include "kslctl/views/listing.h"

namespace kslctl::views {

namespace {

using hub::CounterValue;

Cell name(const CounterValue &counter) {
    return {fmt::format("0x{:02x}", counter.which->offset), counter.which->offset};
}

Cell value(const CounterValue &counter) {
    return number(counter.value);
}

Cell change(const CounterValue &counter) {
    return cell(counter.change, [](const hub::CounterChange &change) { return number(change.by); });
}

// Its text always has the same width, so that the columns keep their places from one reading to the next.
Cell rate(const CounterValue &counter) {
    return cell(counter.change, [](const hub::CounterChange &change) {
        return Cell{fmt::format("{:>14.1f}/s", change.per_second), change.per_second};
    });
}

// A port that was not read has one row.
struct Row {
    uint32_t port;
    hub::Fact<CounterValue> counter;
};

template <Cell (*show)(const CounterValue &)>
Cell of_counter(const Row &row) {
    return cell(row.counter, show);
}

Columns<Row> columns_of(bool has_changes) {
    Columns<Row> columns = {{"port", nullptr, Align::right, [](const Row &row) { return number(row.port); }},
                            {"counter", "offset", Align::left, of_counter<name>},
                            {"value", "value", Align::right, of_counter<value>}};
    if (has_changes) {
        columns.push_back({"change", "change", Align::right, of_counter<change>});
        columns.push_back({"per second", "per_second", Align::right, of_counter<rate>});
    }
    return columns;
}

std::vector<Row> rows_of(uint32_t port, const hub::Fact<std::vector<CounterValue>> &counters) {
    if (const hub::Failure *const failure = counters.failure()) {
        return {{port, *failure}};
    }
    std::vector<Row> rows;
    for (const CounterValue &counter : *counters) {
        rows.push_back({port, counter});
    }
    return rows;
}

std::string rates_of(const std::vector<CounterValue> &counters) {
    std::string text;
    for (const CounterValue &counter : counters) {
        const hub::Fact<hub::CounterChange> &change = counter.change;
        text +=
            fmt::format(" {}={}", name(counter).text,
                        change.is_read() ? fmt::format("{:.1f}/s", change->per_second) : std::string(tools::kNotRead));
    }
    return text.empty() ? fmt::format(" {}", tools::kNothing) : text;
}

} // namespace

Shown counters(const hub::ChipCounters &counters, const Style &style) {
    const Columns<Row> columns = columns_of(counters.since.has_value());
    std::vector<Row> rows;
    Json ports = Json::array();
    for (const auto &[port, values] : counters.ports) {
        const std::vector<Row> of_port = rows_of(port, values);
        ports.push_back({{"port", port}, {"counters", values.is_read() ? objects(columns, of_port) : Json()}});
        rows.insert(rows.end(), of_port.begin(), of_port.end());
    }
    Json json = Json::object();
    if (counters.since) {
        json["seconds"] = counters.since->count();
    }
    json["ports"] = ports;
    return {json, table(columns, rows, style)};
}

std::string rate_lines(const std::vector<hub::ChipCounters> &chips, const std::string &time) {
    std::string lines;
    for (const hub::ChipCounters &counters : chips) {
        for (const auto &[port, values] : counters.ports) {
            lines += fmt::format("{} chip {} port {}:{}\n", time, counters.chip, port,
                                 values.is_read() ? rates_of(*values) : fmt::format(" {}", tools::kNotRead));
        }
    }
    return lines;
}

std::string openmetrics(const std::vector<hub::ChipCounters> &chips) {
    std::string readable;
    std::string totals;
    for (const hub::ChipCounters &counters : chips) {
        for (const auto &[port, values] : counters.ports) {
            const std::string labels = fmt::format("chip=\"{}\",port=\"{}\"", counters.chip, port);
            readable += fmt::format("ksl_mib_readable{{{}}} {}\n", labels, values.is_read() ? 1 : 0);
            for (const CounterValue &counter : values.is_read() ? *values : std::vector<CounterValue>()) {
                totals +=
                    fmt::format("ksl_mib_total{{{},offset=\"{}\"}} {}\n", labels, name(counter).text, counter.value);
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
