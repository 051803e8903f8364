// SPDX-License-Identifier: Apache-2.0
#include "kslctl/commands/command.h"

#include "kslctl/hub/failures.h"
#include "kslctl/views/changes.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/core.h>
#include <json/problem.h>
#include <utility>

namespace kslctl {

void Report::say() {
    for (const Saying &saying : std::exchange(sayings_, {})) {
        tools::complain(saying.speaker, saying.sentence);
    }
}

void Report::fail(const hub::Failures &failures) {
    for (const hub::Failures &group : hub::by_cause(failures)) {
        const bool is_told = std::any_of(told_.begin(), told_.end(), [&](const hub::Failure &told) {
            return hub::have_same_cause(told, group.front());
        });
        if (!is_told) {
            sayings_.push_back({"kslctl", views::sentence(group, simulated_)});
            told_.push_back(group.front());
        }
    }
    for (const hub::Failure &failure : failures) {
        mention(failure);
        has_failures_ = true;
    }
}

void Report::fail(const std::string &sentence) {
    const views::Shown failure = views::failure(sentence);
    sayings_.push_back({"kslctl", failure.text});
    errors_.push_back(failure.json);
    has_failures_ = true;
}

Json Report::take_errors() {
    told_.clear();
    return std::exchange(errors_, Json::array());
}

void Context::report_failures() {
    report.fail(std::exchange(failures, {}));
}

Result of_each_chip(Context &context, const std::function<views::Shown(uint32_t chip)> &look) {
    const char *const remark = context.options.dry_run ? ": what would be written (nothing was)" : "";
    Result result;
    for (const uint32_t chip : context.options.chips) {
        const views::Shown found = look(chip);
        context.report_failures();
        Json json = {{"chip", chip}};
        json.update(found.json);
        result.chips.push_back(json);
        result.text += result.text.empty() ? "" : "\n";
        result.text += context.style.heading(fmt::format("chip {}{}", chip, remark)) + "\n" + found.text;
        result.answer_is_no = result.answer_is_no || found.answer_is_no;
    }
    return result;
}

std::string command_line_of(const Options &options, uint32_t chip) {
    return "kslctl" + options_for(options.simulate, chip, options.variables);
}

views::Shown change(Context &context, uint32_t chip, const hub::Change &change, const NumberSet &ports) {
    return views::changes(hub::change_ports(chip, ports, change, context.options.dry_run, context.failures),
                          context.options.raw, context.style);
}

void check_dry_run(const Options &options, bool has_value, const char *value) {
    if (options.dry_run && !has_value) {
        throw UsageError(fmt::format("--dry-run is for a change, and no {} is given", value));
    }
}

namespace {

// Those of the option, or else of the environment.
void read_counter_names(Options &options) {
    constexpr char kVariable[] = "KSL_COUNTER_NAMES";
    const char *const of_environment = getenv(kVariable);
    const bool has_option = !options.counter_names_file.empty();
    const std::string file = has_option ? options.counter_names_file : of_environment != nullptr ? of_environment : "";
    if (file.empty()) {
        return;
    }
    try {
        options.counter_names = hub::load_counter_names(file);
    } catch (const json::Unusable &problem) {
        throw UsageError(fmt::format("{}: {}", has_option ? "--counter-names" : kVariable, problem.what()));
    }
}

} // namespace

void Commands::add_group(const char *name, const char *summary) {
    CLI::App *const group = app_.add_subcommand(name, summary);
    group->require_subcommand(1);
    group->footer(fmt::format("\"kslctl {} COMMAND --help\" describes a command.", name));
}

CLI::App &Commands::add_to_parser(const Chosen &command, const char *summary, const std::string &help) {
    const size_t blank = command.name.find(' ');
    const bool is_of_group = blank != std::string::npos;
    CLI::App &parent = is_of_group ? *app_.get_subcommand(command.name.substr(0, blank)) : app_;
    CLI::App *const app = parent.add_subcommand(command.name.substr(is_of_group ? blank + 1 : 0), summary);
    app->footer(help);
    app->callback([this, command] { chosen_ = command; });
    return *app;
}

std::string Commands::schema() const {
    std::string name = chosen_.name;
    std::replace(name.begin(), name.end(), ' ', '-');
    return options_.raw ? fmt::format("ksl.{}.raw/{}", name, chosen_.raw_schema) : fmt::format("ksl.{}/1", name);
}

void Commands::check() const {
    if (options_.raw && chosen_.raw_schema == kNoRaw) {
        throw UsageError("--raw is for commands that read a meaning into registers, which this one does not");
    }
    try {
        if (chosen_.shows_counters) {
            read_counter_names(options_);
        }
        chosen_.check(options_);
    } catch (UsageError &error) {
        error.command = "kslctl " + chosen_.name;
        throw;
    }
}

Result Commands::run(Context &context) const {
    Result result = chosen_.run(context);
    context.report_failures();
    return result;
}

} // namespace kslctl
