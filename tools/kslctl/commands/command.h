// SPDX-License-Identifier: Apache-2.0
// What a command is, and which there are.
#pragma once

#include "kslctl/command_line/arguments.h"
#include "kslctl/command_line/defaults.h"
#include "kslctl/hub/changes.h"
#include "kslctl/hub/counter_names.h"
#include "kslctl/views/failure.h"
#include "kslctl/views/raw.h"
#include "support/command_line.h"

#include <any>
#include <deque>
#include <functional>

namespace kslctl {

using tools::UsageError; // options do not go together

// The user was asked, and said no.
struct Declined : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The options of all commands.
struct Options {
    std::vector<uint32_t> chips{0};
    bool finds_chips = false;                                       // only those of them that answer
    HubVariables variables{};                                       // that a proposed command line has to expect
    std::vector<std::pair<std::string, std::string>> environment{}; // those of them that count
    bool json = false;
    bool documents_are_lines = false; // of a command that writes several
    bool raw = false;
    bool trace = false;
    bool no_pager = false;
    bool simulate = false;
    bool dry_run = false; // only for commands that change something
    // Only for commands that show counters.
    std::string counter_names_file{};
    hub::CounterNames counter_names{};
};

// What a command found out, in both forms.
struct Result {
    Json chips = Json::array();
    std::string text;
    Json trace = Json::array(); // with --trace what the library did
    bool answer_is_no = false;  // of a command that asks a question
    bool is_shown = false;      // the command has already shown everything
};

// What went wrong: said on stderr after the result, where it does not scroll away, and kept for the JSON document and
// the exit status.
class Report {
public:
    // The codes of a simulated hub can be explained.
    explicit Report(bool simulated) : simulated_(simulated) {}
    ~Report() { say(); }
    Report(const Report &) = delete;
    Report &operator=(const Report &) = delete;

    // One line for each cause. Later failures that have it, too, are only for the document.
    void fail(const hub::Failures &failures);
    // A failure of anything else, as one sentence.
    void fail(const std::string &sentence);

    // A failure that may end yet: only for the next document.
    void mention(const hub::Failure &failure) { errors_.push_back(views::failure(failure, simulated_).json); }

    // What the user should know although nothing went wrong.
    void note(const std::string &sentence) { sayings_.push_back({"kslctl note", sentence}); }

    // Says on stderr what has come together.
    void say();

    // The user asked for something, and may not want what comes of it.
    void warn(const std::string &sentence) { sayings_.push_back({"kslctl warning", sentence}); }

    bool has_failures() const { return has_failures_; }
    const Json &errors() const { return errors_; }
    // The same, once. A cause is told again for the next document.
    Json take_errors();

private:
    struct Saying {
        const char *speaker;
        std::string sentence;
    };

    bool simulated_;
    std::vector<Saying> sayings_;
    hub::Failures told_; // one of each cause
    bool has_failures_ = false;
    Json errors_ = Json::array();
};

// What a command has to work with.
struct Context {
    const Options &options;
    const hub::Library &library;
    const views::Style &style;
    Report &report;
    bool can_redraw; // the text goes to a terminal whose cursor can be moved
    // For a command that shows one result after the other. False when nobody wants another.
    const std::function<bool(const Result &)> &show;
    // What hub/ could not read or do. After each chip it goes into the report.
    hub::Failures failures{};

    void report_failures();
};

// Each chip of the command line in turn, a paragraph for each. `look` gives the chip's view, without its number and
// heading.
Result of_each_chip(Context &context, const std::function<views::Shown(uint32_t chip)> &look);

// How a proposed command for that chip begins: "kslctl --simulate --chip 1".
std::string command_line_of(const Options &options, uint32_t chip);

// Facts as their view has them, or with --raw the registers that they come from.
template <typename Facts, typename View>
views::Shown view_or_raw(const Context &context, const Facts &facts, const View &view) {
    return context.options.raw ? views::raw(facts.registers, context.style) : view(facts, context.style);
}

// Makes a change and shows it. Without ports it is one of the whole chip.
views::Shown change(Context &context, uint32_t chip, const hub::Change &change, const NumberSet &ports = {0});

// For a command that shows a register, or changes it if a new value is given.
void check_dry_run(const Options &options, bool has_value, const char *value);

// The end of the help of every command that changes registers.
inline constexpr char kChangeHelp[] = R"(

A change shows what the registers held before and hold afterwards. A port, or
chip, with a register that cannot be read first is left as it is.)";

// The same of every command that shows counters.
inline constexpr char kCounterNamesHelp[] = R"(

A file of counter names, ksl-counter-names(5), gives counters other names than
their offsets: --counter-names, or else the environment's KSL_COUNTER_NAMES.)";

// For commands to which --raw means nothing.
inline constexpr int kNoRaw = 0;

struct NoArguments {};

// `Arguments` is filled from the command line.
template <typename Arguments>
struct Command {
    const char *name; // "status"; "port show" of the group "port"
    const char *summary;
    std::string help;
    // Either gives the view of one chip after the other, or the result of all chips.
    views::Shown (*look)(Context &context, uint32_t chip, const Arguments &arguments) = nullptr;
    Result (*run)(Context &context, const Arguments &arguments) = nullptr;
    // Looks at the whole command line before the hub is touched, and may settle options. Throws UsageError,
    // or Declined.
    void (*check)(Options &options, const Arguments &arguments) = nullptr;
    bool changes_registers = false; // and takes --dry-run
    bool is_action = false;         // does what no register shows, and takes --dry-run
    bool shows_counters = false;    // and takes --counter-names
    // Takes the chips that answer: of the whole hub, or of those that the command line names.
    bool wants_answering_chips = false;
    int raw_schema = 1; // the number of the document with --raw, or kNoRaw
};

// What add() is to give the command's arguments to, as options and positionals.
template <typename Arguments>
struct Added {
    CLI::App &app;
    Arguments &arguments;
};

// The commands of the command line; the one that the user names becomes the chosen one.
class Commands {
public:
    Commands(CLI::App &app, Options &options) : app_(app), options_(options) {}

    // Commands whose first word is the same. The group is added before its commands.
    void add_group(const char *name, const char *summary);

    template <typename Arguments = NoArguments>
    Added<Arguments> add(const Command<Arguments> &command, const Arguments &defaults = {}) {
        auto &arguments = std::any_cast<Arguments &>(arguments_.emplace_back(defaults));
        const auto run = [command, &arguments](Context &context) {
            return command.run != nullptr
                       ? command.run(context, arguments)
                       : of_each_chip(context, [&](uint32_t chip) { return command.look(context, chip, arguments); });
        };
        const auto check = [command, &arguments](Options &options) {
            if (command.check != nullptr) {
                command.check(options, arguments);
            }
        };
        CLI::App &app = add_to_parser(
            {command.name, command.raw_schema, command.shows_counters, command.wants_answering_chips, run, check},
            command.summary,
            command.help + (command.changes_registers ? kChangeHelp : "") +
                (command.shows_counters ? kCounterNamesHelp : ""));
        if (command.changes_registers) {
            app.add_flag("--dry-run", options_.dry_run, "Show the register writes, and make none");
        }
        if (command.is_action) {
            app.add_flag("--dry-run", options_.dry_run, "Say what would be done, and do nothing");
        }
        if (command.shows_counters) {
            app.add_option("--counter-names", options_.counter_names_file, "File that names counters")
                ->type_name("NAMES");
        }
        return {app, arguments};
    }

    // "ksl.status/1", "ksl.port-show.raw/2"
    std::string schema() const;
    bool wants_answering_chips() const { return chosen_.wants_answering_chips; }
    void check() const;
    Result run(Context &context) const;

private:
    struct Chosen {
        std::string name;
        int raw_schema;
        bool shows_counters;
        bool wants_answering_chips;
        std::function<Result(Context &)> run;
        std::function<void(Options &)> check;
    };

    CLI::App &add_to_parser(const Chosen &command, const char *summary, const std::string &help);

    CLI::App &app_;
    Options &options_;
    std::deque<std::any> arguments_;
    Chosen chosen_{};
};

// One for each family of operations.
void add_status_commands(Commands &commands);
void add_port_commands(Commands &commands);
void add_port_info_command(Commands &commands);
void add_diagnose_command(Commands &commands);
void add_vlan_commands(Commands &commands);
void add_validate_commands(Commands &commands);
void add_mib_commands(Commands &commands);
void add_monitor_commands(Commands &commands);
void add_arl_commands(Commands &commands);
void add_forwarding_commands(Commands &commands);
void add_hub_commands(Commands &commands);
void add_chip_commands(Commands &commands);
void add_chips_command(Commands &commands);
void add_reg_commands(Commands &commands);

} // namespace kslctl
