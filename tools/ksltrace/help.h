// SPDX-License-Identifier: Apache-2.0
// What "--help" says.
#pragma once

namespace ksltrace {

inline constexpr char kDescription[] = "Shows the trace records of the switch library libksl.so.";

inline constexpr char kHelp[] = R"("ksltrace COMMAND --help" tells more about a command.

How a trace is kept:
  A program that runs with TRACE_KBUF_DIR=folder keeps its trace buffers as files of that folder. They can be
  read while it runs, after it has ended in whatever way, and on another machine of either byte order.
  libksl.so's buffer is named XKSL.

Examples:
  TRACE_KBUF_DIR=/var/tmp/traces ksltrace show XKSL
  ksltrace show /var/tmp/traces/XKSL.kbuf --failed --since 10m
  ssh hub cat /var/tmp/traces/XKSL.kbuf | ksltrace show -
  ksltrace export XKSL --perfetto >trace.json

Environment:
  TRACE_KBUF_DIR   the folder in which buffers are looked up by their names
  PAGER            what shows long text on a terminal; default: less, if there is one
  NO_COLOR         if set and not empty: no emphasis on a terminal either

Exit status:
  0  done
  2  the command line is wrong
  3  the trace cannot be read, or only in part: what can be read is shown, the problem is on stderr)";

inline constexpr char kListHelp[] =
    R"(Each buffer is a line: its name, the records there of those written, the times of the first and the last, the
file, and the machine and build that made it.)";

inline constexpr char kShowHelp[] =
    R"(The first line tells the buffer, the records in it of those written, and who wrote them. Then each operation is a
line, and what went on inside it is indented below:
  2024-05-06T07:08:09.123456Z ksl_read_VLAN_map chip=0 vid=10 -> 0 in 31.0 us
  time       UTC, ISO 8601, microseconds, of the operation's beginning
  [writer]   the thread that wrote it, if several did
  arguments  as recorded at its entry; for a register that has one, its name in parentheses
  -> result  and other values that were recorded at its exit. Some operations record no result: "done", or "failed"
             when a failure was recorded inside
  in ...     the time between the records of its entry and its exit. "run time" is what the library measured itself,
             where ksl_enable_time() was in force
Instead of a result there may be:
  left early   the operation refused an argument and wrote no exit
  no exit      the operation was left early, or has not come to its end: the last line of a process that died
Lines with a mark are single records: ! a failure, - a step outside of operations, ? a record that no table knows.

With --verbose each record is a line: > entry of an operation, < its exit, - a step, ! a failure, ? as above; then
its values, of which bytes and 0x... are hexadecimal.

Missing records are told in their place: "overwritten" when the ring was full, else "damaged or not finished".)";

inline constexpr char kFollowHelp[] =
    R"(Shows the last operations (--last, else 10) and then what comes, as "show" does, until Ctrl-C. A buffer that is not
there yet is waited for; one that is removed and made again is taken up again. An operation that takes long is told
as "no exit" at first, and once more when it ends.)";

inline constexpr char kStatsHelp[] =
    R"(A line for each operation: how often it ran, how often it failed and with which codes, how often it has no exit
(it refused an argument, or has not come to its end), and the least, the middle and the greatest time it took; 99 of
100 took no longer than "99 %". Times are those between the records of entry and exit; --json also has those that the
library measured itself.)";

inline constexpr char kExportHelp[] =
    R"(--json and --perfetto write to the standard output. Times count from the first record with --perfetto, whose
document has that record's time. Missing records are told: by their number in the records of --json, as events with
--perfetto, as discarded events with --ctf.)";

inline constexpr char kCatalogueHelp[] =
    R"(A JSON document with the identifier, kind, name, text and values of each trace point; docs/ksltrace.md tells more.
With --catalogue, the points of that file are part of it.)";

} // namespace ksltrace
