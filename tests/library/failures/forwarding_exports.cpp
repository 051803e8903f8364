// SPDX-License-Identifier: Apache-2.0
// Counters, age timer, control registers, trunk groups, mirroring and learning limits.
#include "batch.h"
#include "mib_counters.h"

#include "forwarding/trace_points.h"
#include "port/trace_points.h"

namespace ksl::test {

namespace {

constexpr uint32_t kFirstPage = 0x50;

// Told apart by their page, their offset and the place of the byte.
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

// The operations that gather the control registers, by the access at which each begins.
Calls leave_control_registers(int32_t result, size_t access) {
    const auto step = [&]() -> Calls {
        switch (access) {
        case 0:
            return leave(points::read_switch_mode_reg_exit, memory()) +=
                   {record(points::read_cntrl_regs_switch_mode_failed)};
        case 1:
            return leave(points::read_bist_status_reg_exit, kUntouched >> 7) +=
                   {record(points::read_cntrl_regs_bist_status_failed)};
        case 2:
        case 3:
            return leave(points::read_link_status_regs_exit, memory(16), result) +=
                   {record(points::read_cntrl_regs_link_status_failed)};
        case 4:
            return leave(points::read_port_speed_reg_exit, memory(20)) +=
                   {record(points::read_cntrl_regs_port_speed_failed)};
        case 5:
            return leave(points::read_port_duplex_reg_exit, memory(24)) +=
                   {record(points::read_cntrl_regs_port_duplex_failed)};
        default:
            return leave(points::read_age_timer_reg_exit, 0xEEEEE, result) +=
                   {record(points::read_cntrl_regs_age_timer_failed)};
        }
    };
    return step() += leave(points::read_cntrl_regs_exit, result);
}

} // namespace

Exports forwarding_exports() {
    const auto number = [] { return memory_as<uint32_t>(); };
    const auto blocks = [] { return memory_as<ksl_mib_port_block>(); };
    const Bytes trunk{0x08, 0, 0, 0x18};
    return {
        {.name = "ksl_read_MIB_counters_at_port",
         .run = [=] { return ksl_read_MIB_counters_at_port(kChip, kPort, blocks()); },
         .prepare = answer_counters,
         .story = port_story},
        {.name = "ksl_read_MIB_counters_at_port",
         .run = [=] { return ksl_read_MIB_counters_at_port(kChip, kPort, blocks()); },
         .prepare = answer_counters,
         .without = {"hwa_get_multireg"},
         .story = port_story},
        {.name = "ksl_read_MIB_counters",
         .run = [=] { return ksl_read_MIB_counters(kChip, blocks()); },
         .prepare = answer_counters,
         .story = all_ports_story},

        {.name = "ksl_read_age_timer_reg",
         .run = [] { return ksl_read_age_timer_reg(kChip, memory_as<ksl_word>()); },
         .accesses = {read(2, 0x06, {1, 2, 3, 4}, {{0, {1, 2, 3, 4}}})},
         // The age time of the word that the caller had there.
         .ending = [](int32_t result, size_t) { return leave(points::read_age_timer_reg_exit, 0xEEEEE, result); }},
        {.name = "ksl_set_age_timer_reg",
         .run = [] { return ksl_set_age_timer_reg(kChip, 0x123456); },
         .accesses = {write(2, 0x06, {0x00, 0x02, 0x34, 0x56})},
         .ending = leave_with_result(points::set_age_timer_reg_exit)},
        {.name = "ksl_read_cntrl_regs",
         .run = [] { return ksl_read_cntrl_regs(kChip, memory_as<ksl_cntrl_regs>()); },
         .accesses = {read(0, 0x00, {0x5A}, {{0, {0x5A, 0, 0, 0}}}),
                      read(1, 0x00, {1, 2, 3, 4, 5, 6}, {{4, {1, 2, 3, 4, 5, 6, 0, 0}}}),
                      read(1, 0x10, {11, 12, 13, 14}, {{12, {11, 12, 13, 14}}}),
                      read(1, 0x14, {21, 22, 23, 24}, {{16, {21, 22, 23, 24}}}),
                      read(1, 0x18, {31, 32, 33, 34}, {{20, {31, 32, 33, 34}}}),
                      read(1, 0x1C, {41, 42, 43, 44}, {{24, {41, 42, 43, 44}}}),
                      read(2, 0x06, {51, 52, 53, 54}, {{28, {51, 52, 53, 54}}})},
         .ending = leave_control_registers},

        {.name = "ksl_read_trunk_group_regs",
         .run = [] { return ksl_read_trunk_group_regs(kChip, memory_as<ksl_trunk_group_regs>()); },
         .accesses = {read(0x32, 0x00, {0x02}, {{0, {0x02, 0, 0, 0}}}), read(0x32, 0x10, trunk, {{4, trunk}}),
                      read(0x32, 0x10, trunk, {{8, trunk}})},
         .ending = leave_with_result(points::read_trunk_group_regs_exit)},
        {.name = "ksl_validate_trunk_group",
         .run = [=] { return ksl_validate_trunk_group(kChip, 0, 3, 4, number()); },
         .accesses = {read(0x32, 0x00, {0x02}), read(0x32, 0x10, trunk), read(0x32, 0x10, trunk, {{0, native(1)}})},
         .ending =
             [](int32_t result, size_t) {
                 Calls calls = leave(points::read_trunk_group_regs_exit, result);
                 calls += {record(points::validate_trunk_group_read_failed)};
                 return calls += leave(points::validate_trunk_group_exit, result);
             },
         .at_once = {{0, native(0)}}},

        {.name = "ksl_set_mirror_port",
         .run = [] { return ksl_set_mirror_port(kChip, 5, 0, 3); },
         .accesses = {write(2, 0x10, {0x80, 0, 0, 0x20}), write(2, 0x14, {0, 0, 0, 0}),
                      write(2, 0x20, {0, 0, 0, 0x0F})},
         .ending = leave_with_result(points::set_mirror_port_exit)},
        {.name = "ksl_unset_mirror_port",
         .run = [] { return ksl_unset_mirror_port(kChip, 5); },
         // Its failed write leaves the record of a failed read.
         .accesses = {write(2, 0x10, {0, 0, 0, 0}, points::register_read_failed)},
         .ending = leave_with_result(points::unset_mirror_port_exit)},

        {.name = "ksl_get_SA_count_at_port",
         .run = [=] { return ksl_get_SA_count_at_port(kChip, kPort, number()); },
         .accesses = {read(0x41, 0x36, {0xFF, 0x07}, {{0, native(0x1F07)}}, points::get_sa_count_at_port_read_failed)},
         .ending = [](int32_t result, size_t) { return leave(points::get_sa_count_at_port_exit, result, kPort, 1234); },
         .at_once = {{0, native(1234)}}},
        {.name = "ksl_get_learning_threshold_at_port",
         .run = [=] { return ksl_get_learning_threshold_at_port(kChip, kPort, number()); },
         .accesses = {read(0x41, 0x76, {0xFF, 0x07}, {{0, native(0x1F07)}},
                           points::get_learning_threshold_at_port_read_failed)},
         .ending = [](int32_t result,
                      size_t) { return leave(points::get_learning_threshold_at_port_exit, result, kPort, 1234); },
         .at_once = {{0, native(1234)}}},
        {.name = "ksl_set_learning_threshold_at_port",
         .run = [] { return ksl_set_learning_threshold_at_port(kChip, kPort, 8191); },
         .accesses = {write(0x41, 0x76, {0x1F, 0xFF}, points::second_register_write_failed)},
         .ending = [](int32_t result,
                      size_t) { return leave(points::set_learning_threshold_at_port_exit, result, kPort, 8191); }},
        // Nothing is sent.
        {.name = "ksl_set_MAC_filter", .run = [] { return ksl_set_MAC_filter(kChip, 9); }},
    };
}

} // namespace ksl::test
