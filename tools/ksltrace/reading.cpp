// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/reading.h"

#include "ksltrace/merge.h"
#include "support/exit_status.h"

#include <chrono>
#include <cstdlib>
#include <fmt/core.h>
#include <json/problem.h>
#include <string_view>
#include <thread>

namespace ksltrace {

namespace {

// A record that is being written is finished a moment later.
constexpr auto kMoment = std::chrono::milliseconds(20);

Snapshot read_settled(const std::string &path) {
    Snapshot snapshot = read_snapshot(path);
    if (snapshot->incomplete > 0 && snapshot->status == TRACE_KBUF_WHOLE && path != "-") {
        std::this_thread::sleep_for(kMoment);
        if (Snapshot again = read_snapshot(path); again->version != 0) {
            return again;
        }
    }
    return snapshot;
}

// A word that could have been a buffer's name, had the user said where buffers are kept.
bool lacks_folder(const std::string &word, const trace_kbuf_snapshot &snapshot) {
    return snapshot.status == TRACE_KBUF_UNREADABLE && word != "-" && word.find('/') == word.npos &&
           trace_folder().empty();
}

std::string problem_of(const std::string &word, const std::string &path, const trace_kbuf_snapshot &snapshot) {
    if (snapshot.status == TRACE_KBUF_WHOLE) {
        return fmt::format("{}: {} {} damaged or not finished", path == "-" ? "the standard input" : path,
                           snapshot.incomplete, snapshot.incomplete == 1 ? "record is" : "records are");
    }
    return fmt::format("{}{}", snapshot.problem,
                       lacks_folder(word, snapshot) ? "; to name a buffer, set TRACE_KBUF_DIR to the folder of its file"
                                                    : "");
}

} // namespace

Buffers Reading::buffers() const {
    Buffers buffers;
    for (const Snapshot &snapshot : snapshots) {
        buffers.push_back(snapshot.get());
    }
    return buffers;
}

Reading read(const Request &request) {
    Reading reading;
    reading.sources = sources_of(request.source);
    reading.problems = reading.sources.problems;
    if (reading.sources.is_merged() && reading.sources.files.empty() && reading.problems.empty()) {
        reading.problems.push_back(fmt::format("{} has no trace buffers", reading.sources.folder));
    }
    std::vector<Trace> traces;
    std::vector<std::string> names;
    for (const SourceFile &file : reading.sources.files) {
        Snapshot snapshot = read_settled(file.path);
        if (snapshot->status != TRACE_KBUF_WHOLE || snapshot->incomplete > 0) {
            reading.problems.push_back(problem_of(request.source, file.path, *snapshot));
        }
        if (snapshot->version != 0) {
            traces.push_back(decode(*snapshot, request.catalogue));
            names.push_back(file.name);
            reading.snapshots.push_back(std::move(snapshot));
        }
    }
    if (reading.sources.is_merged()) {
        reading.trace = merge(std::move(traces), std::move(names));
    } else if (!traces.empty()) {
        reading.trace = std::move(traces.front());
    }
    reading.wanted = select(reading.trace, request.selection);
    return reading;
}

int conclude(const Reading &reading, const tools::StandardOutput &out) {
    for (const std::string &problem : reading.problems) {
        complain(problem);
    }
    return reading.problems.empty() && !out.failed() ? tools::kDone : tools::kFailed;
}

void complain(std::string_view sentence) {
    tools::complain("ksltrace", json::printable(sentence));
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
