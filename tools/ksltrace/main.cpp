// SPDX-License-Identifier: Apache-2.0
// ksltrace: shows what the library recorded.
#include "ksltrace/catalogue_file.h"
#include "ksltrace/commands.h"
#include "ksltrace/fold.h"
#include "ksltrace/help.h"
#include "support/command_line.h"
#include "support/exit_status.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <fmt/core.h>

namespace ksltrace {

namespace {

constexpr size_t kFollowedAtFirst = 10;

struct Options {
    Request request;
    std::vector<std::string> catalogues;
    std::string since;
    std::optional<std::string> list_folder;
    ShowOptions show;
    bool relative = false;
    bool delta = false;
    bool stats_json = false;
    bool export_json = false;
    bool export_perfetto = false;
    std::string export_folder;
};

// The parser writes each description as one long line.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_help(const CLI::App *app, std::string name, CLI::AppFormatMode mode) const override {
        constexpr size_t kWidth = 80;
        return fold(CLI::Formatter::make_help(app, std::move(name), mode), kWidth, get_column_width());
    }
};

void add_source(CLI::App &command, Options &options) {
    command.add_option("TRACE", options.request.source,
                       "A file, a folder, the name of a buffer in TRACE_KBUF_DIR, or - for the standard input. "
                       "Default: the folder TRACE_KBUF_DIR");
}

void add_times(CLI::App &command, Options &options) {
    command.add_flag("--relative", options.relative, "Times are seconds since the first line");
    command.add_flag("--delta", options.delta, "Times are seconds since the line before");
}

void add_selection(CLI::App &command, Options &options) {
    Selection &selection = options.request.selection;
    command.add_option("--operation", selection.operations, "Only operations of that name; * and ? match letters")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command.add_flag("--failed", selection.failed, "Only what failed or has no exit");
    command.add_option("--chip", selection.chips, "Only operations on that chip; several as a list (0,1)")
        ->type_name("N")
        ->allow_extra_args(false)
        ->delimiter(',')
        ->check(CLI::Range(0U, UINT32_MAX).description(""));
    command
        .add_option("--since", options.since,
                    "Only what began then (2024-05-06T07:08:09Z) or that long ago (90s, 10m, 2h, 3d)")
        ->type_name("TIME");
    command.add_option("--last", selection.last, "Only the last N of these operations, and what came after")
        ->type_name("N")
        ->check(CLI::Range(1U, UINT32_MAX).description(""));
}

struct Commands {
    CLI::App *list;
    CLI::App *show;
    CLI::App *follow;
    CLI::App *stats;
    CLI::App *export_trace;
    CLI::App *catalogue;
};

Commands add_commands(CLI::App &app, Options &options) {
    const auto add = [&](const char *name, const char *description, const char *help) {
        CLI::App *const command = app.add_subcommand(name, description);
        command->footer(help);
        return command;
    };
    const Commands commands{
        add("list", "The trace buffers of a folder", kListHelp),
        add("show", "A trace as text", kShowHelp),
        add("follow", "The same while it is being written", kFollowHelp),
        add("stats", "How often operations ran and failed, and how long they took", kStatsHelp),
        add("export", "A trace for other programs", kExportHelp),
        add("catalogue", "The trace points that are known, as a file for --catalogue", kCatalogueHelp)};
    commands.list->add_option("FOLDER", options.list_folder, "Default: TRACE_KBUF_DIR");
    for (CLI::App *const command : {commands.show, commands.follow, commands.stats, commands.export_trace}) {
        add_source(*command, options);
        add_selection(*command, options);
    }
    for (CLI::App *const command : {commands.show, commands.follow}) {
        command->add_flag("--verbose", options.show.verbose, "Each record, with the source line that wrote it");
        add_times(*command, options);
    }
    commands.show->add_flag("--no-pager", options.show.no_pager, "Never through a pager, also on a terminal");
    commands.stats->add_flag("--json", options.stats_json, "One JSON document (docs/ksltrace.md)");
    CLI::Option_group *const format = commands.export_trace->add_option_group("Format", "One of these:");
    format->add_flag("--json", options.export_json, "A JSON object a line for each record (docs/ksltrace.md)");
    format->add_flag("--perfetto", options.export_perfetto, "Trace-event JSON, for viewers that draw time lines");
    format->add_option("--ctf", options.export_folder, "A Common Trace Format folder, which is made")
        ->type_name("FOLDER");
    format->require_option(1);
    return commands;
}

tools::Suggestions suggestions() {
    std::vector<std::string> operations;
    for (const Point *point : library_catalogue().sorted()) {
        if (point->kind == Kind::entry) {
            operations.emplace_back(point->text);
        }
    }
    std::vector<std::string> traces = buffer_names();
    traces.insert(traces.begin(), tools::kFiles);
    return {{"TRACE", traces},
            {"FOLDER", {tools::kFiles}},
            {"--catalogue", {tools::kFiles}},
            {"--ctf", {tools::kFiles}},
            {"--operation", operations}};
}

void complete(Options &options) {
    for (const std::string &file : options.catalogues) {
        add_catalogue_file(file, options.request.catalogue);
    }
    // What a file says of an identifier goes before what this library's own tables say.
    options.request.catalogue.add(library_rows());

    Selection &selection = options.request.selection;
    for (const std::string &pattern : selection.operations) {
        if (!knows_operation(options.request.catalogue, pattern)) {
            throw tools::UsageError(fmt::format("no operation \"{}\" is in the catalogue", pattern));
        }
    }
    if (options.relative && options.delta) {
        throw tools::UsageError("--relative and --delta exclude each other");
    }
    options.show.times = options.relative ? TimeStyle::relative : options.delta ? TimeStyle::delta : TimeStyle::of_day;
    if (!options.since.empty()) {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        selection.since_ns = parse_since(
            options.since, static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count()));
        if (!selection.since_ns) {
            throw tools::UsageError(fmt::format(
                "--since \"{}\" is no time such as 2024-05-06T07:08:09Z, and no age such as 90s, 10m, 2h or 3d",
                options.since));
        }
    }
}

std::string folder_to_list(const Options &options) {
    std::string folder = options.list_folder.value_or(trace_folder());
    if (folder.empty()) {
        throw tools::UsageError("name the folder, or set TRACE_KBUF_DIR to it");
    }
    return folder;
}

int execute(const Commands &commands, Options &options, tools::StandardOutput &out) {
    complete(options);
    if (commands.list->parsed()) {
        return list(folder_to_list(options), out);
    }
    if (!commands.catalogue->parsed() && options.request.source.empty() && trace_folder().empty()) {
        throw tools::UsageError("name a file, a folder or a buffer, or set TRACE_KBUF_DIR to a folder");
    }
    if (commands.show->parsed()) {
        return show(options.request, options.show, out);
    }
    if (commands.follow->parsed()) {
        if (options.request.source == "-") {
            throw tools::UsageError("the standard input cannot be followed; name a file or a buffer");
        }
        options.request.selection.last = options.request.selection.last.value_or(kFollowedAtFirst);
        return follow(std::move(options.request), options.show, out);
    }
    if (commands.stats->parsed()) {
        return stats(options.request, options.stats_json, out);
    }
    if (commands.export_trace->parsed()) {
        const Format format = options.export_json       ? Format::json
                              : options.export_perfetto ? Format::perfetto
                                                        : Format::ctf;
        return export_trace(options.request, format, options.export_folder, out);
    }
    out.write(render_catalogue(options.request.catalogue));
    return out.failed() ? tools::kFailed : tools::kDone;
}

int run(int argc, char **argv) {
    tools::StandardOutput out("ksltrace");
    CLI::App app(kDescription, "ksltrace");
    app.formatter(std::make_shared<HelpFormatter>());
    tools::set_up(app, kHelp);

    Options options;
    app.add_option("--catalogue", options.catalogues,
                   "Trace points of another program or version, from a file; may be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false);
    const Commands commands = add_commands(app, options);
    if (const std::optional<int> status = tools::parse_command_line(app, argc, argv, suggestions, out)) {
        return *status;
    }
    return execute(commands, options, out);
}

} // namespace

} // namespace ksltrace

int main(int argc, char **argv) {
    return tools::run_program("ksltrace", ksltrace::run, argc, argv);
}
