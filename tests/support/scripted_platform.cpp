// SPDX-License-Identifier: Apache-2.0
#include "scripted_platform.h"

#include <dlfcn.h>
#include <hwa.h>
#include <trace_kbuf.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

// In this link malloc and free are the wrapped ones.
extern "C" void *__real_malloc(size_t size);
extern "C" void __real_free(void *block);

namespace ksl::test {

namespace {

ScriptedPlatform *script;

ScriptedPlatform &active() {
    if (script == nullptr) {
        std::fputs("the library called its platform outside of a ScriptedPlatform\n", stderr);
        std::abort();
    }
    return *script;
}

void note(const Call &call) {
    active().calls.push_back(call);
    if (active().on_call) {
        active().on_call(call.text);
    }
}

void note(const std::string &text) {
    note(Call{text});
}

void note_record(const char *operation, uint32_t descriptor, uint32_t header, uint32_t identifier,
                 const std::vector<uint32_t> &slots) {
    note(Call{record_text(operation, descriptor, header >> 16, identifier, slots), header & 0xFFFF, identifier,
              header >> 16});
}

// Their numbers differ from machine to machine.
std::string flags_text(int flags) {
    return flags == (RTLD_NOW | RTLD_GLOBAL) ? "RTLD_NOW|RTLD_GLOBAL" : std::to_string(flags);
}

// Folds the look-up that must be just before the call into it.
void note_entry_point(const std::string &name, const std::string &text) {
    Calls &calls = active().calls;
    if (!calls.empty() && calls.back().text == kLookup + name) {
        calls.pop_back();
        note("looked up " + text);
    } else {
        note("linked " + text);
    }
}

int32_t access_result(int32_t otherwise = 0) {
    ScriptedPlatform &platform = active();
    const auto failure = platform.failures.find(++platform.accesses);
    return failure == platform.failures.end() ? otherwise : failure->second;
}

void deliver(const Bytes &bytes, uint32_t length, uint8_t *buffer) {
    for (uint32_t i = 0; i < length && i < active().delivered_bytes; ++i) {
        buffer[i] = i < bytes.size() ? bytes[i] : uint8_t{0};
    }
}

Bytes next_read(uint8_t page, uint8_t offset) {
    ScriptedPlatform &platform = active();
    if (!platform.successive_reads.empty()) {
        const Bytes bytes = platform.successive_reads.front();
        platform.successive_reads.pop_front();
        return bytes;
    }
    const auto found = platform.registers.find({page, offset});
    return found == platform.registers.end() ? Bytes{} : found->second;
}

int32_t scripted_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    active().buffers.push_back(buffer);
    note_entry_point("hwa_getreg", access_text("hwa_getreg", chip, page, offset, length));
    const int32_t result = access_result();
    const Bytes bytes = next_read(page, offset);
    if (result == 0 || active().failing_reads_deliver) {
        deliver(bytes, length, buffer);
    }
    return result;
}

int32_t scripted_setreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, const uint8_t *buffer) {
    active().buffers.push_back(buffer);
    note_entry_point("hwa_setreg",
                     access_text("hwa_setreg", chip, page, offset, length) + " bytes:" + hex_bytes(buffer, length));
    return access_result();
}

template <class... Arguments>
int32_t noted(const std::string &name, Arguments... arguments) {
    note_entry_point(name, entry_point_text(name, {static_cast<uint64_t>(arguments)...}));
    return access_result(active().result);
}

int32_t scripted_get_multireg(uint8_t chip, ksl_reg_request *requests, uint32_t count) {
    if (active().on_get_multireg) {
        active().on_get_multireg(requests, count);
    }
    return noted("hwa_get_multireg", chip, whole_address(requests), count);
}

int32_t scripted_getmacs(uint8_t chip, void *entries, uint32_t *count) {
    if (active().on_getmacs) {
        active().on_getmacs(entries, count);
    } else {
        *count = 0;
    }
    return noted("hwa_getmacs", chip, whole_address(entries), whole_address(count));
}

int32_t scripted_engpowercmd(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length) {
    if (active().on_engpowercmd) {
        active().on_engpowercmd(command, length, response, response_length);
    }
    return noted("hwa_engpowercmd", whole_address(command), length, whole_address(response),
                 whole_address(response_length));
}

int32_t scripted_setswitchconfig(uint8_t chip, uint32_t configuration) {
    return noted("hwa_setswitchconfig", chip, configuration);
}

int32_t scripted_setmacfilter(uint8_t chip, uint32_t filter) {
    return noted("hwa_setmacfilter", chip, filter);
}

int32_t scripted_resetswitch(uint32_t chip) {
    return noted("hwa_resetswitch", chip);
}

int32_t scripted_get_cfg(const ksl_cfg_record **records) {
    note("__ksl_get_cfg");
    if (!active().configuration.empty()) {
        *records = active().configuration.data();
    }
    return active().configuration_result;
}

template <class Function>
void *pointer_to(Function *function) {
    return reinterpret_cast<void *>(function);
}

void *scripted_entry_point(const std::string &name) {
    static const std::map<std::string, void *> entry_points{
        {"hwa_getreg", pointer_to(scripted_getreg)},
        {"hwa_get_multireg", pointer_to(scripted_get_multireg)},
        {"hwa_setreg", pointer_to(scripted_setreg)},
        {"hwa_getmacs", pointer_to(scripted_getmacs)},
        {"hwa_engpowercmd", pointer_to(scripted_engpowercmd)},
        {"hwa_setswitchconfig", pointer_to(scripted_setswitchconfig)},
        {"hwa_setmacfilter", pointer_to(scripted_setmacfilter)},
        {"hwa_resetswitch", pointer_to(scripted_resetswitch)},
        {"__ksl_get_cfg", pointer_to(scripted_get_cfg)},
    };
    const auto found = entry_points.find(name);
    return found == entry_points.end() || active().missing_entry_points.count(name) != 0 ? nullptr : found->second;
}

std::string handle_text(const void *handle) {
    return handle == nullptr                ? "null"
           : handle == kFirstHandle         ? "first"
           : handle == kSecondHandle        ? "second"
           : handle == kConfigurationHandle ? "configuration"
                                            : "?";
}

char first_handle;
char second_handle;
char configuration_handle;
char loader_error[] = "cannot open shared object file";

} // namespace

void *const kFirstHandle = &first_handle;
void *const kSecondHandle = &second_handle;
void *const kConfigurationHandle = &configuration_handle;
const char *const kLoaderError = loader_error;

ScriptedPlatform::ScriptedPlatform() {
    script = this;
}

ScriptedPlatform::~ScriptedPlatform() {
    script = nullptr;
    for (void *block : allocated) {
        __real_free(block);
    }
}

Calls ScriptedPlatform::take() {
    accesses = 0;
    buffers = {};
    return std::exchange(calls, {});
}

} // namespace ksl::test

// ---- What the library is linked with ----

using namespace ksl::test;

#pragma GCC visibility push(default)
extern "C" {

int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    return scripted_getreg(chip, page, offset, length, buffer);
}

int trace_kbuf_init_buffer(uint32_t *descriptor, const char *name, uint32_t size) {
    note("trace_kbuf_init_buffer " + std::string(descriptor == &ksl_trace_buffer ? "ksl_trace_buffer " : "? ") + name +
         " " + std::to_string(size));
    *descriptor = kDescriptor;
    return active().trace_result;
}

int trace_kbuf_write_ints5(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4) {
    note_record("write_ints5", descriptor, header, identifier, {v0, v1, v2, v3, v4});
    return active().trace_result;
}

int trace_kbuf_write_ints9(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7, uint32_t v8) {
    note_record("write_ints9", descriptor, header, identifier, {v0, v1, v2, v3, v4, v5, v6, v7, v8});
    return active().trace_result;
}

int trace_kbuf_write_all(uint32_t descriptor, uint32_t identifier, const char *text, uint32_t line, uint32_t zero) {
    if (std::strcmp(text, " ") != 0 || zero != 0) {
        note("write_all with text \"" + std::string(text) + "\" and " + std::to_string(zero));
    }
    note_record("write_all", descriptor, line, identifier, {});
    return active().trace_result;
}

int trace_kbuf_free(uint32_t *descriptor) {
    note("trace_kbuf_free " + std::string(descriptor == &ksl_trace_buffer ? "ksl_trace_buffer" : "?"));
    *descriptor = 0;
    return 0;
}

void *__wrap_dlopen(const char *file, int flags) {
    note("dlopen " + std::string(file) + " " + flags_text(flags));
    active().opened_names.push_back(file);
    if (active().libraries.count(file) == 0) {
        return nullptr;
    }
    return std::strcmp(file, "libhwa.so") == 0          ? kFirstHandle
           : std::strcmp(file, kConfigurationPath) == 0 ? kConfigurationHandle
                                                        : kSecondHandle;
}

char *__wrap_dlerror() {
    note("dlerror");
    return loader_error;
}

int __wrap_dlclose(void *handle) {
    note("dlclose " + handle_text(handle));
    return active().close_result;
}

void *__wrap_dlsym(void *handle, const char *name) {
    const bool of_configuration = std::strcmp(name, "__ksl_get_cfg") == 0;
    if (handle != (of_configuration ? ksl_cfg_handle : ksl_hwa_handle)) {
        note("dlsym through the wrong handle, " + handle_text(handle));
    }
    void *const found = scripted_entry_point(name);
    note(kLookup + name + (found == nullptr ? ": missing" : ""));
    return found;
}

int __wrap_gettimeofday(timeval *time, void *zone) {
    const char *const which = time == &ksl_start_time ? "start" : time == &ksl_end_time ? "end" : "?";
    note("gettimeofday " + std::string(which) + (zone == &ksl_time_zone ? "" : " without ksl_time_zone"));
    ScriptedPlatform &platform = active();
    *time = platform.now;
    const auto microseconds = static_cast<uint32_t>(platform.now.tv_usec) + platform.clock_step;
    platform.now.tv_sec += microseconds / 1000000;
    platform.now.tv_usec = microseconds % 1000000;
    return 0;
}

void *__wrap_malloc(size_t size) {
#ifdef KSL_COVERAGE
    // The counters' own code is in the same link, and writes its files when the program ends.
    if (script == nullptr) {
        return __real_malloc(size);
    }
#endif
    note("malloc " + std::to_string(size));
    if (active().malloc_fails) {
        return nullptr;
    }
    active().allocated.push_back(__real_malloc(size));
    return active().allocated.back();
}

void __wrap_free(void *block) {
#ifdef KSL_COVERAGE
    if (script == nullptr) {
        return __real_free(block);
    }
#endif
    auto &allocated = active().allocated;
    const auto found = std::find(allocated.begin(), allocated.end(), block);
    note("free " + std::string(block == nullptr ? "null" : found == allocated.end() ? "?" : "an allocated block"));
    if (found != allocated.end()) {
        allocated.erase(found);
        __real_free(block);
    }
}
}
#pragma GCC visibility pop
