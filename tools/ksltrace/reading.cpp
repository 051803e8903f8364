// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/reading.h"

#include "support/exit_status.h"

#include <cstdlib>
#include <fmt/core.h>
#include <string_view>

namespace ksltrace {

namespace {

// A word that could have been a buffer's name, had the user said where buffers are kept.
bool lacks_folder(const std::string &word, const trace_kbuf_snapshot &snapshot) {
    const char *const directory = getenv("TRACE_KBUF_DIR");
    return snapshot.status == TRACE_KBUF_UNREADABLE && word != "-" && word.find('/') == word.npos &&
           (directory == nullptr || directory[0] == '\0');
}

} // namespace

Reading read(const Request &request) {
    Reading reading{read_snapshot(request.source), {}, {}};
    reading.trace = decode(*reading.snapshot, request.catalogue);
    reading.wanted = select(reading.trace, request.selection);
    return reading;
}

int conclude(const Request &request, const trace_kbuf_snapshot &snapshot, const tools::StandardOutput &out) {
    if (snapshot.status != TRACE_KBUF_WHOLE) {
        tools::complain("ksltrace", fmt::format("{}{}", snapshot.problem,
                                                lacks_folder(request.source, snapshot)
                                                    ? "; to name a buffer, set TRACE_KBUF_DIR to the folder of its file"
                                                    : ""));
        return tools::kFailed;
    }
    return out.failed() ? tools::kFailed : tools::kDone;
}

std::string machine_of(const trace_kbuf_snapshot &snapshot) {
    const char *const order = snapshot.byte_order == TRACE_KBUF_BIG_ENDIAN ? "big-endian" : "little-endian";
    return fmt::format("{}, {} bits, {}", order, snapshot.word_bits, snapshot.writer);
}

bool wants_unicode() {
    // Not by setlocale(): the hub has no locales installed, and yet a terminal that can.
    for (const char *const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *const value = getenv(name);
        if (value != nullptr && value[0] != '\0') {
            const std::string_view locale = value;
            return locale.ends_with(".UTF-8") || locale.ends_with(".utf8");
        }
    }
    return false;
}

} // namespace ksltrace
