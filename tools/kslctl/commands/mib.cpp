// SPDX-License-Identifier: Apache-2.0
// mib: the counters of the ports, as they are, as they change, and for a metrics collector.
#include "kslctl/commands/command.h"
#include "kslctl/commands/watch.h"
#include "kslctl/views/counters.h"

#include <algorithm>
#include <fmt/core.h>
#include <thread>

namespace kslctl {

namespace {

struct Arguments {
    NumberSet ports;
    bool nonzero = false;
    bool openmetrics = false;
    std::optional<hub::Seconds> delta;
    std::optional<hub::Seconds> watch;
    std::string sort; // empty: by numbers
    std::optional<uint32_t> top;
};

// ---- The order ----

constexpr NumberKind kOffsets{"offset", 0, 255};
constexpr NumberKind kCounts{"number of ports", 1, KSL_PORTS};

const hub::Counter *counter_at(const std::string &text) {
    try {
        return hub::counter_at(parse_number(text, kOffsets));
    } catch (const ArgumentError &) {
        return nullptr;
    }
}

// Null is the total of all counters.
const hub::Counter *counter_to_sort_by(const Arguments &arguments, const hub::CounterNames &names) {
    if (arguments.sort.empty() || arguments.sort == hub::kTotal) {
        return nullptr;
    }
    const hub::Counter *const named = hub::counter_named(arguments.sort, names);
    const hub::Counter *const counter = named != nullptr ? named : counter_at(arguments.sort);
    if (counter == nullptr) {
        throw UsageError(fmt::format("--sort: \"{}\" is no counter; use {} or \"total\"", arguments.sort,
                                     names.empty() ? "an offset such as 0x50" : "a name, an offset such as 0x50"));
    }
    return counter;
}

hub::ChipCounters in_order(const Context &context, const Arguments &arguments, hub::ChipCounters counters) {
    if (arguments.sort.empty() && !arguments.top) {
        return counters;
    }
    return hub::sorted(std::move(counters), counter_to_sort_by(arguments, context.options.counter_names),
                       arguments.top);
}

// ---- Readings ----

// One for each chip of the command line.
using Readings = std::vector<hub::ChipCounters>;

Readings read_chips(Context &context, const Arguments &arguments) {
    Readings readings;
    for (const uint32_t chip : context.options.chips) {
        readings.push_back(hub::read_counters(chip, arguments.ports, context.failures));
    }
    context.report_failures();
    return readings;
}

Readings changes_since(const Readings &before, const Readings &now) {
    Readings changes;
    std::transform(before.begin(), before.end(), now.begin(), std::back_inserter(changes), hub::changes_since);
    return changes;
}

Readings wanted(const Context &context, const Arguments &arguments, Readings readings) {
    if (arguments.nonzero) {
        std::transform(readings.begin(), readings.end(), readings.begin(), hub::without_zeros);
    }
    for (hub::ChipCounters &counters : readings) {
        counters = in_order(context, arguments, std::move(counters));
    }
    return readings;
}

Result show(Context &context, const Readings &readings, bool has_short_rates = false) {
    const views::CounterView view{context.options.counter_names, has_short_rates};
    auto next = readings.begin();
    return of_each_chip(context, [&](uint32_t) {
        const hub::ChipCounters &counters = *next++;
        return context.options.raw ? views::raw(hub::registers_of(counters), context.style)
                                   : views::counters(counters, view, context.style);
    });
}

Result run_delta(Context &context, const Arguments &arguments) {
    const Readings before = read_chips(context, arguments);
    std::this_thread::sleep_for(*arguments.delta);
    return show(context, wanted(context, arguments, changes_since(before, read_chips(context, arguments))));
}

// As much as a terminal has room for.
std::string redrawn(const std::string &text) {
    constexpr char kFromTheTop[] = "\x1b[H\x1b[2J";
    const size_t rows = tools::Terminal::size().rows;
    const auto lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    if (lines < rows) {
        return kFromTheTop + text;
    }
    // The last line of the screen is the cursor's, and the one above says what is missing.
    const size_t shown = std::max(rows, size_t{2}) - 2;
    size_t end = 0;
    for (size_t line = 0; line < shown; ++line) {
        end = text.find('\n', end) + 1;
    }
    return kFromTheTop + text.substr(0, end) +
           fmt::format("({} more lines: name ports, or use --nonzero or --top)\n", lines - shown);
}

// For the screen, which is cleared at each interval; stderr may be somewhere else.
std::string failures_of(Report &report) {
    report.say();
    std::string text;
    for (const Json &error : report.errors()) {
        text += error["message"].get<std::string>() + "\n";
    }
    return text;
}

// Until there is something to show.
std::string waiting(const Arguments &arguments) {
    return fmt::format("{} of {} after the first {} s; q ends\n", arguments.nonzero ? "rates that are not 0" : "rates",
                       arguments.ports.empty() ? "all ports" : hub::describe_ports(arguments.ports),
                       arguments.watch->count());
}

Result run_watch(Context &context, const Arguments &arguments) {
    Watch watch(*arguments.watch, context.can_redraw ? std::optional(tools::Terminal::Screen::shared) : std::nullopt);
    Readings before = read_chips(context, arguments);
    bool goes_on = true;
    if (context.can_redraw) {
        goes_on = context.show({.text = redrawn(failures_of(context.report) + waiting(arguments))});
    }
    while (goes_on && watch.wait_for_interval()) {
        Readings now = read_chips(context, arguments);
        const Readings changes = wanted(context, arguments, changes_since(before, now));
        Result result = show(context, changes, true);
        const std::string heading = fmt::format("{}  every {} s\n", clock_now(), arguments.watch->count());
        result.text = context.can_redraw ? redrawn(heading + failures_of(context.report) + result.text)
                                         : views::rate_lines(changes, context.options.counter_names, time_now());
        goes_on = context.show(result);
        before = std::move(now);
    }
    return {.text = {}, .is_shown = true};
}

Result run(Context &context, const Arguments &arguments) {
    if (arguments.delta) {
        return run_delta(context, arguments);
    }
    if (arguments.watch) {
        return run_watch(context, arguments);
    }
    const Readings readings = wanted(context, arguments, read_chips(context, arguments));
    return arguments.openmetrics ? Result{.text = views::openmetrics(readings, context.options.counter_names)}
                                 : show(context, readings);
}

void check(Options &options, const Arguments &arguments) {
    counter_to_sort_by(arguments, options.counter_names);
    const int modes = (arguments.delta ? 1 : 0) + (arguments.watch ? 1 : 0) + (arguments.openmetrics ? 1 : 0);
    if (modes > 1) {
        throw UsageError("--delta, --watch and --openmetrics do not go together");
    }
    if (options.raw && modes != 0) {
        throw UsageError("--raw shows registers, not changes or metrics");
    }
    const bool has_order = !arguments.sort.empty() || arguments.top;
    if (arguments.openmetrics && (options.json || options.trace || arguments.nonzero || has_order)) {
        throw UsageError("--openmetrics does not go together with --json, --trace, --nonzero, --sort or --top");
    }
    if (options.raw && has_order) {
        throw UsageError("--raw shows registers by their numbers, without --sort and --top");
    }
    if (arguments.watch && options.trace) {
        throw UsageError("--watch does not end, so it shows no trace; let TRACE_KBUF_DIR keep the trace, and look at "
                         "it with ksltrace");
    }
    options.documents_are_lines = arguments.watch.has_value();
}

constexpr char kHelp[] = R"(Without ports the library reads all in one operation; a port that fails is then
read once more alone, for its code.

The library knows counters by their offsets in the port's page, 0x50 + port.
Those at 0x00 and 0x7c have 8 bytes, the others 4; 0x10 and 0x84 are never read.
A lower library that reads registers one by one (the first generation) reports
only a failure of the last one, 0x98; any other counter that fails is 0.

  --delta        reads twice, and shows the change of each counter and its rate
  --watch        shows the rates after each interval: on a terminal in place,
                 elsewhere on one line for each port, with --json as one
                 document on a line. It ends at Ctrl-C, on a terminal at q, or
                 when nobody reads the output any more; the exit status is 0 if
                 nothing failed. 100k is 100 000, M is a million, and G a
                 thousand millions
  --openmetrics  writes the text format that "promtool check metrics" reads.
                 ksl_mib_readable is 0 for a port that could not be read. The
                 collector treats a counter that wraps around as one that was
                 reset
  --sort         shows the port first that has most of a counter, or of all
                 counters together: by the change with --delta and --watch, else
                 by the value. A port that could not be read comes last
  --top          shows so many ports of each chip, by the total without --sort
  --nonzero      leaves out counters that are 0, or with --delta and --watch
                 those that did not change

The total of a port is the sum of its counters, whatever they count: a measure
of how busy the port is, and no number of frames.
A counter that wraps around continues from 0; changes and rates allow for that.
A counter that was reset between two readings looks the same.)";

} // namespace

void add_mib_commands(Commands &commands) {
    const auto [mib, arguments] = commands.add<Arguments>({
        .name = "mib",
        .summary = "Counters of the ports: values, changes, rates",
        .help = kHelp,
        .run = run,
        .check = check,
        .shows_counters = true,
    });
    add_lists(mib, "PORT", arguments.ports, kPorts, "Ports, such as 0-3,7; default: all");
    mib.add_flag("--nonzero", arguments.nonzero, "Only what is not 0");
    add_parsed(mib, "--delta", arguments.delta, parse_seconds, "Changes within this time, 0.01 to 86400")
        ->type_name("SECONDS");
    add_parsed(mib, "--watch", arguments.watch, parse_seconds, "Rates, again and again in this interval")
        ->type_name("SECONDS");
    mib.add_option("--sort", arguments.sort, "Largest first: an offset, a name, or total")->type_name("COUNTER");
    add_number(mib, "--top", arguments.top, kCounts, "Only so many ports of each chip")->type_name("N");
    mib.add_flag("--openmetrics", arguments.openmetrics, "Text for a metrics collector");
}

} // namespace kslctl
