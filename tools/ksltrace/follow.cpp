// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/render_text.h"
#include "support/exit_status.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fmt/core.h>
#include <map>
#include <poll.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace ksltrace {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPollMs = 100;
// How long a line waits for what it needs to be told whole: the operation's exit, or a record before it that is
// still being written.
constexpr auto kPatience = std::chrono::milliseconds(300);
// How long a file may be none, since a writer that begins it comes to its end.
constexpr auto kFileInTheMaking = std::chrono::seconds(1);

volatile std::sig_atomic_t interrupted = 0;

void interrupt(int) {
    interrupted = 1;
}

void end_on_signals() {
    struct sigaction action {};
    action.sa_handler = interrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

class Follower {
public:
    Follower(Request &request, bool verbose, tools::StandardOutput &out)
        : request_(request), out_(out), style_{.summary = !verbose,
                                               .source_lines = verbose,
                                               .unicode = wants_unicode(),
                                               .emphasis = out.wants_emphasis()} {}

    // Tells what is new. False when the file is no trace.
    bool look(bool is_last_look) {
        patience_ = is_last_look ? Clock::duration::zero() : kPatience;
        request_.source = path_of(name_);
        struct stat status {};
        if (stat(request_.source.c_str(), &status) != 0) {
            tell_waiting();
            return true;
        }
        waiting_told_ = true;
        Reading reading = read(request_);
        if (reading.snapshot->version == 0 || reading.snapshot->status == TRACE_KBUF_UNKNOWN_VERSION) {
            unusable_since_ = unusable_since_.value_or(Clock::now());
            problem_ = std::move(reading.snapshot);
            return !is_last_look && Clock::now() - *unusable_since_ < kFileInTheMaking;
        }
        unusable_since_.reset();
        notice_new_ring(status, reading);
        if (reading.snapshot->status != TRACE_KBUF_WHOLE && !damage_told_) {
            damage_told_ = true;
            tools::complain("ksltrace", reading.snapshot->problem);
        }
        tell(reading);
        request_.selection.last.reset(); // it was about what had been there
        return true;
    }

    // What is wrong with a file that is no trace.
    const trace_kbuf_snapshot &problem() const { return *problem_; }

private:
    void tell_waiting() {
        if (!waiting_told_) {
            tools::complain("ksltrace", fmt::format("{} is not there yet; waiting for it", request_.source));
            waiting_told_ = true;
        }
    }

    // A writer that starts again goes on in its file; but the file may have been put away, or begun anew.
    void notice_new_ring(const struct stat &status, const Reading &reading) {
        const std::pair<dev_t, ino_t> file{status.st_dev, status.st_ino};
        const bool is_new =
            file_ && (*file_ != file || reading.snapshot->written < next_ || has_other_record(reading.trace));
        file_ = file;
        if (is_new) {
            out_.write("-- the buffer was begun anew --\n");
            next_ = 0;
            last_.reset();
            first_seen_.clear();
            told_open_.clear();
            damage_told_ = false;
        }
    }

    // Another record has the number of the last one told. (A new file may have the old one's inode number.)
    bool has_other_record(const Trace &trace) const {
        return last_ && std::any_of(trace.lines.begin(), trace.lines.end(), [this](const Line &line) {
                   return line.record->sequence == last_->sequence && line.record->ticks != last_->ticks;
               });
    }

    void tell(Reading &reading) {
        Trace &trace = reading.trace;
        trace.lost_at_end = 0; // told when something comes behind them
        const auto is_told = [&](const Line &line) { return line.record->sequence < next_; };
        const auto first = std::find_if_not(trace.lines.begin(), trace.lines.end(), is_told);
        if (first == trace.lines.end()) {
            return;
        }
        first->lost_before = first->record->sequence - next_;
        first->overwritten_before = std::min(first->overwritten_before, first->lost_before);
        const auto begin = static_cast<size_t>(first - trace.lines.begin());
        size_t end = begin;
        while (end < trace.lines.size() && is_ripe(trace.lines[end])) {
            want_exit_of_told(trace, end, reading.wanted);
            ++end;
        }
        out_.write(render_text(trace, style_,
                               {.wanted = &reading.wanted, .begin = begin, .end = end, .told_open = &told_open_}));
        for (size_t i = begin; i < end; ++i) {
            if (trace.lines[i].lone == Lone::no_exit) {
                told_open_.insert(trace.lines[i].record->sequence);
            }
            last_ = *trace.lines[i].record;
            next_ = last_->sequence + 1;
        }
        first_seen_.erase(first_seen_.begin(), first_seen_.lower_bound(next_));
    }

    // Whether it will not be told better by waiting.
    bool is_ripe(const Line &line) {
        if (line.lone != Lone::no_exit && line.lost_before == line.overwritten_before) {
            return true;
        }
        const auto now = Clock::now();
        return now - first_seen_.emplace(line.record->sequence, now).first->second >= patience_;
    }

    // Who read of an operation's beginning reads of its end.
    void want_exit_of_told(const Trace &trace, size_t index, std::vector<bool> &wanted) const {
        const Line &line = trace.lines[index];
        if (line.operation != kNone && trace.operations[line.operation].exit == index && line.lone == Lone::no) {
            const Line &entry = trace.lines[trace.operations[line.operation].entry];
            wanted[index] = wanted[index] || told_open_.contains(entry.record->sequence);
        }
    }

    Request &request_;
    const std::string name_ = request_.source;
    tools::StandardOutput &out_;
    const TextStyle style_;
    Clock::duration patience_{};
    std::optional<std::pair<dev_t, ino_t>> file_;
    uint64_t next_ = 0;                                // sequence number of what is to be told next
    std::optional<trace_kbuf_record> last_;            // the one told last
    std::map<uint64_t, Clock::time_point> first_seen_; // of lines that wait
    std::set<uint64_t> told_open_;                     // entries that were told before their exits came
    bool waiting_told_ = false;
    bool damage_told_ = false;
    std::optional<Clock::time_point> unusable_since_;
    Snapshot problem_;
};

// Until something happens to the standard output, or a while has gone by.
void rest() {
    pollfd output{STDOUT_FILENO, 0, 0};
    if (poll(&output, 1, kPollMs) > 0 && interrupted == 0) {
        // A reader who went away is noticed without having anything to write.
        interrupted = 1;
    }
}

} // namespace

int follow(Request request, bool verbose, tools::StandardOutput &out) {
    end_on_signals();
    Follower follower(request, verbose, out);
    bool is_trace = true;
    while (is_trace && interrupted == 0 && !out.is_over()) {
        is_trace = follower.look(false);
        if (is_trace && !out.is_over()) {
            rest();
        }
    }
    if (!is_trace) {
        return conclude(request, follower.problem(), out);
    }
    if (!out.is_over()) {
        follower.look(true);
    }
    return out.failed() ? tools::kFailed : tools::kDone;
}

} // namespace ksltrace
