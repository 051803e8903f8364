// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/fold.h"
#include "ksltrace/merge.h"
#include "ksltrace/render_text.h"
#include "ksltrace/ring_file.h"
#include "support/exit_status.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fmt/core.h>
#include <map>
#include <memory>
#include <optional>
#include <poll.h>
#include <set>
#include <span>
#include <unistd.h>

namespace ksltrace {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPollMs = 100;
// How long a line waits for what it needs to be shown whole: the operation's exit, or a record before it that is
// still being written.
constexpr auto kPatience = std::chrono::milliseconds(300);
// How long a file may be none, since a writer that begins it comes to its end.
constexpr auto kFileInTheMaking = std::chrono::seconds(1);
constexpr auto kSearchInterval = std::chrono::seconds(1);
constexpr size_t kIndent = 4; // of lines that go on, after the time

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

// A file that is followed, and what was shown of it.
struct Followed {
    explicit Followed(const SourceFile &source) : file(source.path), name(source.name) {}

    RingFile file;
    std::string name;
    Snapshot snapshot;
    uint64_t next = 0;                                // number of the record that is to be shown next
    std::optional<trace_kbuf_record> last;            // the one shown last
    std::map<uint64_t, Clock::time_point> first_seen; // of lines that wait
    std::optional<Clock::time_point> unusable_since;
    bool damage_shown = false;

    // Another record has the number of the last one shown.
    bool has_other_record() const {
        const std::span records(snapshot->records, snapshot->record_count);
        return last && std::any_of(records.begin(), records.end(), [this](const trace_kbuf_record &record) {
                   return record.sequence == last->sequence && record.ticks != last->ticks;
               });
    }
};

class Follower {
public:
    Follower(Request &request, const ShowOptions &options, tools::StandardOutput &out)
        : request_(request), out_(out), width_(terminal_width(out)), style_{.summary = !options.verbose,
                                                                            .source_lines = options.verbose,
                                                                            .unicode = wants_unicode(),
                                                                            .emphasis = out.wants_emphasis()},
          times_(options.times) {}

    // Shows what is new. False when the file is no trace.
    bool look(bool is_last_look) {
        patience_ = is_last_look ? Clock::duration::zero() : kPatience;
        find_files();
        bool has_news = false;
        for (const auto &followed : files_) {
            if (!read_news(*followed, has_news) && !is_merged_) {
                return false;
            }
            has_news |= !followed->first_seen.empty();
        }
        if (has_news) {
            show_news();
        }
        return true;
    }

    // What is wrong with a file that is no trace.
    const std::string &problem() const { return problem_; }

private:
    // Searching folders costs more than looking at files.
    void find_files() {
        const auto now = Clock::now();
        if (searched_at_ && now - *searched_at_ < kSearchInterval) {
            return;
        }
        searched_at_ = now;
        const Sources sources = sources_of(request_.source);
        for (const SourceFile &source : sources.files) {
            const auto is_known = [&](const auto &followed) { return followed->file.path() == source.path; };
            if (std::none_of(files_.begin(), files_.end(), is_known)) {
                files_.push_back(std::make_unique<Followed>(source));
            }
        }
        is_merged_ = sources.is_merged() || files_.size() > 1;
        if (files_.empty() && !waiting_shown_) {
            complain(fmt::format("{} has no trace buffers yet; waiting for them", sources.folder));
            waiting_shown_ = true;
        }
    }

    // False when the file is no trace, and does not become one either.
    bool read_news(Followed &followed, bool &has_news) {
        const RingFile::Look look = followed.file.look(followed.next);
        switch (look) {
        case RingFile::Look::missing:
            if (!waiting_shown_ && followed.snapshot == nullptr) {
                complain(fmt::format("{} is not there yet; waiting for it", followed.file.path()));
                waiting_shown_ = true;
            }
            return true;
        case RingFile::Look::unusable:
            return is_unusable(followed, followed.file.problem());
        case RingFile::Look::unchanged:
            return followed.snapshot != nullptr || is_unusable(followed, problem_);
        case RingFile::Look::changed:
        case RingFile::Look::replaced:
            break;
        }
        Snapshot snapshot = followed.file.snapshot();
        if (snapshot->version == 0 || snapshot->status == TRACE_KBUF_UNKNOWN_VERSION) {
            return is_unusable(followed, snapshot->problem);
        }
        followed.unusable_since.reset();
        followed.snapshot = std::move(snapshot);
        notice_new_ring(followed, look == RingFile::Look::replaced);
        if (followed.snapshot->status != TRACE_KBUF_WHOLE && !followed.damage_shown) {
            followed.damage_shown = true;
            complain(followed.snapshot->problem);
        }
        has_news = true;
        return true;
    }

    // A file may be none for a while: a writer that begins it comes to its end.
    bool is_unusable(Followed &followed, const std::string &problem) {
        const auto now = Clock::now();
        const bool is_in_the_making = now - followed.unusable_since.value_or(now) < kFileInTheMaking;
        followed.unusable_since = followed.unusable_since.value_or(now);
        problem_ = problem;
        if (!is_in_the_making && is_merged_ && !followed.damage_shown) {
            followed.damage_shown = true;
            complain(problem);
        }
        return is_in_the_making;
    }

    // A writer that starts again goes on in its file; but the file may have been put away, or begun anew.
    void notice_new_ring(Followed &followed, bool is_replaced) {
        if (!is_replaced && followed.snapshot->written >= followed.next && !followed.has_other_record()) {
            return;
        }
        followed.file.read_whole();
        followed.snapshot = followed.file.snapshot();
        out_.write(is_merged_ ? fmt::format("-- the buffer of {} was begun anew --\n", followed.name)
                              : "-- the buffer was begun anew --\n");
        followed.next = 0;
        followed.last.reset();
        followed.first_seen.clear();
        followed.damage_shown = false;
        std::erase_if(open_, [&](const auto &entry) { return files_[entry.first].get() == &followed; });
    }

    Trace merged_trace() const {
        std::vector<Trace> traces;
        std::vector<std::string> names;
        for (const auto &followed : files_) {
            traces.push_back(followed->snapshot != nullptr ? decode(*followed->snapshot, request_.catalogue) : Trace{});
            names.push_back(followed->name);
        }
        return is_merged_ ? merge(std::move(traces), std::move(names)) : std::move(traces.front());
    }

    void show_news() {
        Trace trace = merged_trace();
        trace.lost_at_end = 0; // shown when something comes after them
        std::vector<bool> wanted = select(trace, request_.selection);
        std::vector<uint64_t> expected;
        for (const auto &followed : files_) {
            expected.push_back(followed->next);
        }
        std::vector<size_t> news;
        for (size_t i = 0; i < trace.lines.size(); ++i) {
            Line &line = trace.lines[i];
            const uint64_t sequence = line.record->sequence;
            uint64_t &next = expected[line.source];
            if (sequence < next) {
                wanted[i] = false;
                line.lost_before = line.overwritten_before = 0;
                continue;
            }
            line.lost_before = sequence - next;
            line.overwritten_before = std::min(line.overwritten_before, line.lost_before);
            if (!is_ripe(line)) {
                break;
            }
            next = sequence + 1;
            want_exit_of_open(trace, i, wanted);
            news.push_back(i);
        }
        show_lines(trace, wanted, news);
    }

    // `news` are the lines that were not shown before; those after the last of them wait.
    void show_lines(const Trace &trace, const std::vector<bool> &wanted, const std::vector<size_t> &news) {
        if (news.empty()) {
            return;
        }
        const std::string text = render_text(
            trace, style_, {.wanted = &wanted, .end = news.back() + 1, .open_before = &open_, .times = &times_});
        out_.write(fold(text, width_, times_.width() + kIndent));
        for (const size_t i : news) {
            const Line &line = trace.lines[i];
            Followed &followed = *files_[line.source];
            if (line.pairing == Pairing::no_exit) {
                open_.insert({line.source, line.record->sequence});
            }
            followed.last = *line.record;
            followed.next = line.record->sequence + 1;
            followed.first_seen.erase(followed.first_seen.begin(), followed.first_seen.lower_bound(followed.next));
        }
        request_.selection.last.reset(); // it was about what had been there
    }

    // Whether waiting would not show it better.
    bool is_ripe(const Line &line) {
        if (line.pairing != Pairing::no_exit && line.lost_before == line.overwritten_before) {
            return true;
        }
        const auto now = Clock::now();
        auto &first_seen = files_[line.source]->first_seen;
        return now - first_seen.emplace(line.record->sequence, now).first->second >= patience_;
    }

    // Who read of an operation's beginning reads of its end.
    void want_exit_of_open(const Trace &trace, size_t index, std::vector<bool> &wanted) const {
        const Line &line = trace.lines[index];
        if (line.operation != kNone && trace.operations[line.operation].exit == index &&
            line.pairing == Pairing::complete) {
            const Line &entry = trace.lines[trace.operations[line.operation].entry];
            wanted[index] = wanted[index] || open_.contains({line.source, entry.record->sequence});
        }
    }

    Request &request_;
    tools::StandardOutput &out_;
    const size_t width_;
    const TextStyle style_;
    TimeColumn times_;
    Clock::duration patience_{};
    std::vector<std::unique_ptr<Followed>> files_;
    std::optional<Clock::time_point> searched_at_;
    bool is_merged_ = false;
    bool waiting_shown_ = false;
    std::set<std::pair<size_t, uint64_t>> open_; // entries that were shown before their exits came, by file
    std::string problem_;
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

int follow(Request request, const ShowOptions &options, tools::StandardOutput &out) {
    end_on_signals();
    Follower follower(request, options, out);
    bool is_trace = true;
    while (is_trace && interrupted == 0 && !out.is_over()) {
        is_trace = follower.look(false);
        if (is_trace && !out.is_over()) {
            rest();
        }
    }
    if (!is_trace) {
        complain(follower.problem());
        return tools::kFailed;
    }
    if (!out.is_over()) {
        follower.look(true);
    }
    return out.failed() ? tools::kFailed : tools::kDone;
}

} // namespace ksltrace
