// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command.h"

#include <CLI/CLI.hpp>
#include <fmt/core.h>

namespace kslctl {

Result of_each_chip(Context &context, const std::function<ChipResult(uint32_t chip)> &look, const std::string &remark) {
    Result result;
    for (const uint32_t chip : context.options.chips) {
        const ChipResult found = look(chip);
        Json json = {{"chip", chip}};
        json.update(found.json);
        result.chips.push_back(json);
        result.text += result.text.empty() ? "" : "\n";
        result.text += context.style.heading(fmt::format("chip {}{}", chip, remark)) + "\n" + found.text;
        result.answer_is_no = result.answer_is_no || found.answer_is_no;
    }
    return result;
}

void check_no_raw(const Options &options) {
    if (options.raw) {
        throw UsageError("--raw is for commands that read a meaning into registers, which this one does not");
    }
}

CLI::App &Commands::Group::add(const char *name, const char *summary, const std::string &help, Run run, Check check) {
    return commands_.add_to(app_, app_.get_name() + "-" + name, name, summary, help, std::move(run), std::move(check));
}

CLI::App &Commands::add(const char *name, const char *summary, const std::string &help, Run run, Check check) {
    return add_to(app_, name, name, summary, help, std::move(run), std::move(check));
}

Commands::Group Commands::add_group(const char *name, const char *summary) {
    CLI::App *const group = app_.add_subcommand(name, summary);
    group->require_subcommand(1);
    group->footer(fmt::format("\"kslctl {} COMMAND --help\" tells more about a command.", name));
    return {*this, *group};
}

CLI::App &Commands::add_to(CLI::App &parent, const std::string &full_name, const char *name, const char *summary,
                           const std::string &help, Run run, Check check) {
    CLI::App *const command = parent.add_subcommand(name, summary);
    command->footer(help);
    command->callback([this, full_name, run = std::move(run), check = std::move(check)] {
        name_ = full_name;
        run_ = run;
        check_ = check;
    });
    return *command;
}

void Commands::check(Options &options) const {
    if (check_) {
        check_(options);
    }
}

} // namespace kslctl
