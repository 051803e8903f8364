// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/merge.h"

#include <algorithm>
#include <tuple>

namespace ksltrace {

namespace {

struct Position {
    uint64_t time_ns; // never less than that of the record before it in its trace
    size_t source;
    size_t index;
};

std::vector<Position> in_order(const std::vector<Trace> &traces) {
    std::vector<Position> order;
    for (size_t source = 0; source < traces.size(); ++source) {
        uint64_t latest = 0;
        for (size_t index = 0; index < traces[source].lines.size(); ++index) {
            latest = std::max(latest, traces[source].lines[index].record->time_ns);
            order.push_back({latest, source, index});
        }
    }
    std::sort(order.begin(), order.end(), [](const Position &a, const Position &b) {
        return std::tie(a.time_ns, a.source, a.index) < std::tie(b.time_ns, b.source, b.index);
    });
    return order;
}

} // namespace

Trace merge(std::vector<Trace> traces, std::vector<std::string> names) {
    Trace merged;
    std::vector<std::vector<size_t>> operations(traces.size()); // by source and index: index in the merged trace
    for (size_t source = 0; source < traces.size(); ++source) {
        operations[source].resize(traces[source].operations.size());
        merged.lost_at_end += traces[source].lost_at_end;
    }
    for (const auto &[time_ns, source, index] : in_order(traces)) {
        Line line = traces[source].lines[index];
        line.source = source;
        if (line.operation != kNone) {
            const Operation &operation = traces[source].operations[line.operation];
            if (operation.first_line() == index) {
                operations[source][line.operation] = merged.operations.size();
                merged.operations.push_back(operation);
                Operation &added = merged.operations.back();
                added.parent = operation.parent == kNone ? kNone : operations[source][operation.parent];
            }
            line.operation = operations[source][line.operation];
            Operation &own = merged.operations[line.operation];
            own.entry = operation.entry == index ? merged.lines.size() : own.entry;
            own.exit = operation.exit == index ? merged.lines.size() : own.exit;
        }
        merged.lines.push_back(line);
    }
    merged.sources = std::move(names);
    return merged;
}

} // namespace ksltrace
