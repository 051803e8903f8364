// SPDX-License-Identifier: Apache-2.0
// mib: the counters of the ports, as they are, as they change, and for a metrics collector.
#include "kslctl/mib.h"
#include "kslctl/arguments.h"
#include "kslctl/command.h"
#include "kslctl/own_trace.h"
#include "kslctl/raw.h"
#include "kslctl/watch.h"
#include "ksltrace/values.h"

#include <algorithm>
#include <charconv>
#include <fmt/core.h>
#include <fmt/ranges.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace kslctl {

namespace {

using Seconds = std::chrono::duration<double>;

struct Arguments {
    std::shared_ptr<NumberSet> ports = std::make_shared<NumberSet>();
    std::shared_ptr<bool> nonzero = std::make_shared<bool>(false);
    std::shared_ptr<bool> openmetrics = std::make_shared<bool>(false);
    std::optional<Seconds> delta;
    std::optional<Seconds> watch;
};

// ---- A counter, and how it moved ----

struct Movement {
    const Counter *counter;
    uint64_t value;
    std::optional<uint64_t> change; // none without an earlier reading
    double rate;
};

// Of a port that was read. With `nonzero`, those that are not 0, or that moved where that is known.
std::vector<Movement> movements(const CounterReading *before, const CounterReading &now, uint32_t port, bool nonzero) {
    std::vector<Movement> all;
    const CounterValues &values = *now.ports.at(port);
    for (size_t i = 0; i < kCounters; ++i) {
        Movement movement{&kCounterTable[i], values[i], std::nullopt, 0};
        if (before != nullptr && before->ports.at(port)) {
            const uint64_t change = counter_change(kCounterTable[i], (*before->ports.at(port))[i], values[i]);
            movement.change = change;
            movement.rate = counter_rate(change, now.time - before->time);
        }
        const uint64_t what_counts = before != nullptr ? movement.change.value_or(1) : movement.value;
        if (!nonzero || what_counts != 0) {
            all.push_back(movement);
        }
    }
    return all;
}

std::string name_of(const Counter &counter) {
    return fmt::format("0x{:02x}", counter.offset);
}

Json movement_json(const Movement &movement, bool moves) {
    Json json = {{"offset", movement.counter->offset}, {"value", movement.value}};
    if (moves) {
        json["change"] = movement.change ? Json(*movement.change) : Json(nullptr);
        json["per_second"] = movement.change ? Json(movement.rate) : Json(nullptr);
    }
    return json;
}

std::vector<std::string> movement_row(uint32_t port, const Movement &movement, bool moves) {
    std::vector<std::string> row = {std::to_string(port), name_of(*movement.counter), std::to_string(movement.value)};
    if (moves) {
        const std::string none(kNotRead);
        row.push_back(movement.change ? std::to_string(*movement.change) : none);
        // Of one width, so that the columns stand still from one reading to the next.
        row.push_back(movement.change ? fmt::format("{:>14.1f}/s", movement.rate) : none);
    }
    return row;
}

// ---- A chip ----

// With an earlier reading, also what happened since.
ChipResult show_reading(Context &context, const CounterReading *before, const CounterReading &now, bool nonzero) {
    const bool moves = before != nullptr;
    std::vector<Column> columns = {{"port", Align::right}, {"counter", Align::left}, {"value", Align::right}};
    if (moves) {
        columns.push_back({"change", Align::right});
        columns.push_back({"per second", Align::right});
    }
    Table table(columns);
    Json ports = Json::array();
    for (const auto &[port, values] : now.ports) {
        if (!values) {
            ports.push_back({{"port", port}, {"counters", nullptr}});
            std::vector<std::string> row(columns.size(), std::string(kNotRead));
            row[0] = std::to_string(port);
            table.add_row(row);
            continue;
        }
        Json counters = Json::array();
        for (const Movement &movement : movements(before, now, port, nonzero)) {
            counters.push_back(movement_json(movement, moves));
            table.add_row(movement_row(port, movement, moves));
        }
        ports.push_back({{"port", port}, {"counters", counters}});
    }
    Json json = Json::object();
    if (moves) {
        json["seconds"] = Seconds(now.time - before->time).count();
    }
    json["ports"] = ports;
    return {json, table.render(context.style)};
}

ChipResult show_raw(const Context &context, const CounterReading &now, bool nonzero) {
    std::vector<RawRegister> registers;
    for (const auto &[port, values] : now.ports) {
        for (size_t i = 0; i < kCounters; ++i) {
            const Counter &counter = kCounterTable[i];
            if (values && nonzero && (*values)[i] == 0) {
                continue;
            }
            const auto bytes = values ? std::optional(counter_bytes(counter, (*values)[i])) : std::nullopt;
            registers.push_back(
                {"counter", {{"port", port}}, counter_page(port), counter.offset, counter.length, bytes});
        }
    }
    return {raw_json(registers), raw_text(registers, context.style)};
}

ChipResult show_chip(Context &context, uint32_t chip, const Arguments &arguments) {
    const CounterReading now = read_counters(chip, *arguments.ports, context.report);
    return context.options.raw ? show_raw(context, now, *arguments.nonzero)
                               : show_reading(context, nullptr, now, *arguments.nonzero);
}

// ---- Two readings, and one after the other ----

// In the order of the command line.
using Readings = std::vector<CounterReading>;

Readings read_chips(Context &context, const Arguments &arguments) {
    Readings readings;
    for (const uint32_t chip : context.options.chips) {
        readings.push_back(read_counters(chip, *arguments.ports, context.report));
    }
    return readings;
}

Result show_movements(Context &context, const Readings &before, const Readings &now, bool nonzero) {
    size_t i = 0;
    return of_each_chip(context, [&](uint32_t) {
        const size_t at = i++;
        return show_reading(context, &before[at], now[at], nonzero);
    });
}

Result run_delta(Context &context, const Arguments &arguments) {
    const Readings before = read_chips(context, arguments);
    std::this_thread::sleep_for(*arguments.delta);
    return show_movements(context, before, read_chips(context, arguments), *arguments.nonzero);
}

// A line for each port, to be read by programs that read lines.
std::string lines_of(const Options &options, const Readings &before, const Readings &now, bool nonzero) {
    const std::string time = ksltrace::render_time(now_ns());
    std::string lines;
    for (size_t i = 0; i < now.size(); ++i) {
        for (const auto &[port, values] : now[i].ports) {
            std::string rates;
            for (const Movement &movement :
                 values ? movements(&before[i], now[i], port, nonzero) : std::vector<Movement>()) {
                rates += fmt::format(" {}={}", name_of(*movement.counter),
                                     movement.change ? fmt::format("{:.1f}/s", movement.rate) : std::string(kNotRead));
            }
            lines += fmt::format("{} chip {} port {}:{}\n", time, options.chips[i], port,
                                 !values         ? " ?"
                                 : rates.empty() ? " -"
                                                 : rates);
        }
    }
    return lines;
}

// As much as a terminal has room for.
std::string redrawn(const std::string &text) {
    constexpr char kFromTheTop[] = "\x1b[H\x1b[2J";
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 1;
    const auto lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    if (!known || lines < size.ws_row) {
        return kFromTheTop + text;
    }
    // The last line of the screen is the cursor's, and the one above tells what is missing.
    const size_t shown = size.ws_row - size_t{2};
    size_t end = 0;
    for (size_t line = 0; line < shown; ++line) {
        end = text.find('\n', end) + 1;
    }
    return kFromTheTop + text.substr(0, end) +
           fmt::format("({} more lines: name ports, or use --nonzero)\n", lines - shown);
}

// What failed has scrolled out of sight by the next interval.
std::string failures_of(const Report &report) {
    std::string text;
    for (const Json &error : report.errors()) {
        text += error["message"].get<std::string>() + "\n";
    }
    return text;
}

Result run_watch(Context &context, const Arguments &arguments) {
    Watch watch(*arguments.watch);
    Readings before = read_chips(context, arguments);
    bool goes_on = true;
    while (goes_on && watch.wait()) {
        const Readings now = read_chips(context, arguments);
        Result result = show_movements(context, before, now, *arguments.nonzero);
        result.text = context.can_redraw ? redrawn(failures_of(context.report) + result.text)
                                         : lines_of(context.options, before, now, *arguments.nonzero);
        goes_on = context.show(result);
        before = now;
    }
    Result shown;
    shown.is_shown = true;
    return shown;
}

// ---- For a metrics collector ----

Result run_metrics(Context &context, const Arguments &arguments) {
    std::string counters;
    std::string readable;
    const Readings readings = read_chips(context, arguments);
    for (size_t i = 0; i < readings.size(); ++i) {
        for (const auto &[port, values] : readings[i].ports) {
            const std::string labels = fmt::format("chip=\"{}\",port=\"{}\"", context.options.chips[i], port);
            readable += fmt::format("ksl_mib_readable{{{}}} {}\n", labels, values ? 1 : 0);
            for (size_t at = 0; values && at < kCounters; ++at) {
                counters += fmt::format("ksl_mib_total{{{},offset=\"{}\"}} {}\n", labels, name_of(kCounterTable[at]),
                                        (*values)[at]);
            }
        }
    }
    Result result;
    result.text = "# HELP ksl_mib_readable Whether the counters of the port could be read.\n"
                  "# TYPE ksl_mib_readable gauge\n" +
                  readable;
    if (!counters.empty()) {
        result.text += "# HELP ksl_mib_total MIB counter of the port, named by its register offset.\n"
                       "# TYPE ksl_mib_total counter\n" +
                       counters;
    }
    return result;
}

// ---- The command ----

Result run(Context &context, const Arguments &arguments) {
    if (arguments.delta) {
        return run_delta(context, arguments);
    }
    if (arguments.watch) {
        return run_watch(context, arguments);
    }
    if (*arguments.openmetrics) {
        return run_metrics(context, arguments);
    }
    return of_each_chip(context, [&](uint32_t chip) { return show_chip(context, chip, arguments); });
}

void check(Options &options, const Arguments &arguments) {
    const int modes = (arguments.delta ? 1 : 0) + (arguments.watch ? 1 : 0) + (*arguments.openmetrics ? 1 : 0);
    if (modes > 1) {
        throw UsageError("--delta, --watch and --openmetrics do not go together");
    }
    if (options.raw && modes != 0) {
        throw UsageError("--raw shows registers, and neither changes nor metrics");
    }
    if (*arguments.openmetrics && (options.json || options.trace || *arguments.nonzero)) {
        throw UsageError("--openmetrics is a form of its own: without --json, --trace and --nonzero");
    }
    if (arguments.watch && options.trace) {
        throw UsageError("--watch has no end behind which a trace could be shown; let TRACE_KBUF_DIR keep the trace, "
                         "and look at it with ksltrace");
    }
    options.documents_are_lines = arguments.watch.has_value();
}

Seconds parse_seconds(const std::string &text) {
    constexpr double kLeast = 0.01;
    constexpr double kMost = 86400;
    double number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    if (error != std::errc{} || stop != end || !(number >= kLeast && number <= kMost)) {
        throw ArgumentError(fmt::format("\"{}\" is no number of seconds; they go from 0.01 to 86400", text));
    }
    return Seconds(number);
}

constexpr char kHelp[] =
    R"(Ports are numbers and ranges (0-3,7). The library reads all of them, or those that are named one by one; a port that
fails when all are read is asked once more, to learn why.

Counters have no other names than their offsets in the port's page, 0x50 + port. Those at 0x00 and 0x7c have 8 bytes,
the others 4; 0x10 and 0x84 are never read. With a lower library that reads registers one by one (the first generation)
only a failure of the last, 0x98, is told, and another counter that cannot be read is 0.

  --delta        reads twice, and shows how far each counter came, and the rate of that
  --watch        shows the rates after each interval, in place on a terminal, else on a line for each port (with --json a
                 document on a line); goes on until Ctrl-C, or until nobody reads them any more, and then ends with
                 status 0 unless something failed
  --openmetrics  counters for a metrics collector, in the text format that "promtool check metrics" reads; ksl_mib_readable
                 is 0 for a port that could not be read. The collector takes a counter that wraps around for one that was
                 reset
A counter that wraps around goes on from 0, and changes and rates allow for that; one that was reset in between looks
the same. --nonzero hides what is 0: counters, with --delta and --watch changes.)";

} // namespace

void add_mib_commands(Commands &commands) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App &mib = commands.add(
        "mib", "Counters of the ports: values, changes, rates", kHelp,
        [arguments](Context &context) { return run(context, *arguments); },
        [arguments](Options &options) { check(options, *arguments); });
    add_lists(mib, "PORT", Need::optional, kPorts, arguments->ports, "Ports; default: all");
    add_flag(mib, "--nonzero", arguments->nonzero, "Only what is not 0");
    add_option(
        mib, "--delta", "SECONDS", [arguments](const std::string &text) { arguments->delta = parse_seconds(text); },
        "Changes within this time, 0.01 to 86400");
    add_option(
        mib, "--watch", "SECONDS", [arguments](const std::string &text) { arguments->watch = parse_seconds(text); },
        "Rates, again and again in this interval");
    add_flag(mib, "--openmetrics", arguments->openmetrics, "Text for a metrics collector");
}

} // namespace kslctl
