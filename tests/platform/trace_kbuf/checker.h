// SPDX-License-Identifier: Apache-2.0
// Checks what a reader shows of a buffer full of stamped records.
#pragma once

#include "stamped_records.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace stamped {

// Both answers are empty when all is well, else one sentence.
class Checker {
public:
    explicit Checker(const Finished &finished) : finished_(finished) {}

    // `writer` was killed when `written` records had been begun.
    void killed(uint32_t writer, uint64_t written) { limits_[writer] = written; }

    // Every record was written whole, by a known writer, and each writer's are in order. Holds at any time.
    std::string order(const trace_kbuf_snapshot &snapshot) const {
        Shown shown;
        return order(snapshot, UINT64_MAX, shown);
    }

    // In addition, no finished record that fits the ring is missing. Holds while nobody writes.
    std::string completeness(const trace_kbuf_snapshot &snapshot) const {
        if (snapshot.status != TRACE_KBUF_WHOLE) {
            return snapshot.problem;
        }
        const uint64_t oldest = snapshot.written - std::min<uint64_t>(snapshot.written, snapshot.capacity);
        Shown shown;
        if (std::string problem = order(snapshot, oldest, shown); !problem.empty()) {
            return problem;
        }
        for (const auto &[writer, last] : shown) {
            if (last.sequence >= oldest && last.number + 1 < finished_[writer]) {
                return "writer " + std::to_string(writer) + " finished number " +
                       std::to_string(finished_[writer] - 1) + ", the last one shown is " + std::to_string(last.number);
            }
        }
        const std::vector<uint64_t> missing = missing_of(snapshot, oldest);
        if (missing.size() != snapshot.incomplete) {
            return std::to_string(missing.size()) + " records are missing, " + std::to_string(snapshot.incomplete) +
                   " are said to be";
        }
        return excuse(missing, shown);
    }

private:
    struct Last { // of a writer's records
        uint64_t sequence;
        uint32_t number;
        uint32_t thread;
    };
    using Shown = std::map<uint32_t, Last>;

    // From the sequence number `gapless` on no writer's numbers may have gaps.
    std::string order(const trace_kbuf_snapshot &snapshot, uint64_t gapless, Shown &shown) const {
        for (size_t i = 0; i < snapshot.record_count; ++i) {
            const trace_kbuf_record &record = snapshot.records[i];
            const std::string name = "record " + std::to_string(record.sequence);
            const uint32_t writer = record.values[0];
            if (!is_stamped(record) || writer >= finished_.writers()) {
                return name + " was never written";
            }
            const Last now{record.sequence, record.values[1], record.writer};
            if (now.number > finished_[writer]) {
                return name + " has not been begun by its writer";
            }
            const auto [place, first] = shown.try_emplace(writer, now);
            const Last before = place->second;
            place->second = now;
            if (first) {
                continue;
            }
            if (now.number <= before.number || now.sequence <= before.sequence || now.thread != before.thread) {
                return name + " is out of order";
            }
            if (before.sequence >= gapless && now.number != before.number + 1) {
                return name + " follows a gap of its writer";
            }
        }
        return {};
    }

    static std::vector<uint64_t> missing_of(const trace_kbuf_snapshot &snapshot, uint64_t oldest) {
        std::vector<uint64_t> missing;
        uint64_t next = oldest;
        const auto miss_until = [&](uint64_t end) {
            for (; next < end; ++next) {
                missing.push_back(next);
            }
        };
        for (size_t i = 0; i < snapshot.record_count; ++i) {
            if (const uint64_t sequence = snapshot.records[i].sequence; sequence >= oldest) {
                miss_until(sequence);
                next = sequence + 1;
            }
        }
        miss_until(snapshot.written);
        return missing;
    }

    // A missing record is the one that a killed writer had begun: after its last one, before the end of that time.
    // Each has one at most.
    std::string excuse(const std::vector<uint64_t> &missing, const Shown &shown) const {
        struct Excuse {
            uint64_t begin, end;
        };
        std::vector<Excuse> excuses;
        for (const auto &[writer, limit] : limits_) {
            const auto last = shown.find(writer);
            if (last == shown.end()) {
                excuses.push_back({0, limit});
            } else if (last->second.number + 1 == finished_[writer]) {
                excuses.push_back({last->second.sequence + 1, limit});
            }
        }
        std::sort(excuses.begin(), excuses.end(), [](const Excuse &a, const Excuse &b) { return a.end < b.end; });
        for (const uint64_t sequence : missing) {
            const auto excuse = std::find_if(excuses.begin(), excuses.end(), [&](const Excuse &candidate) {
                return candidate.begin <= sequence && sequence < candidate.end;
            });
            if (excuse == excuses.end()) {
                return "record " + std::to_string(sequence) + " is missing";
            }
            excuses.erase(excuse);
        }
        return {};
    }

    const Finished &finished_;
    std::map<uint32_t, uint64_t> limits_;
};

} // namespace stamped
