// SPDX-License-Identifier: Apache-2.0
#include "support/command_line.h"

#include "support/exit_status.h"

#include <fmt/format.h>
#include <iostream>

namespace tools {

namespace {

// The parser would only say that a command is missing, also where one is misspelt.
std::string sentence_about(const CLI::App &app, const CLI::ParseError &error) {
    if (!app.get_subcommands().empty() || error.get_name() != "RequiredError") {
        return error.what();
    }
    const std::vector<std::string> unknown = app.remaining();
    if (unknown.empty()) {
        return "no command is given";
    }
    const std::string &first = unknown.front();
    return fmt::format("there is no {} \"{}\"", first.starts_with('-') ? "option" : "command", first);
}

} // namespace

std::optional<int> parse_command_line(CLI::App &app, int argc, const char *const *argv, StandardOutput &out) {
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    for (CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
        command->group("Commands");
    }
    if (argc < 2) {
        std::cerr << app.help();
        return kUsage;
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
        complain(app.get_name(), sentence_about(app, error));
        std::cerr << fmt::format("Run \"{} --help\" for what is possible.\n", app.get_name());
        return kUsage;
    }
}

} // namespace tools
