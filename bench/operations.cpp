// SPDX-License-Identifier: Apache-2.0
#include "operations.h"

#include <hwa.h>
#include <ksl/ksl.h>
#include <trace_kbuf.h>

#include <cstring>
#include <dlfcn.h>

namespace ksl::bench {

namespace {

// Aligned as the library has it.
alignas(16) constexpr char kGetreg[] = "hwa_getreg";

uint8_t out1[8];
uint8_t out2[8];
timeval start_time;
timeval end_time;
// Any zone will do: it is filled and never read.
int32_t time_zone[2];

uint32_t low(const void *pointer) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

uint32_t descriptor() {
    return ksl_trace_buffer;
}

constexpr uint32_t header(uint32_t values) {
    return values << 16 | 1;
}

void record(uint32_t identifier, uint32_t value) {
    trace_kbuf_write_ints5(descriptor(), header(1), identifier, value, 0, 0, 0, 0);
}

int32_t read(uint8_t page, uint8_t offset, uint32_t length, uint8_t *bytes) {
    using Getreg = decltype(hwa_getreg);
    return reinterpret_cast<Getreg *>(dlsym(ksl_hwa_handle, kGetreg))(0, page, offset, length, bytes);
}

void stamp(timeval &time) {
    gettimeofday(&time, time_zone);
}

void dump4(const uint8_t *bytes) {
    trace_kbuf_write_ints5(descriptor(), header(4), 1, bytes[0], bytes[1], bytes[2], bytes[3], 0);
}

int32_t bare_bist() {
    stamp(start_time);
    record(1, 0);
    uint8_t bytes[8] = {};
    const int32_t result = read(1, 0, 6, bytes);
    trace_kbuf_write_ints9(descriptor(), header(6), 2, bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], 0, 0,
                           0);
    for (int i = 0; i < 6; ++i) {
        record(3, bytes[i]);
    }
    memcpy(out1, bytes, 8);
    record(4, out1[0] >> 7);
    stamp(end_time);
    return result;
}

int32_t bare_link_pair() {
    stamp(start_time);
    record(1, 0);
    uint8_t bytes[8] = {};
    read(1, 0x10, 4, bytes);
    dump4(bytes);
    memcpy(out1, bytes, 4);
    record(2, low(out1));
    uint8_t more[8] = {};
    const int32_t result = read(1, 0x14, 4, more);
    dump4(more);
    memcpy(out2, more, 4);
    trace_kbuf_write_ints5(descriptor(), header(2), 3, low(out2), static_cast<uint32_t>(result), 0, 0, 0);
    stamp(end_time);
    return result;
}

int32_t bare_speed() {
    stamp(start_time);
    record(1, 0);
    uint8_t bytes[8];
    const int32_t result = read(1, 0x18, 4, bytes);
    dump4(bytes);
    memcpy(out1, bytes, 4);
    record(2, low(out1));
    stamp(end_time);
    return result;
}

int32_t bare_mode() {
    stamp(start_time);
    record(1, 0);
    uint8_t bytes[8] = {};
    const int32_t result = read(0, 0, 1, bytes);
    record(2, bytes[0]);
    memcpy(out1, bytes, 4);
    record(3, low(out1));
    stamp(end_time);
    return result;
}

const Measured kOperations[] = {
    {"ksl_read_bist_status_reg", [] { return ksl_read_bist_status_reg(0, out1); }, bare_bist},
    {"ksl_read_link_status_regs", [] { return ksl_read_link_status_regs(0, out1, out2); }, bare_link_pair},
    {"ksl_read_switch_mode_reg", [] { return ksl_read_switch_mode_reg(0, out1); }, bare_mode},
    {"ksl_read_port_speed_reg", [] { return ksl_read_port_speed_reg(0, out1); }, bare_speed},
};

} // namespace

std::span<const Measured> operations() {
    return kOperations;
}

} // namespace ksl::bench
