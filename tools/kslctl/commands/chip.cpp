// SPDX-License-Identifier: Apache-2.0
// firmware, reset, hub-config, mac-filter: the hub's controller, and chips as a whole.
#include "kslctl/commands/command.h"
#include "kslctl/views/status.h"

#include <fmt/ranges.h>
#include <iostream>
#include <unistd.h>

namespace kslctl {

namespace {

// ---- firmware ----

views::Shown firmware(Context &context, uint32_t chip, const NoArguments &) {
    return views::firmware(hub::read_firmware_version(chip, context.failures), context.style);
}

constexpr char kFirmwareHelp[] =
    R"(Shows the first 9 bytes of the answer of the hub's controller. What they mean
depends on the firmware.)";

// ---- reset, hub-config, mac-filter ----

// What nobody can take back or read back; the user is asked first. The texts have {0} for the number and {1} for the
// chips.
struct ActionRow {
    const char *name;
    const char *summary;
    const char *help;
    const char *question; // completes "Really ...?"
    const char *done;
    const char *planned; // the same in a dry run
    hub::Action (*action)(uint32_t number);
    // The argument; null for a command without one.
    const char *argument = nullptr;
    const char *key = nullptr;
    NumberKind kind{};
    const char *argument_summary = nullptr;
};

constexpr ActionRow kActions[] = {
    {.name = "reset",
     .summary = "Reset a switch chip",
     .help =
         R"(Resets a switch chip. Its ports have no link for a while, and its settings are
those that it starts with.)",
     .question = "reset {1}",
     .done = "reset",
     .planned = "would be reset",
     .action = [](uint32_t) { return hub::reset_switch(); }},
    {.name = "hub-config",
     .summary = "Select a switch configuration of the hub",
     .help = R"(Selects one of the hub's three switch configurations. The hub defines what each
of them means.)",
     .question = "give {1} the configuration {0}",
     .done = "configuration {0} selected",
     .planned = "configuration {0} would be selected",
     .action = hub::select_configuration,
     .argument = "CONFIGURATION",
     .key = "configuration",
     .kind = {"configuration", 0, 2},
     .argument_summary = "0, 1 or 2"},
    {.name = "mac-filter",
     .summary = "Record a MAC filter in the library; sends nothing",
     .help =
         R"(Calls ksl_set_MAC_filter(). The library records the call and the filter in its
trace (--trace shows them), sends nothing to the chip and reports success. No
register changes, and nothing can read the filter back.)",
     .question = "pass the MAC filter 0x{0:08x} for {1} to the library",
     .done = "MAC filter 0x{0:08x} recorded by the library; nothing sent to the chip",
     .planned = "MAC filter 0x{0:08x} would be recorded by the library; nothing would be sent to the chip",
     .action = hub::pass_mac_filter,
     .argument = "FILTER",
     .key = "filter",
     .kind = {"MAC filter", 0, 0xFFFFFFFF},
     .argument_summary = "32 bits, such as 9 or 0x80000001"},
};

struct ActionArguments {
    const ActionRow *row;
    uint32_t number = 0;
    bool yes = false;
};

views::Shown act(Context &context, uint32_t chip, const ActionArguments &arguments) {
    const ActionRow &row = *arguments.row;
    const bool dry_run = context.options.dry_run;
    const hub::Action action = row.action(arguments.number);
    const bool succeeded =
        dry_run ? hub::can_perform(action, chip, context.failures) : hub::perform(action, chip, context.failures);
    Json json = {{"dry_run", dry_run}, {"done", succeeded && !dry_run}};
    if (row.key != nullptr) {
        json[row.key] = arguments.number;
    }
    const char *const text = dry_run ? row.planned : row.done;
    return {json, succeeded ? fmt::format(fmt::runtime(text), arguments.number) + "\n" : ""};
}

// Returns if the user agrees: by --yes, or by an answer on a terminal. `action` completes "Really ...?".
void confirm(const std::string &action, bool yes) {
    if (yes) {
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw UsageError(fmt::format("say --yes to {}; there is no terminal to ask on", action));
    }
    std::cerr << fmt::format("Really {}? [y/N] ", action) << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes") {
        throw Declined("nothing was done");
    }
}

void check_action(Options &options, const ActionArguments &arguments) {
    if (options.dry_run) {
        return;
    }
    const std::string chips =
        fmt::format("{} {}", options.chips.size() == 1 ? "chip" : "chips", fmt::join(options.chips, ", "));
    confirm(fmt::format(fmt::runtime(arguments.row->question), arguments.number, chips), arguments.yes);
}

constexpr char kConfirmation[] = R"(

On a terminal, kslctl asks first. Elsewhere it requires --yes, which also
suppresses the question. After any answer but "y" or "yes" nothing is done, and
the exit status is 1.

With --dry-run, kslctl asks nothing and does nothing. It reads the switch mode,
to find out whether the chip is there; the MAC filter does not need a chip.)";

void add_action(Commands &commands, const ActionRow &row) {
    const auto [app, arguments] = commands.add<ActionArguments>(
        {
            .name = row.name,
            .summary = row.summary,
            .help = std::string(row.help) + kConfirmation,
            .look = act,
            .check = check_action,
            .is_action = true,
            .raw_schema = kNoRaw,
        },
        {&row});
    if (row.argument != nullptr) {
        add_number(app, row.argument, arguments.number, row.kind, row.argument_summary)->required();
    }
    app.add_flag("--yes", arguments.yes, "Do not ask");
}

} // namespace

void add_chip_commands(Commands &commands) {
    commands.add({
        .name = "firmware",
        .summary = "Firmware version of the hub's controller",
        .help = kFirmwareHelp,
        .look = firmware,
        .raw_schema = kNoRaw,
    });
    for (const ActionRow &row : kActions) {
        add_action(commands, row);
    }
}

} // namespace kslctl
