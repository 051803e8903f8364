// SPDX-License-Identifier: Apache-2.0
// kslctl: the switch library's operations from the shell.
#include "kslctl/command_line/numbers.h"
#include "kslctl/commands/command.h"
#include "kslctl/hub/chips.h"
#include "kslctl/hub/own_trace.h"
#include "ksltrace/render_json.h"
#include "ksltrace/render_text.h"
#include "support/command_line.h"
#include "support/exit_status.h"
#include "support/pager.h"
#include "support/terminal.h"

#include <CLI/CLI.hpp>
#include <fmt/core.h>
#include <ksl/ksl.h>

namespace kslctl {

namespace {

constexpr char kDescription[] = "Inspects and configures the 24-port Ethernet switch chips of a hub board.";

constexpr char kHelp[] =
    R"("kslctl COMMAND --help" describes a command and how it reads the bits of
registers. The options above may come before or after the command.

The hub:
  libksl.so talks to the hub through libhwa.so or libqrthwa.gen1.so, whichever
  the loader finds first (LD_LIBRARY_PATH, then the system's library folders).
  --simulate instead uses the simulated hub that was built or installed with
  kslctl; "status" then says so.

Examples:
  kslctl --simulate status             the state of chip 0 of the simulated hub
  kslctl chips                         which chips there are
  kslctl --chip 0,1 link               the links of two chips
  kslctl --chip all status             the state of all chips that answer
  kslctl --json speed | jq '.chips[0].ports[] | select(.speed == 10).port'
  kslctl port down 4-7 --dry-run       the writes that switch four ports off
  kslctl hub expectation >before.json  save the VLAN settings, compare later:
  kslctl validate pvid --expect before.json
  kslctl mib --nonzero --watch 5       rates of the counters, every five seconds
  kslctl monitor                       the ports and their traffic, live
  kslctl arl search --mac '*:1a'       addresses with this end, and their VLANs
  kslctl --simulate --trace bist       what the library did, step by step
  HWA_SIM_FAULTS='getreg page=1 offset=0x18 code=17' kslctl --simulate status

Environment (hwa-sim(7) describes the simulated hub):
  HWA_SIM_DIR        folder in which the simulated hub keeps its state
  HWA_SIM_SCENARIO   JSON file with the state that it starts from
  HWA_SIM_FAULTS     accesses to it that fail
  HWA_SIM_CLOCK      time that passes with each access to it
  HWA_SIM_LOG        file to which it writes each access
  KSL_CHIP           chips that are meant without --chip: a list, or all
  KSL_SIMULATE       1: --simulate is meant without saying it; 0: it is not
  TRACE_KBUF_DIR     folder of traces; kslctl keeps its own in kslctl/ below it
  KSL_COUNTER_NAMES  file that names counters, ksl-counter-names(5)
  NO_COLOR           if set and not empty: no emphasis, even on a terminal
  PAGER              shows what is longer than the terminal, instead of less

Exit status:
  0  done
  1  done, and the answer is no: "validate" and "trunk check" answer a question,
     and "reset", "hub-config" and "mac-filter" ask you one; or "diagnose" found
     something
  2  the command line is wrong
  3  something could not be done; stderr names it and the code, and the rest is
     shown)";

void add_options(CLI::App &app, Options &options, HubOptions &hub) {
    add_parsed<std::vector<std::string>>(app, "-c,--chip", hub.chips, parse_chips,
                                         "Chips, 0 to 255: a list (0,2-3) or all; default: 0")
        ->type_name("N")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_flag("--json", options.json, "One JSON document (docs/kslctl-json.md)");
    app.add_flag("--raw", options.raw, "Registers as bytes, most significant first");
    app.add_flag("--trace", options.trace, "Show the library's trace after the result");
    app.add_flag("--no-pager", options.no_pager, "Never through a pager, also on a terminal");
    app.add_flag("--simulate", hub.simulate, "Use the simulated hub instead of the real one");
    app.add_flag("--no-simulate", hub.no_simulate, "Use the real one, whatever KSL_SIMULATE says");
}

tools::Suggestions suggestions() {
    const std::vector<std::string> ports = tools::numbers_to(KSL_PORTS - 1);
    return {{"--chip", {"all"}},
            {"PORT", ports},
            {"A", ports},
            {"B", ports},
            {"CAPTURE", ports},
            {"--port", ports},
            {"SPEED", {"10", "100"}},
            {"PRIORITY", tools::numbers_to(7)},
            {"WAY", {"list", "walk", "search"}},
            {"GROUP", tools::numbers_to(1)},
            {"CONFIGURATION", tools::numbers_to(2)},
            {"--config", {tools::kFiles}},
            {"--expect", {tools::kFiles}},
            {"--counter-names", {tools::kFiles}},
            {"--sort", {"total"}}};
}

Json hub_json(const hub::Library &library) {
    const auto text_or_null = [](const std::optional<std::string> &text) { return text ? Json(*text) : Json(nullptr); };
    return {{"library", text_or_null(library.lower_library())},
            {"simulated", library.simulation().has_value()},
            {"description", text_or_null(library.simulation())}};
}

void add_trace(const hub::OwnTrace &own, Result &result, Report &report) {
    if (own.snapshot->status == TRACE_KBUF_UNREADABLE) {
        report.fail(fmt::format("--trace: {}; the libtrace_kbuf.so that comes with kslctl can", own.snapshot->problem));
    } else if (own.snapshot->status != TRACE_KBUF_WHOLE) {
        report.fail(fmt::format("--trace: {}", own.snapshot->problem));
    }
    const std::string text = ksltrace::render_text(own.trace);
    result.text += (result.text.empty() || text.empty() ? "" : "\n") + text;
    result.trace = ksltrace::render_json(own.trace);
}

// Keeps the chips that answer. False if there is none.
bool keep_answering_chips(Options &options, Report &report, bool simulated) {
    const hub::ChipSearch search = hub::search_chips(options.chips);
    options.chips = search.found;
    if (search.found.empty()) {
        report.fail(fmt::format("no chip answers: {}", views::failure(search.silent.front(), simulated).text));
    }
    return !search.found.empty();
}

// Runs the command and shows its result.
int execute(const Commands &commands, Options &options, tools::StandardOutput &out) {
    if (!options.finds_chips) {
        commands.check();
    }
    const uint64_t start = hub::now_ns();
    const hub::Library library(options.simulate);
    Report report(library.simulation().has_value());
    bool has_chips = true;
    if (options.finds_chips && !library.problem()) {
        has_chips = keep_answering_chips(options, report, library.simulation().has_value());
        if (has_chips) {
            commands.check();
        }
    }
    if (options.trace) {
        ksl_enable_time();
    }

    const auto text_of = [&](const Result &result) {
        Json document = {{"schema", commands.schema()}, {"hub", hub_json(library)}, {"chips", result.chips}};
        for (const auto &[name, value] : options.environment) {
            document["environment"][name] = value;
        }
        if (options.trace) {
            document["trace"] = result.trace;
        }
        document["errors"] = report.take_errors();
        const int indent = options.documents_are_lines ? -1 : 2;
        return options.json ? document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n" : result.text;
    };
    const std::function<bool(const Result &)> show = [&](const Result &result) {
        out.write(text_of(result));
        report.say();
        return !out.is_over();
    };

    Result result;
    if (library.problem()) {
        report.fail(views::sentence(*library.problem()));
    } else if (has_chips) {
        const views::Style style(out.wants_emphasis(),
                                 out.is_terminal() ? std::optional(tools::Terminal::size()) : std::nullopt);
        Context context{options, library, style, report, !options.json && out.can_redraw(), show};
        result = commands.run(context);
    }
    if (options.trace && library.is_open()) {
        add_trace(hub::take_own_trace(start), result, report);
    }
    bool could_page = true;
    if (!result.is_shown && options.no_pager) {
        out.write(text_of(result));
    } else if (!result.is_shown) {
        could_page = tools::write_long("kslctl", text_of(result), out);
    }
    if (!could_page || report.has_failures() || out.failed()) {
        return tools::kFailed;
    }
    return result.answer_is_no ? tools::kAnswerIsNo : tools::kDone;
}

// Settles which hub and which chips are meant.
void choose_hub(const Commands &commands, const HubOptions &given, Options &options) {
    options.variables = read_hub_variables();
    try {
        const HubChoice choice = kslctl::choose_hub(given, options.variables);
        const bool are_named = given.chips && !given.chips->all;
        const bool are_all = choice.chips.all || (commands.wants_answering_chips() && !are_named);
        options.chips = are_all ? hub::all_chip_numbers() : choice.chips.numbers;
        options.finds_chips = are_all || commands.wants_answering_chips();
        options.simulate = choice.simulate;
        options.environment = choice.variables;
    } catch (const ArgumentError &error) {
        throw UsageError(error.what());
    }
}

int run(int argc, char **argv) {
    tools::StandardOutput out("kslctl");
    CLI::App app(kDescription, "kslctl");
    tools::set_up(app, kHelp);

    Options options;
    HubOptions hub_options;
    add_options(app, options, hub_options);
    Commands commands(app, options);
    add_status_commands(commands);
    add_chips_command(commands);
    add_port_commands(commands);
    add_port_info_command(commands);
    add_diagnose_command(commands);
    add_vlan_commands(commands);
    add_validate_commands(commands);
    add_mib_commands(commands);
    add_monitor_commands(commands);
    add_arl_commands(commands);
    add_forwarding_commands(commands);
    add_hub_commands(commands);
    add_chip_commands(commands);
    add_reg_commands(commands);

    if (const std::optional<int> status = tools::parse_command_line(app, argc, argv, suggestions, out)) {
        return *status;
    }
    choose_hub(commands, hub_options, options);
    try {
        return execute(commands, options, out);
    } catch (const Declined &answer) {
        tools::complain("kslctl", answer.what());
        return tools::kAnswerIsNo;
    }
}

} // namespace

} // namespace kslctl

int main(int argc, char **argv) {
    return tools::run_program("kslctl", kslctl::run, argc, argv);
}
