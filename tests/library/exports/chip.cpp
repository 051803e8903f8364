// SPDX-License-Identifier: Apache-2.0
// Hub firmware version, reset, hub configuration and raw registers.
#include "batch.h"

#include "chip/trace_points.h"

#include <algorithm>

namespace ksl::test {

namespace {

// In the order in which they are dumped; the one that is there twice is read twice.
const Batch kDumped{
    {{0x00, 0x00}, {0x01}},           {{0x01, 0x00}, {1, 2, 3, 4, 5, 6}},
    {{0x02, 0x06}, {11, 12, 13, 14}}, {{0x08, 0x32}, {21, 22, 23}},
    {{0x32, 0x00}, {0x31}},           {{0x32, 0x00}, {0x31}},
    {{0x34, 0x00}, {0x41}},           {{0x34, 0x01}, {0x42}},
    {{0x34, 0x02}, {0x43}},           {{0x34, 0x07}, {0x44}},
    {{0x34, 0x08}, {0x45}},
};

Call dump(const Bytes &bytes) {
    const std::map<size_t, TracePoint> points{{1, points::status_bytes_1},
                                              {3, points::status_bytes_3},
                                              {4, points::status_bytes_4},
                                              {6, points::status_bytes_6}};
    return record(points.at(bytes.size()), std::vector<uint32_t>(bytes.begin(), bytes.end()));
}

void dump_story(Story &story) {
    story.then({stamp_start(), record(points::dump_reg_entry, kChip)});
    std::vector<Bytes> data;
    const int32_t result = make_batch(story, kDumped, data);
    if (result != 0) {
        story.then({record(points::dump_reg_failed, result)});
    } else {
        for (size_t i = 0; i < data.size(); ++i) {
            const Request &request = kDumped[i];
            // A register whose own read has failed is zero.
            data[i].resize(request.answer.size());
            story.then({record(points::dump_reg_register, request.place.page, request.place.offset,
                               static_cast<uint32_t>(data[i].size())),
                        dump(data[i])});
        }
    }
    story.then(leave(points::dump_reg_exit, result));
    story.outcome.result = result;
}

const Bytes kVersion{1, 2, 3, 4, 5, 6, 7, 8, 9};

// An answer counts for nothing where the command fails.
void answer_command(ScriptedPlatform &platform) {
    platform.on_engpowercmd = [](const uint8_t *, uint32_t, uint8_t *response, uint32_t *length) {
        std::copy(kVersion.begin(), kVersion.end(), response);
        *length = 9;
    };
}

// ---- Rules for fuzzers ----

using fuzz::require;

int32_t fuzz_read_firmware(fuzz::Call &call) {
    auto &version = call.output(9);
    auto *const length = call.memory<uint32_t>();
    const int32_t result = ksl_read_EPN_firmware_version(call.chip, version.get(), length);
    require(result != 0 || *length == 9, "a version has 9 bytes");
    return result;
}

int32_t fuzz_set_configuration(fuzz::Call &call) {
    const uint32_t configuration = call.input.up_to(4);
    call.refuse(configuration > 2);
    return dbg_ksl_set_EPN_configuration(call.chip, configuration);
}

} // namespace

Exports chip_exports() {
    return {
        {.name = "ksl_read_EPN_firmware_version",
         .frame = {{points::read_epn_firmware_version_entry, points::read_epn_firmware_version_exit}},
         .fuzz = {fuzz_read_firmware},
         .run = [] { return ksl_read_EPN_firmware_version(kChip, memory(16), memory_as<uint32_t>()); },
         .accesses = {other("hwa_engpowercmd", "* 0xf * *",
                            [](int32_t) { return Calls{record(points::read_epn_firmware_version_command_failed)}; },
                            {{0, native(9)}, {16, kVersion}})},
         .prepare = answer_command},
        {
            .name = "ksl_reset_switch",
            .frame = {{points::reset_switch_entry, points::reset_switch_exit}},
            .fuzz = {[](fuzz::Call &call) { return ksl_reset_switch(call.chip); }},
            .run = [] { return ksl_reset_switch(kChip); },
            .accesses = {other("hwa_resetswitch", "0x102",
                               [](int32_t) { return Calls{record(points::reset_switch_failed, kChip)}; })},
        },
        {
            .name = "dbg_ksl_set_EPN_configuration",
            .frame = {{points::set_epn_configuration_entry, points::set_epn_configuration_exit, {kChip, 2}}},
            .fuzz = {fuzz_set_configuration},
            .run = [] { return dbg_ksl_set_EPN_configuration(kChip, 2); },
            .accesses = {other(
                "hwa_setswitchconfig", "0x2 0x2",
                [](int32_t code) { return Calls{record(points::set_epn_configuration_failed, kChip, 2, code)}; })},
        },
        {.name = "dbg_ksl_get_reg",
         .frame = {{points::get_reg_entry, points::get_reg_exit, {kChip, 0x134, 0x102, 3}}},
         .fuzz = {[](fuzz::Call &call) { return call.access(dbg_ksl_get_reg); }, fuzz::Result::first_failure,
                  fuzz::Outputs::partly_written},
         .run = [] { return dbg_ksl_get_reg(kChip, 0x134, 0x102, 3, memory()); },
         .accesses = {{"hwa_getreg",
                       getreg(kChipLow, 0x34, 0x02, 3),
                       {1, 2, 3},
                       [](int32_t) { return Calls{record(points::get_reg_failed, kChip, 0x134, 0x102, 3)}; },
                       {{0, {1, 2, 3}}}}},
         .reads_into_memory = true},
        {
            .name = "dbg_ksl_set_reg",
            .frame = {{points::set_reg_entry, points::set_reg_exit, {kChip, 0x134, 0x102, 3}}},
            .fuzz = {[](fuzz::Call &call) { return call.access(dbg_ksl_set_reg); }},
            .run =
                [] {
                    const uint8_t written[] = {1, 2, 3};
                    return dbg_ksl_set_reg(kChip, 0x134, 0x102, 3, written);
                },
            .accesses = {{"hwa_setreg",
                          setreg(kChipLow, 0x34, 0x02, {1, 2, 3}),
                          {},
                          [](int32_t) { return Calls{record(points::set_reg_failed, kChip, 0x134, 0x102, 3)}; },
                          {}}},
        },
        {.name = "dbg_ksl_dump_reg",
         .frame = {{points::dump_reg_entry, points::dump_reg_exit}},
         .fuzz = {[](fuzz::Call &call) { return dbg_ksl_dump_reg(call.chip); }, fuzz::Result::last_access},
         .run = [] { return dbg_ksl_dump_reg(kChip); },
         .prepare = [](ScriptedPlatform &platform) { answer_batch(platform, kDumped); },
         .story = dump_story},
        {.name = "dbg_ksl_dump_reg",
         .frame = {{points::dump_reg_entry, points::dump_reg_exit}},
         .fuzz = {[](fuzz::Call &call) { return dbg_ksl_dump_reg(call.chip); }, fuzz::Result::last_access},
         .run = [] { return dbg_ksl_dump_reg(kChip); },
         .prepare = [](ScriptedPlatform &platform) { answer_batch(platform, kDumped); },
         .without = {"hwa_get_multireg"},
         .story = dump_story},
    };
}

} // namespace ksl::test
