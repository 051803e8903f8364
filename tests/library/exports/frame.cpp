// SPDX-License-Identifier: Apache-2.0
// Lifecycle, timing, the shims of the lower library and the helpers of the operations.
#include "batch.h"

#include <algorithm>

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
            platform_call("dlopen libhwa.so RTLD_NOW|RTLD_GLOBAL"),
            platform_call("dlerror"),
            record(points::first_lower_library_missing, kOwnMemory, kOwnMemory),
            platform_call("dlopen libqrthwa.gen1.so RTLD_NOW|RTLD_GLOBAL"),
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

// ---- Rules for fuzzers ----

using fuzz::require;

int32_t fuzz_get_multireg(fuzz::Call &call) {
    const uint32_t count = call.input.up_to(6);
    auto *const requests = call.memory<ksl_reg_request>(count);
    for (uint32_t i = 0; i < count; ++i) {
        requests[i].page = call.input.byte();
        requests[i].offset = call.input.byte();
        requests[i].length = 1 + call.input.up_to(7);
    }
    const int32_t result = __hwa_get_multireg(call.chip, requests, count);
    for (uint32_t i = 0; i < count; ++i) {
        require(requests[i].length <= 8 && std::all_of(requests[i].data + requests[i].length, requests[i].data + 8,
                                                       [](uint8_t byte) { return byte == 0xA5; }),
                "a request receives no more than its length");
    }
    return result;
}

int32_t fuzz_send_command(fuzz::Call &call) {
    const uint32_t length = call.input.up_to(40);
    const uint8_t *const command = call.memory(length);
    uint32_t room = call.input.up_to(40);
    return __hwa_engpowercmd(command, length, call.memory(room), &room);
}

int32_t fuzz_get_macs(fuzz::Call &call) {
    uint32_t count = 8192;
    static ksl_raw_arl_entry table[8192];
    return __hwa_getmacs(call.chip, table, &count);
}

int32_t fuzz_print_status(fuzz::Call &call) {
    const uint32_t length = call.input.up_to(20);
    __print_status_array(call.memory(length), length);
    require(call.platform.records.size() == 1, "one record, whatever the length");
    return 0;
}

int32_t fuzz_copy_bytes(fuzz::Call &call) {
    const uint32_t length = call.input.up_to(20);
    const uint8_t *const source = call.memory(length);
    uint8_t *const copy = call.memory(length);
    require(__hwa_copy_status_bytes(source, copy, length) == copy, "a copy is where it was wanted");
    require(std::equal(copy, copy + length, source), "a copy has the bytes of its source");
    return 0;
}

int32_t fuzz_get_trace_buffer(fuzz::Call &) {
    uint32_t *buffer = nullptr;
    ksl_get_trace_buffer(&buffer);
    require(buffer == &ksl_trace_buffer, "the trace buffer is the library's own");
    return 0;
}

int32_t fuzz_print_time(fuzz::Call &call) {
    timeval times[2] = {};
    for (timeval &time : times) {
        time.tv_sec = static_cast<time_t>(call.input.word());
        time.tv_usec = static_cast<suseconds_t>(call.input.word() & 0xFFFFF);
    }
    __print_time_diff(&times[0], &times[1]);
    return 0;
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
         .fuzz = {fuzz_get_trace_buffer},
         .run =
             [] {
                 ksl_get_trace_buffer(memory_as<uint32_t *>());
                 return 0;
             },
         .at_once = {{0, address_bytes(&ksl_trace_buffer)}}},
        {.name = "ksl_enable_time",
         .fuzz = {[](fuzz::Call &) { return ksl_enable_time(), 0; }},
         .run =
             [] {
                 ksl_enable_time();
                 return static_cast<int32_t>(ksl_time_enabled);
             },
         .result = 1},
        {.name = "ksl_disable_time",
         .fuzz = {[](fuzz::Call &) { return ksl_disable_time(), 0; }},
         .run =
             [] {
                 ksl_disable_time();
                 return static_cast<int32_t>(ksl_time_enabled);
             }},

        {.name = "__hwa_getreg",
         .fuzz = {[](fuzz::Call &call) { return call.access(__hwa_getreg); }, fuzz::Result::first_failure,
                  fuzz::Outputs::partly_written},
         .run = [=] { return __hwa_getreg(kChip, 0x101, 0x1FF, 2, bytes()); },
         .accesses = {{"hwa_getreg", getreg(kChipLow, 0x01, 0xFF, 2), {1, 2}, nothing_traced, {{0, {1, 2}}}}},
         .reads_into_memory = true},
        {.name = "__hwa_get_multireg",
         .fuzz = {fuzz_get_multireg, fuzz::Result::last_access, fuzz::Outputs::partly_written},
         .run = run_batch,
         .prepare = [](ScriptedPlatform &platform) { answer_batch(platform, kBatch); },
         .story = batch_story},
        {.name = "__hwa_get_multireg",
         .fuzz = {fuzz_get_multireg, fuzz::Result::last_access, fuzz::Outputs::partly_written},
         .run = run_batch,
         .prepare = [](ScriptedPlatform &platform) { answer_batch(platform, kBatch); },
         .without = {"hwa_get_multireg"},
         .story = batch_story},
        {.name = "__hwa_setreg",
         .fuzz = {[](fuzz::Call &call) { return call.access(__hwa_setreg); }},
         .run =
             [] {
                 const uint8_t written[] = {1, 2, 3};
                 return __hwa_setreg(kChip, 0x101, 0x1FF, 3, written);
             },
         .accesses = {{"hwa_setreg", setreg(kChipLow, 0x01, 0xFF, {1, 2, 3}), {}, nothing_traced, {}}}},
        {.name = "__hwa_getmacs",
         .fuzz = {fuzz_get_macs},
         .run = [=] { return __hwa_getmacs(kChip, bytes(), number()); },
         .accesses = {other("hwa_getmacs", "0x2 * *", nothing_traced)},
         .prepare = [](ScriptedPlatform &platform) { platform.on_getmacs = [](void *, uint32_t *) {}; }},
        {.name = "__hwa_engpowercmd",
         .fuzz = {fuzz_send_command, fuzz::Result::first_failure, fuzz::Outputs::partly_written},
         .run = [=] { return __hwa_engpowercmd(bytes(), 5, bytes(), number()); },
         .accesses = {other("hwa_engpowercmd", "* 0x5 * *", nothing_traced)}},
        {.name = "__hwa_setswitchconfig",
         .fuzz = {[](fuzz::Call &call) { return __hwa_setswitchconfig(call.chip, call.input.word()); }},
         .run = [] { return __hwa_setswitchconfig(kChip, 0x101); },
         .accesses = {other("hwa_setswitchconfig", "0x2 0x101", nothing_traced)}},
        {.name = "__hwa_setmacfilter",
         .fuzz = {[](fuzz::Call &call) { return __hwa_setmacfilter(call.chip, call.input.word()); }},
         .run = [] { return __hwa_setmacfilter(kChip, 0x101); },
         .accesses = {other("hwa_setmacfilter", "0x2 0x101", nothing_traced)}},
        {.name = "__hwa_reset_switch_chip",
         .fuzz = {[](fuzz::Call &call) { return __hwa_reset_switch_chip(call.chip); }},
         .run = [] { return __hwa_reset_switch_chip(kChip); },
         .accesses = {other("hwa_resetswitch", "0x102", nothing_traced)}},

        {.name = "__print_status_array",
         .fuzz = {fuzz_print_status},
         .run = [=] { return __print_status_array(bytes(), 4); }},
        {.name = "__print_time_diff",
         .fuzz = {fuzz_print_time},
         .run =
             [] {
                 const timeval time{5, 6};
                 return __print_time_diff(&time, &time);
             }},
        {.name = "__hwa_copy_status_bytes",
         .fuzz = {fuzz_copy_bytes},
         .run =
             [] {
                 const uint8_t source[] = {1, 2, 3};
                 return __hwa_copy_status_bytes(source, memory(), 3) == memory() ? 0 : -1;
             },
         .at_once = {{0, {1, 2, 3}}}},
    };
}

} // namespace ksl::test
