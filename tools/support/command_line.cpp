// SPDX-License-Identifier: Apache-2.0
#include "support/command_line.h"

#include "support/exit_status.h"
#include "support/pager.h"
#include "support/suggestion.h"

#include <fmt/core.h>
#include <iostream>

namespace tools {

namespace {

bool is_group(const CLI::App &app) {
    return app.get_require_subcommand_min() > 0;
}

// The command that the words lead to: the program itself, a group, or a command of either.
const CLI::App &command_of(const CLI::App &app) {
    const std::vector<CLI::App *> next = app.get_subcommands();
    return next.empty() ? app : command_of(*next.front());
}

// Whether a flag of the command, or of those that lead to it, is on the command line.
bool is_given(const char *flag, const CLI::App &command) {
    const CLI::Option *const option = command.get_option_no_throw(flag);
    const CLI::App *const parent = command.get_parent();
    return (option != nullptr && option->count() > 0) || (parent != nullptr && is_given(flag, *parent));
}

// "kslctl port show"
std::string words_of(const CLI::App &command) {
    const CLI::App *const parent = command.get_parent();
    return parent == nullptr ? command.get_name() : words_of(*parent) + " " + command.get_name();
}

// The parser's words for a flag that is given a value are nobody else's.
std::string without_jargon(const std::string &sentence) {
    const size_t jargon = sentence.find(" was given a disallowed flag override");
    return jargon == std::string::npos ? sentence : fmt::format("--{} takes no value", sentence.substr(0, jargon));
}

// The parser would only say that a command is missing, or that something was not expected.
std::string sentence_about(const CLI::App &app, const CLI::ParseError &error) {
    const CLI::App &command = command_of(app);
    const std::vector<std::string> unknown = app.remaining(true);
    const bool no_command = is_group(command) && error.get_name() == "RequiredError";
    if (unknown.empty() || !(no_command || error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError))) {
        return no_command ? "no command is given" : without_jargon(error.what());
    }
    const std::string word = unknown.front().substr(0, unknown.front().find('='));
    if (word.starts_with('-')) {
        return fmt::format("\"{}\" has no option \"{}\"{}", words_of(command), word,
                           suggestion(word, option_names(command)));
    }
    if (no_command) {
        return fmt::format("there is no command \"{}\"{}",
                           (words_of(command) + " " + word).substr(app.get_name().size() + 1),
                           suggestion(word, command_names(command)));
    }
    return fmt::format("\"{}\" takes no further argument such as \"{}\"", words_of(command), word);
}

// Programs have commands, of which some are groups with commands of their own. A group of options has no name.
void label_commands(CLI::App &app) {
    for (CLI::App *command : app.get_subcommands([](const CLI::App *each) { return !each->get_name().empty(); })) {
        command->group("Commands");
        label_commands(*command);
    }
}

// A flag is given or not: nobody means to switch it on with "--dry-run=false".
void refuse_values_of_flags(CLI::App &app) {
    for (CLI::Option *option : app.get_options([](const CLI::Option *each) { return each->get_expected_max() == 0; })) {
        option->disable_flag_override();
    }
    for (CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
        refuse_values_of_flags(*command);
    }
}

// What is wrong, and where to read more.
int refuse(const std::string &program, const std::string &command, std::string_view sentence) {
    complain(program, sentence);
    std::cerr << fmt::format("Run \"{} --help\" for what is possible.\n", command);
    return kUsage;
}

} // namespace

void set_up(CLI::App &app, const char *help) {
    app.footer(help);
    app.set_version_flag("--version", app.get_name() + " " KSL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
}

std::optional<int> parse_command_line(CLI::App &app, int argc, const char *const *argv, Suggestions (*suggestions)(),
                                      StandardOutput &out) {
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    label_commands(app);
    refuse_values_of_flags(app);
    if (argc < 2) {
        std::cerr << app.help();
        return kUsage;
    }
    if (argv[1] == std::string_view(kComplete)) {
        out.write(complete(app, {argv + 2, argv + argc}, suggestions()));
        return out.failed() ? kFailed : kDone;
    }
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            std::ostringstream text;
            app.exit(error, text, text);
            bool could_page = true;
            if (is_given("--no-pager", command_of(app))) {
                out.write(text.str());
            } else {
                could_page = write_long(app.get_name(), text.str(), out);
            }
            return out.failed() || !could_page ? kFailed : kDone;
        }
        const CLI::App &command = command_of(app);
        if (is_group(command) && command.get_parent() != nullptr && app.remaining(true).empty()) {
            std::cerr << app.help();
            return kUsage;
        }
        return refuse(app.get_name(), words_of(command), sentence_about(app, error));
    }
}

int run_program(const char *program, int (*run)(int argc, char **argv), int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const UsageError &error) {
        return refuse(program, error.command.empty() ? program : error.command, error.what());
    } catch (const std::exception &error) {
        complain(program, error.what());
        return kFailed;
    }
}

} // namespace tools
