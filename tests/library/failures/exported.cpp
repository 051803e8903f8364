// SPDX-License-Identifier: Apache-2.0
#include "exported.h"

#include <algorithm>
#include <cstring>

namespace ksl::test {

namespace {

alignas(16) uint8_t block[kMemorySize];

Calls missing_calls(const std::string &entry_point) {
    Calls calls{lookup_missing(entry_point)};
    for (const EntryPoint &known : kEntryPoints) {
        if (known.name == entry_point && known.missing) {
            calls.push_back(record(*known.missing));
        }
    }
    return calls;
}

void apply(const Writes &writes, Bytes &memory) {
    for (const Write &write : writes) {
        std::copy(write.bytes.begin(), write.bytes.end(), memory.begin() + static_cast<std::ptrdiff_t>(write.at));
    }
}

// The first access that does not succeed; the number of all where each does.
size_t first_failing(const Exported &exported, const Fault &fault) {
    size_t at = 0;
    while (at < exported.accesses.size() && fault.access != at && !fault.lacks(exported.accesses[at].entry_point)) {
        ++at;
    }
    return at;
}

} // namespace

const EntryPoint kEntryPoints[8] = {
    {"hwa_getreg", points::getreg_missing},
    {"hwa_get_multireg", {}},
    {"hwa_setreg", points::setreg_missing},
    {"hwa_getmacs", points::getmacs_missing},
    {"hwa_engpowercmd", points::engpowercmd_missing},
    {"hwa_setswitchconfig", points::setswitchconfig_missing},
    {"hwa_setmacfilter", points::setmacfilter_missing},
    {"hwa_resetswitch", points::resetswitch_missing},
};

uint8_t *memory(size_t at) {
    return block + at;
}

Bytes native(uint32_t number) {
    Bytes bytes(sizeof number);
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

Access read(uint32_t page, uint32_t offset, const Bytes &answer, const Writes &delivers, TracePoint failed) {
    const auto length = static_cast<uint32_t>(answer.size());
    return {"hwa_getreg", getreg(kChipLow, page & 0xFF, offset & 0xFF, length), answer,
            [=](int32_t) { return Calls{record(failed, page, offset, length)}; }, delivers};
}

Access write(uint32_t page, uint32_t offset, const Bytes &bytes, TracePoint failed) {
    const auto length = static_cast<uint32_t>(bytes.size());
    return {"hwa_setreg",
            setreg(kChipLow, page & 0xFF, offset & 0xFF, bytes),
            {},
            [=](int32_t) { return Calls{record(failed, page, offset, length)}; },
            {}};
}

Access other(const std::string &entry_point, const std::string &arguments, std::function<Calls(int32_t code)> failed,
             const Writes &delivers) {
    return {entry_point, platform_call("looked up " + entry_point + " " + arguments), {}, std::move(failed), delivers};
}

std::function<Calls(int32_t result, size_t access)> leave_with_result(TracePoint exit) {
    return [=](int32_t result, size_t) { return leave(exit, result); };
}

// ---- Stories ----

Story::Story(const Fault &with) : fault(with) {
    outcome.memory.assign(kMemorySize, kUntouched);
}

int32_t Story::access(const Access &access) {
    if (fault.lacks(access.entry_point)) {
        then(missing_calls(access.entry_point));
        return -1;
    }
    then({access.call});
    if (fault.access == made++) {
        return fault.code;
    }
    leaves(access.delivers);
    return 0;
}

void Story::leaves(const Writes &writes) {
    apply(writes, outcome.memory);
}

// ---- Running them ----

const Exports &exports() {
    static const Exports all = [] {
        Exports every;
        for (const auto &family : {frame_exports(), port_exports(), vlan_exports(), forwarding_exports(),
                                   address_table_exports(), chip_exports()}) {
            every.insert(every.end(), family.begin(), family.end());
        }
        return every;
    }();
    return all;
}

Outcome observe(const Exported &exported, const Fault &fault, bool timed, Calls *all) {
    ScriptedPlatform platform;
    if (fault.unbound) {
        platform.libraries = {kConfigurationPath};
    }
    ksl_init();
    const Calls opening = platform.take();
    ksl_cfg_handle = nullptr;
    std::memset(block, kUntouched, sizeof block);
    for (const Access &access : exported.accesses) {
        if (access.entry_point == "hwa_getreg") {
            platform.successive_reads.push_back(access.answer);
        }
    }
    platform.clock_step = kClockStep;
    exported.prepare(platform);
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
    outcome.memory.assign(block, block + kMemorySize);
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

Outcome expect(const Exported &exported, const Outcome &good, const Fault &fault) {
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
    outcome.calls.assign(good.calls.begin(), good.calls.begin() + static_cast<std::ptrdiff_t>(position));
    Calls rest = fault.access == failing ? Calls{access.call} : missing_calls(access.entry_point);
    rest += access.failed(outcome.result);
    rest += exported.ending(outcome.result, failing);
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
