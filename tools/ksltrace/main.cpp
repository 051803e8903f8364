// SPDX-License-Identifier: Apache-2.0
// ksltrace: shows what the library recorded.
#include "ksltrace/show.h"
#include "support/command_line.h"
#include "support/exit_status.h"

#include <exception>

namespace {

constexpr char kDescription[] = "Shows the trace records of the switch library libksl.so.";

constexpr char kHelp[] = R"(How a trace is kept:
  A program that runs with TRACE_KBUF_DIR=folder keeps its trace buffers as files of that folder. They can be
  read while it runs, after it has ended in whatever way, and on another machine of either byte order.
  libksl.so's buffer is named XKSL.

Examples:
  TRACE_KBUF_DIR=/var/tmp/traces ksltrace show XKSL
  ksltrace show /var/tmp/traces/XKSL.kbuf
  ssh hub cat /var/tmp/traces/XKSL.kbuf | ksltrace show -

Environment:
  TRACE_KBUF_DIR   the folder in which buffers are looked up by their names

Exit status:
  0  done
  2  the command line is wrong
  3  the trace cannot be read, or only in part: what can be read is shown, the problem is on stderr)";

constexpr char kShowHelp[] =
    R"(The first line tells the buffer, the records shown of those written, and who wrote them. Then each record is a line:
  time       UTC, ISO 8601, microseconds
  [writer]   the thread that wrote it, if several did
  mark       > entry of an operation, < its exit, - a step, ! a failure, ? a record that no table knows
  text       the operation or what happened, then the record's values; bytes and 0x... are hexadecimal
What happens between an operation's entry and exit is indented. The exit's line ends with the time since the entry
and, where the library measured it, its run time. Other notes in parentheses:
  left early   the operation refused an argument and wrote no exit
  no exit      the operation was left early, or has not come to its end
  entry lost   the operation's entry was overwritten
Records that are missing (overwritten in the ring, or in the making) are told in their place: "-- 3 records lost --".)";

int run(int argc, char **argv) {
    tools::StandardOutput out("ksltrace");
    CLI::App app(kDescription, "ksltrace");
    app.footer(kHelp);
    app.set_version_flag("--version", "ksltrace " KSL_VERSION);
    app.require_subcommand(1);

    std::string source;
    CLI::App *const show = app.add_subcommand("show", "Show a trace as text");
    show->add_option("FILE-or-NAME", source, "A file, - for the standard input, or a buffer's name in TRACE_KBUF_DIR")
        ->required();
    show->footer(kShowHelp);

    if (const std::optional<int> status = tools::parse_command_line(app, argc, argv, out)) {
        return *status;
    }
    return ksltrace::show(source, out);
}

} // namespace

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        tools::complain("ksltrace", error.what());
        return tools::kFailed;
    }
}
