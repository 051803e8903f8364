// SPDX-License-Identifier: Apache-2.0
// monitor: a live view of chips, as a picture on a terminal, else as lines or documents about what changes.
#include "kslctl/views/monitor.h"
#include "kslctl/commands/command.h"
#include "kslctl/commands/watch.h"
#include "kslctl/views/faceplate.h"

#include <algorithm>

namespace kslctl {

namespace {

struct Arguments {
    NumberSet ports = hub::all_ports();
    hub::Seconds interval{1};
};

std::vector<hub::Seen> unseen_chips(const Context &context, const Arguments &arguments) {
    std::vector<hub::Seen> chips;
    for (const uint32_t chip : context.options.chips) {
        chips.emplace_back(chip, arguments.ports);
    }
    return chips;
}

// What could not be read in the last look counts as failed; what was read again does not.
Result finish(Context &context, const std::vector<hub::Seen> &chips) {
    for (const hub::Seen &chip : chips) {
        context.failures.insert(context.failures.end(), chip.last.failures.begin(), chip.last.failures.end());
    }
    return {.text = {}, .is_shown = true};
}

// ---- On a terminal ----

class Picture {
public:
    Picture(Context &context, const Arguments &arguments)
        : context_(context), arguments_(arguments), chips_(unseen_chips(context, arguments)) {}

    Result run() {
        {
            // Ends before the failures are told, so that they are not on the screen that goes away.
            Watch watch(arguments_.interval, tools::Terminal::Screen::own);
            // Rates need a second look, and nobody wants to wait long for it.
            watch.hurry(hub::Seconds(1));
            look();
            bool goes_on = show();
            while (goes_on) {
                const Watch::Event event = watch.wait();
                goes_on = event != Watch::Event::end && handle(event, watch.take_keys());
            }
        }
        return finish(context_, chips_);
    }

private:
    void look() {
        for (hub::Seen &chip : chips_) {
            hub::see(chip, hub::look_at(chip.last.chip, arguments_.ports, hub::WithCounters::yes));
        }
        frame_.time = clock_now();
    }

    bool show() {
        const auto [rows, columns] = tools::Terminal::size();
        frame_.rows = rows;
        frame_.columns = columns;
        frame_.interval = arguments_.interval;
        frame_.names = context_.options.counter_names;
        frame_.simulated = context_.library.simulation().has_value();
        return context_.show({.text = tools::drawn(views::picture(chips_, frame_, context_.style))});
    }

    // False if nobody wants another picture.
    bool handle(Watch::Event event, const std::string &keys) {
        for (const char key : keys) {
            press(key);
        }
        if (event == Watch::Event::interval && frame_.is_paused) {
            return true;
        }
        if (event == Watch::Event::interval) {
            look();
        }
        return show();
    }

    void press(char key) {
        constexpr hub::Order kNext[] = {hub::Order::by_number, hub::Order::worst, hub::Order::busiest};
        if (key == 's') {
            frame_.order = kNext[static_cast<size_t>(frame_.order)];
        }
        if (key == 'p') {
            frame_.is_paused = !frame_.is_paused;
        }
    }

    Context &context_;
    const Arguments &arguments_;
    std::vector<hub::Seen> chips_;
    views::Frame frame_{};
};

// ---- Elsewhere ----

// One look at all chips. The text is empty if nothing changed.
Result look_for_differences(Context &context, const Arguments &arguments, std::vector<hub::Seen> &chips) {
    Result result;
    for (hub::Seen &chip : chips) {
        const std::string time = time_now();
        const hub::Differences found =
            hub::see(chip, hub::look_at(chip.last.chip, arguments.ports, hub::WithCounters::no));
        for (const hub::Failure &failure : found.begun) {
            context.report.mention(failure);
        }
        const views::Shown shown =
            views::differences(chip.last.chip, found, time, context.library.simulation().has_value());
        result.chips.push_back(shown.json);
        result.text += shown.text;
    }
    return result;
}

Result run_lines(Context &context, const Arguments &arguments) {
    Watch watch(arguments.interval);
    std::vector<hub::Seen> chips = unseen_chips(context, arguments);
    bool goes_on = true;
    do {
        const Result found = look_for_differences(context, arguments, chips);
        goes_on = found.text.empty() || context.show(found);
    } while (goes_on && watch.wait_for_interval());
    return finish(context, chips);
}

Result run(Context &context, const Arguments &arguments) {
    return context.can_redraw ? Picture(context, arguments).run() : run_lines(context, arguments);
}

void check(Options &options, const Arguments &) {
    if (options.trace) {
        throw UsageError("monitor does not end, so it shows no trace; let TRACE_KBUF_DIR keep the trace, and look at "
                         "it with ksltrace");
    }
    options.documents_are_lines = true;
}

constexpr char kHelp[] = R"(On a terminal monitor draws each chip as a faceplate of 2 x 12 ports, and below
it lists the ports with the rates of their counters. The keys:
  s  changes the order of the list: busiest first (by the sum of the rates), by
     number, or worst first (not read, failed self-test, link lost in the last
     minute, counters of errors that move)
  p  pauses, and goes on
  q  ends, as Ctrl-C does

The signs of a port:
  100F, 10H  a link of 100 Mb/s full duplex, of 10 half duplex; in a narrow
             window F, H for 100 and f, h for 10
  -          no link           !  failed its self-test
  ?          not read          T  in a trunk group that is on
  C          capture port      m  mirrored
A value that has no room is counted in the line above the keys. "kslctl mib
--help" describes the counters.

Elsewhere it writes the state at the start, then a line for each port or chip
that changed and for each read that fails or works again, with its time. With
--json a line is a document (docs/kslctl-json.md). It ends at Ctrl-C, SIGTERM,
or when nobody reads the output any more.

monitor compares the link status of one look with that of the look before. It
leaves the change marks to "kslctl link", so a link that goes and comes back
between two looks is not seen.

Exit status: 0 if the last look could read everything, 3 if it could not.)";

} // namespace

void add_monitor_commands(Commands &commands) {
    const auto [monitor, arguments] = commands.add<Arguments>({
        .name = "monitor",
        .summary = "Live view of ports: state, changes, traffic",
        .help = kHelp,
        .run = run,
        .check = check,
        .shows_counters = true,
        .raw_schema = kNoRaw,
    });
    add_lists(monitor, "PORT", arguments.ports, kPorts, "Ports, such as 0-3,7; default: all");
    add_parsed(monitor, "--interval", arguments.interval, parse_seconds, "Between two looks, 0.01 to 86400; default: 1")
        ->type_name("SECONDS");
}

} // namespace kslctl
