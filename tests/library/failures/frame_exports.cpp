// SPDX-License-Identifier: Apache-2.0
// Lifecycle, timing, the shims of the lower library and the helpers of the operations.
#include "batch.h"

namespace ksl::test {

namespace {

Calls nothing_traced(int32_t) {
    return {};
}

// It binds the library anew where none is bound.
void init_story(Story &story) {
    story.then({platform_call("trace_kbuf_init_buffer ksl_trace_buffer XKSL 32768")});
    if (story.fault.unbound) {
        story.then({
            platform_call("dlopen libhwa.so 258"),
            platform_call("dlerror"),
            record(points::first_lower_library_missing, kOwnMemory, kOwnMemory),
            platform_call("dlopen libqrthwa.gen1.so 258"),
            platform_call("dlerror"),
            record(points::second_lower_library_missing, kOwnMemory, kOwnMemory),
        });
    } else {
        story.then({record(points::lower_library_already_bound)});
    }
    story.then({platform_call("malloc 131072")});
}

void terminate_story(Story &story) {
    story.then({platform_call("trace_kbuf_free ksl_trace_buffer")});
    if (!story.fault.unbound) {
        story.then({platform_call("dlclose first")});
    }
    story.then({platform_call("free an allocated block")});
}

const Batch kBatch{{{0x11, 0x12}, {1, 2, 3, 4}}, {{0x21, 0x22}, {5, 6, 7}}, {{0x31, 0x32}, {8}}};

int32_t run_batch() {
    const auto requests = memory_as<ksl_reg_request>();
    for (size_t i = 0; i < kBatch.size(); ++i) {
        requests[i] = {static_cast<uint8_t>(kBatch[i].place.page),
                       static_cast<uint8_t>(kBatch[i].place.offset),
                       {},
                       static_cast<uint32_t>(kBatch[i].answer.size()),
                       {}};
    }
    return __hwa_get_multireg(kChip, requests, static_cast<uint32_t>(kBatch.size()));
}

void batch_story(Story &story) {
    std::vector<Bytes> data(kBatch.size());
    story.outcome.result = make_batch(story, kBatch, data);
    for (size_t i = 0; i < kBatch.size(); ++i) {
        const Request &request = kBatch[i];
        const Bytes length = native(static_cast<uint32_t>(request.answer.size()));
        Bytes bytes{static_cast<uint8_t>(request.place.page), static_cast<uint8_t>(request.place.offset), 0, 0};
        bytes.insert(bytes.end(), length.begin(), length.end());
        data[i].resize(8);
        bytes.insert(bytes.end(), data[i].begin(), data[i].end());
        story.leaves({{i * 16, bytes}});
    }
}

Bytes address_bytes(const void *pointer) {
    const auto bytes = reinterpret_cast<const uint8_t *>(&pointer);
    return {bytes, bytes + sizeof pointer};
}

} // namespace

Exports frame_exports() {
    const auto bytes = [] { return memory(); };
    const auto number = [] { return memory_as<uint32_t>(); };
    return {
        {.name = "ksl_init",
         .run =
             [] {
                 ksl_init();
                 return 0;
             },
         .story = init_story},
        {.name = "ksl_terminate",
         .run =
             [] {
                 ksl_terminate();
                 return 0;
             },
         .story = terminate_story},
        {.name = "ksl_get_trace_buffer",
         .run =
             [] {
                 ksl_get_trace_buffer(memory_as<uint32_t *>());
                 return 0;
             },
         .at_once = {{0, address_bytes(&ksl_trace_buffer)}}},
        {.name = "ksl_enable_time",
         .run =
             [] {
                 ksl_enable_time();
                 return static_cast<int32_t>(ksl_time_enabled);
             },
         .result = 1},
        {.name = "ksl_disable_time",
         .run =
             [] {
                 ksl_disable_time();
                 return static_cast<int32_t>(ksl_time_enabled);
             }},

        {.name = "__hwa_getreg",
         .run = [=] { return __hwa_getreg(kChip, 0x101, 0x1FF, 2, bytes()); },
         .accesses = {{"hwa_getreg", getreg(kChipLow, 0x01, 0xFF, 2), {1, 2}, nothing_traced, {{0, {1, 2}}}}},
         .reads_into_memory = true},
        {.name = "__hwa_get_multireg",
         .run = run_batch,
         .prepare = [](ScriptedPlatform &platform) { answer_batch(platform, kBatch); },
         .story = batch_story},
        {.name = "__hwa_get_multireg",
         .run = run_batch,
         .prepare = [](ScriptedPlatform &platform) { answer_batch(platform, kBatch); },
         .without = {"hwa_get_multireg"},
         .story = batch_story},
        {.name = "__hwa_setreg",
         .run =
             [] {
                 const uint8_t written[] = {1, 2, 3};
                 return __hwa_setreg(kChip, 0x101, 0x1FF, 3, written);
             },
         .accesses = {{"hwa_setreg", setreg(kChipLow, 0x01, 0xFF, {1, 2, 3}), {}, nothing_traced, {}}}},
        {.name = "__hwa_getmacs",
         .run = [=] { return __hwa_getmacs(kChip, bytes(), number()); },
         .accesses = {other("hwa_getmacs", "0x2 * *", nothing_traced)},
         .prepare = [](ScriptedPlatform &platform) { platform.on_getmacs = [](void *, uint32_t *) {}; }},
        {.name = "__hwa_engpowercmd",
         .run = [=] { return __hwa_engpowercmd(bytes(), 5, bytes(), number()); },
         .accesses = {other("hwa_engpowercmd", "* 0x5 * *", nothing_traced)}},
        {.name = "__hwa_setswitchconfig",
         .run = [] { return __hwa_setswitchconfig(kChip, 0x101); },
         .accesses = {other("hwa_setswitchconfig", "0x2 0x101", nothing_traced)}},
        {.name = "__hwa_setmacfilter",
         .run = [] { return __hwa_setmacfilter(kChip, 0x101); },
         .accesses = {other("hwa_setmacfilter", "0x2 0x101", nothing_traced)}},
        {.name = "__hwa_reset_switch_chip",
         .run = [] { return __hwa_reset_switch_chip(kChip); },
         .accesses = {other("hwa_resetswitch", "0x102", nothing_traced)}},

        {.name = "__print_status_array", .run = [=] { return __print_status_array(bytes(), 4); }},
        {.name = "__print_time_diff",
         .run =
             [] {
                 const timeval time{5, 6};
                 return __print_time_diff(&time, &time);
             }},
        {.name = "__hwa_copy_status_bytes",
         .run =
             [] {
                 const uint8_t source[] = {1, 2, 3};
                 return __hwa_copy_status_bytes(source, memory(), 3) == memory() ? 0 : -1;
             },
         .at_once = {{0, {1, 2, 3}}}},
    };
}

} // namespace ksl::test
