// SPDX-License-Identifier: Apache-2.0
#include "platform.h"

#include "frame/trace.h"
#include "require.h"

#include <hwa.h>
#include <trace_kbuf.h>

#include <cstring>
#include <string_view>
#include <unordered_map>

namespace fuzz {

namespace {

constexpr uint32_t kDescriptor = 0x5EED0001;

Platform *platform;

Platform &active() {
    require(platform != nullptr, "the library is called within a platform");
    return *platform;
}

char lower_handle;
char configuration_handle;
char loader_error[] = "no such library";

// ---- The lower library ----

// One in four accesses of random bytes fails, and none where the bytes are used up.
bool fails(uint8_t control) {
    return control >= 0xC0;
}

int32_t failure_code(Input &input) {
    const auto code = static_cast<int32_t>(input.word());
    return code == 0 ? 1 : code;
}

void deliver(uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    if (!active().content || !active().content(page, offset, length, buffer)) {
        active().input.fill(buffer, length);
    }
}

bool cut_off() {
    return active().accesses >= kCutOff;
}

int32_t getreg(uint8_t, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    if (cut_off()) {
        std::memset(buffer, 0, length);
        return active().access(0);
    }
    Input &input = active().input;
    const uint8_t control = input.byte();
    const bool failed = fails(control);
    // A failing read may deliver, too.
    if (!failed || (control & 1) != 0) {
        deliver(page, offset, length, buffer);
    }
    return active().access(failed ? failure_code(input) : 0);
}

int32_t any_result() {
    Input &input = active().input;
    return active().access(!cut_off() && fails(input.byte()) ? failure_code(input) : 0);
}

int32_t setreg(uint8_t, uint8_t, uint8_t, uint32_t length, const uint8_t *buffer) {
    look_at(buffer, length);
    return any_result();
}

int32_t get_multireg(uint8_t, ksl_reg_request *requests, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        require(requests[i].length >= 1 && requests[i].length <= sizeof requests[i].data,
                "a register has 1 to 8 bytes");
        deliver(requests[i].page, requests[i].offset, requests[i].length, requests[i].data);
    }
    return any_result();
}

int32_t getmacs(uint8_t, void *entries, uint32_t *count) {
    require(*count == 8192, "there is room for the whole table");
    look_at(static_cast<const ksl_raw_arl_entry *>(entries) + *count - 1, sizeof(ksl_raw_arl_entry));
    const uint32_t filled = active().input.up_to(40);
    active().input.fill(static_cast<uint8_t *>(entries), filled * sizeof(ksl_raw_arl_entry));
    // It may also speak of more than it has.
    *count = active().input.flag() ? active().input.word() : filled;
    active().found = *count;
    return any_result();
}

int32_t engpowercmd(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length) {
    look_at(command, length);
    active().input.fill(response, *response_length);
    *response_length = active().input.word();
    return any_result();
}

int32_t setswitchconfig(uint8_t, uint32_t) {
    return any_result();
}

int32_t setmacfilter(uint8_t, uint32_t) {
    return any_result();
}

int32_t resetswitch(uint32_t) {
    return any_result();
}

int32_t get_cfg(const ksl_cfg_record **list) {
    *list = active().list;
    return active().list_result;
}

template <class Function>
void *pointer_to(Function *function) {
    return reinterpret_cast<void *>(function);
}

struct EntryPoint {
    std::string_view name;
    void *function;
};

void *find_entry_point(std::string_view name) {
    static const EntryPoint all[] = {
        {"hwa_getreg", pointer_to(getreg)},
        {"hwa_setreg", pointer_to(setreg)},
        {"hwa_getmacs", pointer_to(getmacs)},
        {"hwa_engpowercmd", pointer_to(engpowercmd)},
        {"hwa_setswitchconfig", pointer_to(setswitchconfig)},
        {"hwa_setmacfilter", pointer_to(setmacfilter)},
        {"hwa_resetswitch", pointer_to(resetswitch)},
        {"hwa_get_multireg", pointer_to(get_multireg)},
    };
    for (const EntryPoint &entry_point : all) {
        if (entry_point.name == name) {
            const auto bit = static_cast<uint32_t>(&entry_point - all);
            if ((active().missing_entry_points >> bit & 1) == 0) {
                return entry_point.function;
            }
            // The library has a way around this one.
            if (name != "hwa_get_multireg") {
                active().access(-1);
            }
            return nullptr;
        }
    }
    require(false, "the library looks for entry points that there are");
    return nullptr;
}

// ---- The trace library ----

struct Row {
    Kind kind;
    uint32_t values;
};

const std::unordered_map<uint32_t, Row> &rows() {
    using ksl::count_names;
    static const std::unordered_map<uint32_t, Row> all{
#undef KSL_TRACE_POINT
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, {Kind::kind, count_names(values)}},
#include "trace_points.def"
    };
    return all;
}

int note_record(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t least, uint32_t most,
                std::initializer_list<uint32_t> slots) {
    require(descriptor == kDescriptor, "records go to the library's own buffer");
    const auto row = rows().find(identifier);
    require(row != rows().end(), "records are of trace points that the tables have");
    const uint32_t values = header >> 16;
    require(values == row->second.values, "a record has the values of its trace point");
    require(values >= least && values <= most, "a record is written by the operation for its number of values");
    uint32_t at = 0;
    for (const uint32_t slot : slots) {
        require(at++ < values || slot == 0, "slots without a value are zero");
    }
    active().records.push_back(row->second.kind);
    return -1; // of which nothing may depend
}

} // namespace

void *const kConfigurationHandle = &configuration_handle;

Platform::Platform(Input &bytes) : input(bytes) {
    platform = this;
}

Platform::~Platform() {
    platform = nullptr;
}

void Platform::begin() {
    accesses = accesses_after_failure = found = closed_configurations = 0;
    first_failure = last_result = 0;
    records.clear();
}

int32_t Platform::access(int32_t result) {
    ++accesses;
    accesses_after_failure += first_failure != 0 ? 1 : 0;
    first_failure = first_failure != 0 ? first_failure : result;
    last_result = result;
    return result;
}

} // namespace fuzz

// ---- What the library is linked with ----

using namespace fuzz;

#pragma GCC visibility push(default)
extern "C" {

int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    return getreg(chip, page, offset, length, buffer);
}

int trace_kbuf_init_buffer(uint32_t *descriptor, const char *, uint32_t) {
    *descriptor = kDescriptor;
    return 0;
}

int trace_kbuf_write_ints5(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4) {
    return note_record(descriptor, header, identifier, 1, 5, {v0, v1, v2, v3, v4});
}

int trace_kbuf_write_ints9(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7, uint32_t v8) {
    return note_record(descriptor, header, identifier, 6, 9, {v0, v1, v2, v3, v4, v5, v6, v7, v8});
}

int trace_kbuf_write_all(uint32_t descriptor, uint32_t identifier, const char *text, uint32_t line, uint32_t zero) {
    require(std::string_view(text) == " " && zero == 0, "no text reaches the trace");
    return note_record(descriptor, line, identifier, 0, 0, {});
}

int trace_kbuf_free(uint32_t *descriptor) {
    require(*descriptor == kDescriptor, "the library's own buffer is released");
    *descriptor = 0;
    return 0;
}

void *__wrap_dlopen(const char *file, int) {
    if (std::string_view(file) == "libhwa.so") {
        return &lower_handle;
    }
    return active().configuration_opens ? kConfigurationHandle : nullptr;
}

char *__wrap_dlerror() {
    return loader_error;
}

int __wrap_dlclose(void *handle) {
    require(handle == &lower_handle || handle == kConfigurationHandle, "what is closed was opened");
    active().closed_configurations += handle == kConfigurationHandle ? 1 : 0;
    return 0;
}

void *__wrap_dlsym(void *handle, const char *name) {
    if (handle == kConfigurationHandle) {
        require(std::string_view(name) == "__ksl_get_cfg", "a configuration library is asked for its list alone");
        return active().configuration_answers ? pointer_to(get_cfg) : nullptr;
    }
    require(handle == &lower_handle, "look-ups go through an opened library");
    return find_entry_point(name);
}
}
#pragma GCC visibility pop
