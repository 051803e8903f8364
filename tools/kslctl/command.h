// SPDX-License-Identifier: Apache-2.0
// What a command is, and which there are.
#pragma once

#include "kslctl/library.h"
#include "kslctl/options.h"
#include "kslctl/report.h"
#include "kslctl/table.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace kslctl {

// What a command has to work with.
struct Context {
    const Options &options;
    const Library &library;
    const Style &style;
    Report &report;
};

// What a command found out, in both forms.
struct Result {
    Json chips = Json::array();
    std::string text;
};

using Run = std::function<Result(Context &)>;

// The commands of the command line; the one that the user names becomes the chosen one.
class Commands {
public:
    explicit Commands(CLI::App &app) : app_(app) {}

    void add(const char *name, const char *summary, const std::string &help, Run run) {
        CLI::App *const command = app_.add_subcommand(name, summary);
        command->footer(help);
        command->callback([this, name, run = std::move(run)] {
            name_ = name;
            run_ = run;
        });
    }

    const std::string &name() const { return name_; }
    Result run(Context &context) const { return run_(context); }

private:
    CLI::App &app_;
    std::string name_;
    Run run_;
};

// One for each family of operations.
void add_status_commands(Commands &commands);

} // namespace kslctl
