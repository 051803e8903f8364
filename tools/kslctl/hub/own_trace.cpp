// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/own_trace.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>
#include <utility>

namespace kslctl::hub {

namespace {

constexpr char kTraceBuffer[] = "XKSL";

// The stamps of records are as good as the clock's coupling to the processor's ticks.
constexpr uint64_t kClockTolerance = 5'000'000;

} // namespace

uint64_t now_ns() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

void keep_trace_apart() {
    const char *const folder = std::getenv("TRACE_KBUF_DIR");
    if (folder != nullptr && folder[0] != '\0') {
        setenv("TRACE_KBUF_DIR", (std::string(folder) + "/kslctl").c_str(), 1);
    }
}

ksltrace::Trace lines_of(const ksltrace::Trace &all, uint32_t writer, uint64_t start_ns) {
    ksltrace::Trace own;
    uint64_t lost = 0;
    for (size_t i = 0; i < all.lines.size(); ++i) {
        const ksltrace::Line &line = all.lines[i];
        lost += line.lost_before;
        if (line.record->writer != writer || line.record->time_ns + kClockTolerance < start_ns) {
            continue;
        }
        // What was lost before the first of others' records was not this writer's.
        const bool begins_after_others = own.lines.empty() && i > 0;
        own.lines.push_back(line);
        ksltrace::Line &added = own.lines.back();
        added.lost_before = begins_after_others ? 0 : lost;
        added.overwritten_before = std::min(added.overwritten_before, added.lost_before);
        lost = 0;
    }
    own.lost_at_end = lost + all.lost_at_end;
    return own;
}

OwnTrace take_own_trace(uint64_t start_ns) {
    OwnTrace own{ksltrace::read_live_snapshot(kTraceBuffer), {}};
    const auto writer = static_cast<uint32_t>(syscall(SYS_gettid));
    own.trace = lines_of(ksltrace::decode(*own.snapshot, ksltrace::library_catalogue()), writer, start_ns);
    return own;
}

} // namespace kslctl::hub
