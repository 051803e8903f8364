// SPDX-License-Identifier: Apache-2.0
#include "support/command_line.h"

#include "support/exit_status.h"

#include <fmt/core.h>
#include <iostream>

namespace tools {

namespace {

bool is_group(const CLI::App &app) {
    return app.get_require_subcommand_min() > 0;
}

// The parser would only say that a command is missing, also where one is misspelt.
std::string sentence_about(const CLI::App &app, const CLI::ParseError &error) {
    const CLI::App *group = &app;
    while (!group->get_subcommands().empty()) {
        group = group->get_subcommands().front();
    }
    if (!is_group(*group) || error.get_name() != "RequiredError") {
        return error.what();
    }
    const std::string words = group == &app ? "" : group->get_name() + " ";
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) {
        return group == &app ? "no command is given" : fmt::format("\"{}\" alone is no command", group->get_name());
    }
    const std::string &first = unknown.front();
    return fmt::format("there is no {} \"{}{}\"", first.starts_with('-') ? "option" : "command",
                       first.starts_with('-') ? "" : words, first);
}

// Programs have commands, of which some are groups with commands of their own. A group of options has no name.
void label_commands(CLI::App &app) {
    for (CLI::App *command : app.get_subcommands([](const CLI::App *each) { return !each->get_name().empty(); })) {
        command->group("Commands");
        label_commands(*command);
    }
}

// What is wrong, and where to read more.
int refuse(const std::string &program, std::string_view sentence) {
    complain(program, sentence);
    std::cerr << fmt::format("Run \"{} --help\" for what is possible.\n", program);
    return kUsage;
}

} // namespace

void set_up(CLI::App &app, const char *help) {
    app.footer(help);
    app.set_version_flag("--version", app.get_name() + " " KSL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
}

std::optional<int> parse_command_line(CLI::App &app, int argc, const char *const *argv, const Suggestions &suggestions,
                                      StandardOutput &out) {
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    label_commands(app);
    if (argc < 2) {
        std::cerr << app.help();
        return kUsage;
    }
    if (argv[1] == std::string_view(kComplete)) {
        out.write(complete(app, {argv + 2, argv + argc}, suggestions));
        return out.failed() ? kFailed : kDone;
    }
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            std::ostringstream text;
            app.exit(error, text, text);
            out.write(text.str());
            return out.failed() ? kFailed : kDone;
        }
        return refuse(app.get_name(), sentence_about(app, error));
    }
}

int run_program(const char *program, int (*run)(int argc, char **argv), int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const UsageError &error) {
        return refuse(program, error.what());
    } catch (const std::exception &error) {
        complain(program, error.what());
        return kFailed;
    }
}

} // namespace tools
