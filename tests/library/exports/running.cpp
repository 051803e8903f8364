// SPDX-License-Identifier: Apache-2.0
#include "export.h"

#include <cstring>

namespace ksl::test {

namespace {

Calls ending(const Export &exported, int32_t result, size_t access) {
    if (exported.ending) {
        return exported.ending(result, access);
    }
    return exported.frame ? leave(exported.frame->exit, result) : Calls{};
}

// The first access that does not succeed; the number of all where each does.
size_t first_failing(const Export &exported, const Fault &fault) {
    size_t at = 0;
    while (at < exported.accesses.size() && fault.access != at && !fault.lacks(exported.accesses[at].entry_point)) {
        ++at;
    }
    return at;
}

} // namespace

void prepare(ScriptedPlatform &platform, const Export &exported) {
    std::memset(memory(), kUntouched, kMemorySize);
    platform.successive_reads.clear();
    for (const Access &access : exported.accesses) {
        if (access.entry_point == "hwa_getreg") {
            platform.successive_reads.push_back(access.answer);
        }
    }
    exported.prepare(platform);
}

Outcome observe(const Export &exported, const Fault &fault, bool timed, Calls *all) {
    ScriptedPlatform platform;
    if (fault.unbound) {
        platform.libraries = {kConfigurationPath};
    }
    ksl_init();
    const Calls opening = platform.take();
    ksl_cfg_handle = nullptr;
    prepare(platform, exported);
    platform.clock_step = kClockStep;
    platform.missing_entry_points = exported.without;
    platform.missing_entry_points.insert(fault.missing.begin(), fault.missing.end());
    for (const EntryPoint &entry_point : kEntryPoints) {
        if (fault.unbound) {
            platform.missing_entry_points.insert(entry_point.name);
        }
    }
    platform.failing_reads_deliver = fault.delivers;
    if (fault.access) {
        platform.failures[static_cast<uint32_t>(*fault.access) + 1] = fault.code;
    }
    if (timed) {
        ksl_enable_time();
    }

    Outcome outcome;
    outcome.result = exported.run();
    const Calls calls = platform.take();
    outcome.calls = masked(calls);
    outcome.memory.assign(memory(), memory() + kMemorySize);
    outcome.configuration_open = ksl_cfg_handle != nullptr;

    ksl_disable_time();
    ksl_terminate();
    // Records that are stated from here on carry it.
    ksl_trace_buffer = kDescriptor;
    if (all != nullptr) {
        *all += opening;
        *all += calls;
        *all += platform.take();
    }
    return outcome;
}

Outcome expect(const Export &exported, const Outcome &good, const Fault &fault) {
    if (exported.story) {
        Fault whole = fault;
        whole.missing.insert(exported.without.begin(), exported.without.end());
        Story story(whole);
        exported.story(story);
        story.outcome.calls = masked(story.outcome.calls);
        return story.outcome;
    }
    const size_t failing = first_failing(exported, fault);
    if (failing == exported.accesses.size()) {
        return good;
    }
    const Access &access = exported.accesses[failing];
    const size_t position = access_positions(good.calls).at(failing);
    Outcome outcome;
    outcome.result = fault.access == failing ? fault.code : -1;
    outcome.calls.assign(good.calls.begin(), good.calls.begin() + static_cast<ptrdiff_t>(position));
    Calls rest = fault.access == failing ? Calls{access.call} : missing_calls(access.entry_point);
    rest += access.failed(outcome.result);
    rest += ending(exported, outcome.result, failing);
    outcome.calls += masked(rest);
    outcome.memory.assign(kMemorySize, kUntouched);
    apply(exported.at_once, outcome.memory);
    for (size_t i = 0; i < failing; ++i) {
        apply(exported.accesses[i].delivers, outcome.memory);
    }
    if (exported.reads_into_memory && fault.delivers) {
        apply(access.delivers, outcome.memory);
    }
    outcome.configuration_open = exported.leaves_configuration_open;
    return outcome;
}

} // namespace ksl::test
