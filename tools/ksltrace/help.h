// SPDX-License-Identifier: Apache-2.0
// What "--help" says, in lines of at most 80 columns.
#pragma once

namespace ksltrace {

inline constexpr char kDescription[] = "Shows the trace records of the switch library libksl.so.";

inline constexpr char kHelp[] = R"("ksltrace COMMAND --help" describes a command.

How a trace is kept:
  A program that runs with TRACE_KBUF_DIR=FOLDER keeps its trace buffers as
  files in that folder. They can be read while it runs, after it has ended in
  whatever way, and on another machine of either byte order. The buffer of
  libksl.so is named XKSL. kslctl records into FOLDER/kslctl, so that looking at
  a hub does not overwrite what a service recorded.

What is read:
  A file is read alone. A folder means all trace files in it and in the folders
  below it, in the order of their times; each line names its file and thread.
  Within a file, records keep the order in which they were written, also when
  the clock was set back.

Examples:
  export TRACE_KBUF_DIR=/var/tmp/traces
  ksltrace show --failed --since 10m
  ksltrace show /var/tmp/traces/XKSL.kbuf
  ssh hub cat /var/tmp/traces/XKSL.kbuf | ksltrace show -
  ksltrace export XKSL --perfetto >trace.json

Environment:
  TRACE_KBUF_DIR   the folder that is read when none is named, and in which
                   names of buffers are looked up. Of a name with %e or %p, the
                   folders before it count
  PAGER            what shows long text on a terminal; default: less, if it is
                   installed
  COLUMNS          width of the terminal; default: what the terminal says
  NO_COLOR         if set and not empty: no emphasis on a terminal either

Exit status:
  0  done
  2  the command line is wrong
  3  a trace cannot be read, or only in part: what can be read is shown, stderr
     says what is wrong)";

inline constexpr char kListHelp[] =
    R"(Each buffer is a line: its name, its file, the room for records, the records
that are there, the records that were written, the times of the first and the
last, and the machine and build that made it.)";

inline constexpr char kShowHelp[] =
    R"(The first line names the buffer, and has the number of its records, of those
written, and who wrote them. Then each operation is a line, and what happened
inside it is indented below:
  07:08:09.123456 ksl_read_VLAN_map chip=0 vid=10 -> 0 in 31.0 us
  time       when the operation began: UTC, microseconds. Each day's date is a
             line before its times
  [writer]   the file and the thread, if there are several
  arguments  as recorded at its entry, and the name of the register
  -> result  and other values that were recorded at its exit. Some operations
             record no result: "done", or "failed" after a recorded failure
  in ...     the time between the records of its entry and its exit. "run time"
             is what the library measured, if ksl_enable_time() was called
Instead of a result there may be:
  left early   the operation refused an argument and wrote no exit
  no exit      the operation was left early, or has not ended: the last line of
               a process that died
Lines with a mark are single records: ! a failure, - a step outside of
operations, ? a record that is in no catalogue.

With --verbose each record is a line: > entry of an operation, < its exit, - a
step, ! a failure, ? as above; then its values, of which bytes and 0x... are
hexadecimal.

Missing records are a line in their place: "overwritten" when the buffer was
full, else "damaged or not finished".)";

inline constexpr char kFollowHelp[] =
    R"(Shows the last operations (--last, else 10) and then new ones, as "show" does,
until Ctrl-C. It waits for a buffer that does not exist yet, and goes on with
one that was removed and made again. In a folder, new buffers are noticed after
a second. An operation that takes long is shown with "no exit" first, and once
more when it ends.)";

inline constexpr char kStatsHelp[] =
    R"(A line for each operation: how often it ran, how often it failed and with which
codes, how often it has no exit (it refused an argument, or has not ended), and
the least, the middle and the greatest time it took; 99 of 100 took no longer
than "99 %". The times are those between the records of entry and exit; --json
also has those that the library measured.

Records of other programs are in no catalogue: they are counted as operations
only if --catalogue names a file that describes them.)";

inline constexpr char kExportHelp[] =
    R"(--json and --perfetto write to the standard output. With --perfetto, times count
from the first record, whose time the document has. Missing records are counted
by the records of --json, are events with --perfetto, and discarded events with
--ctf.)";

inline constexpr char kCatalogueHelp[] =
    R"(A JSON document with the identifier, kind, name, text and values of each trace
point; docs/ksltrace.md describes it. With --catalogue, the points of that file
are part of it.)";

} // namespace ksltrace
