// SPDX-License-Identifier: Apache-2.0
// The MIB counters of one port and of all.
#include "batch.h"
#include "mib_counters.h"

#include "forwarding/trace_points.h"

namespace ksl::test {

namespace {

constexpr uint32_t kFirstPage = 0x50;

// They differ by their page, their offset and the place of the byte.
Bytes counter(uint32_t page, const RequestedCounter &row) {
    Bytes bytes;
    for (uint32_t i = 0; i < row.length; ++i) {
        bytes.push_back(static_cast<uint8_t>(page * 31 + row.offset * 5 + i * 67));
    }
    return bytes;
}

Batch counters_of(uint32_t port) {
    Batch batch;
    for (const RequestedCounter &row : kRequestedCounters) {
        batch.push_back({{kFirstPage + port, row.offset}, counter(kFirstPage + port, row)});
    }
    return batch;
}

void answer_counters(ScriptedPlatform &platform) {
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        answer_batch(platform, counters_of(port));
    }
}

uint32_t word_at(const Bytes &bytes, size_t at) {
    return uint32_t{bytes[at]} << 24 | uint32_t{bytes[at + 1]} << 16 | uint32_t{bytes[at + 2]} << 8 | bytes[at + 3];
}

int32_t tell_port(Story &story, uint32_t port) {
    story.then({stamp_start(), record(points::read_mib_counters_at_port_entry, kChip, port)});
    std::vector<Bytes> data;
    const int32_t result = make_batch(story, counters_of(port), data);
    if (result != 0) {
        story.then({record(points::read_mib_counters_at_port_read_failed, kChip, kOwnMemory,
                           static_cast<uint32_t>(data.size()), result)});
    } else {
        for (size_t i = 0; i < data.size(); ++i) {
            const RequestedCounter &row = kRequestedCounters[i];
            // A counter whose own read has failed is zero.
            data[i].resize(row.length);
            story.leaves({{port * sizeof(ksl_mib_port_block) + row.position, data[i]}});
            story.then(
                {record(points::read_mib_counters_at_port_counter, port, word_at(data[i], row.traced - row.position))});
        }
    }
    story.then(leave(points::read_mib_counters_at_port_exit, result));
    return result;
}

void port_story(Story &story) {
    story.outcome.result = tell_port(story, kPort);
}

// A failed port hides no other, and the last one's result is that of all.
void all_ports_story(Story &story) {
    story.then({record(points::read_mib_counters_entry, kChip)});
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        story.outcome.result = tell_port(story, port);
        if (story.outcome.result != 0) {
            story.then({record(points::read_mib_counters_port_failed, kChip, port, story.outcome.result)});
        }
    }
    story.then(leave(points::read_mib_counters_exit, story.outcome.result));
}

// ---- Rules for fuzzers ----

using fuzz::require;

int32_t fuzz_read_mib_at_port(fuzz::Call &call) {
    auto *const blocks = call.memory_or_null<ksl_mib_port_block>(KSL_PORTS);
    const uint32_t port = call.port();
    const int32_t result = ksl_read_MIB_counters_at_port(call.chip, port, blocks);
    if (!call.refused()) {
        require(call.outputs().front().is_untouched_from((port + 1) * sizeof *blocks), "other ports keep their blocks");
    }
    return result;
}

} // namespace

Exports counter_exports() {
    const auto blocks = [] { return memory_as<ksl_mib_port_block>(); };
    return {
        {.name = "ksl_read_MIB_counters_at_port",
         .frame = {{points::read_mib_counters_at_port_entry, points::read_mib_counters_at_port_exit, {kChip, kPort}}},
         .fuzz = {fuzz_read_mib_at_port, fuzz::Result::last_access},
         .run = [=] { return ksl_read_MIB_counters_at_port(kChip, kPort, blocks()); },
         .prepare = answer_counters,
         .story = port_story},
        {.name = "ksl_read_MIB_counters_at_port",
         .frame = {{points::read_mib_counters_at_port_entry, points::read_mib_counters_at_port_exit, {kChip, kPort}}},
         .fuzz = {fuzz_read_mib_at_port, fuzz::Result::last_access},
         .run = [=] { return ksl_read_MIB_counters_at_port(kChip, kPort, blocks()); },
         .prepare = answer_counters,
         .without = {"hwa_get_multireg"},
         .story = port_story},
        {.name = "ksl_read_MIB_counters",
         .frame = {{.entry = points::read_mib_counters_entry,
                    .exit = points::read_mib_counters_exit,
                    .inner_operations = KSL_PORTS,
                    .stamps_its_start = false}},
         .fuzz = {[](fuzz::Call &call) {
                      return ksl_read_MIB_counters(call.chip, call.memory<ksl_mib_port_block>(KSL_PORTS));
                  },
                  fuzz::Result::last_access, fuzz::Outputs::partly_written},
         .run = [=] { return ksl_read_MIB_counters(kChip, blocks()); },
         .prepare = answer_counters,
         .story = all_ports_story},
    };
}

} // namespace ksl::test
