// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/show.h"

#include "ksltrace/render_text.h"
#include "ksltrace/snapshot.h"
#include "support/exit_status.h"

#include <cstdlib>
#include <fmt/format.h>

namespace ksltrace {

namespace {

std::string heading(const trace_kbuf_snapshot &snapshot) {
    const char *const order = snapshot.byte_order == TRACE_KBUF_BIG_ENDIAN ? "big-endian" : "little-endian";
    return fmt::format("{}: {} of {} records, {} overwritten ({}, {} bits, {})\n", snapshot.name, snapshot.record_count,
                       snapshot.written, snapshot.overwritten, order, snapshot.word_bits, snapshot.writer);
}

// A word that could have been a buffer's name, had the user said where buffers are kept.
bool lacks_folder(const std::string &word, const trace_kbuf_snapshot &snapshot) {
    const char *const directory = getenv("TRACE_KBUF_DIR");
    return snapshot.status == TRACE_KBUF_UNREADABLE && word != "-" && word.find('/') == word.npos &&
           (directory == nullptr || directory[0] == '\0');
}

} // namespace

int show(const std::string &file_or_name, tools::StandardOutput &out) {
    const Snapshot snapshot = read_snapshot(file_or_name);
    // Nothing of a file that does not even say what it is.
    if (snapshot->version != 0) {
        out.write(heading(*snapshot));
    }
    out.write(render_text(decode(*snapshot, library_catalogue())));
    if (snapshot->status != TRACE_KBUF_WHOLE) {
        tools::complain("ksltrace", fmt::format("{}{}", snapshot->problem,
                                                lacks_folder(file_or_name, *snapshot)
                                                    ? "; to name a buffer, set TRACE_KBUF_DIR to the folder of its file"
                                                    : ""));
        return tools::kFailed;
    }
    return out.failed() ? tools::kFailed : tools::kDone;
}

} // namespace ksltrace
