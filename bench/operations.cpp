// SPDX-License-Identifier: Apache-2.0
#include "operations.h"

#include <hwa.h>
#include <ksl/ksl.h>
#include <trace_kbuf.h>

#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>

namespace ksl::bench {

namespace {

// Aligned as the library has them.
alignas(16) constexpr char kGetreg[] = "hwa_getreg";
alignas(16) constexpr char kGetMultireg[] = "hwa_get_multireg";
alignas(16) constexpr char kGetmacs[] = "hwa_getmacs";

uint8_t out1[8];
uint8_t out2[8];
ksl_mib_port_block counters[KSL_PORTS];

constexpr uint32_t kAddresses = 8192;
ksl_arl_entry addresses[kAddresses];
uint32_t address_count = kAddresses;
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

void record(uint32_t identifier, uint32_t first, uint32_t second) {
    trace_kbuf_write_ints5(descriptor(), header(2), identifier, first, second, 0, 0, 0);
}

template <typename EntryPoint>
EntryPoint *look_up(const char *name) {
    return reinterpret_cast<EntryPoint *>(dlsym(ksl_hwa_handle, name));
}

int32_t read(uint8_t page, uint8_t offset, uint32_t length, uint8_t *bytes) {
    return look_up<decltype(hwa_getreg)>(kGetreg)(0, page, offset, length, bytes);
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

// The registers of a port's counters: two of 8 bytes, twenty of 4.
constexpr uint32_t kCounters = 22;

int32_t bare_counters_of(uint32_t port) {
    stamp(start_time);
    record(1, 0, port);
    ksl_reg_request requests[kCounters] = {};
    for (uint32_t i = 0; i < kCounters; ++i) {
        requests[i].page = static_cast<uint8_t>(0x50 + port);
        requests[i].offset = static_cast<uint8_t>(4 * i);
        requests[i].length = i < 2 ? 8 : 4;
    }
    const int32_t result = look_up<decltype(hwa_get_multireg)>(kGetMultireg)(0, requests, kCounters);
    uint8_t *const block = reinterpret_cast<uint8_t *>(&counters[port]);
    for (uint32_t i = 0; i < kCounters; ++i) {
        uint8_t *const place = block + (i < 2 ? 8 * i : 8 + 4 * i);
        memcpy(place, requests[i].data, i < 2 ? 8 : 4);
        uint32_t traced;
        memcpy(&traced, i < 2 ? place + 4 : place, sizeof traced);
        record(2, port, ntohl(traced));
    }
    record(3, static_cast<uint32_t>(result));
    stamp(end_time);
    return result;
}

int32_t bare_counters() {
    record(4, 0);
    int32_t result = 0;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        result = bare_counters_of(port);
    }
    record(5, static_cast<uint32_t>(result));
    stamp(end_time);
    return result;
}

int32_t bare_addresses() {
    stamp(start_time);
    alignas(16) ksl_raw_arl_entry table[kAddresses];
    uint32_t found = kAddresses;
    trace_kbuf_write_ints5(descriptor(), header(3), 1, 0, 1, address_count, 0, 0);
    const int32_t result = look_up<decltype(hwa_getmacs)>(kGetmacs)(0, table, &found);
    for (uint32_t i = 0; i < found; ++i) {
        const uint8_t *const b = table[i].bytes;
        const uint32_t port = b[1] & 0x1FU;
        addresses[i].flag55 = b[1] >> 7;
        addresses[i].port = port;
        memcpy(addresses[i].mac, b + 2, sizeof addresses[i].mac);
        trace_kbuf_write_ints9(descriptor(), header(7), 2, port, b[2], b[3], b[4], b[5], b[6], b[7], 0, 0);
    }
    address_count = found;
    record(3, static_cast<uint32_t>(result), found);
    stamp(end_time);
    return result;
}

// A record alone, in the loop that it takes to write some.
constexpr uint32_t kRecords = 100;

int32_t records_of_5_values() {
    for (uint32_t i = 0; i < kRecords; ++i) {
        trace_kbuf_write_ints5(ksl_trace_buffer, header(5), 7, i, 2, 3, 4, 5);
    }
    return 0;
}

int32_t records_of_9_values() {
    for (uint32_t i = 0; i < kRecords; ++i) {
        trace_kbuf_write_ints9(ksl_trace_buffer, header(9), 7, i, 2, 3, 4, 5, 6, 7, 8, 9);
    }
    return 0;
}

const Measured kOperations[] = {
    {"record_of_5_values", records_of_5_values, records_of_5_values, kRecords},
    {"record_of_9_values", records_of_9_values, records_of_9_values, kRecords},
    {"ksl_read_bist_status_reg", [] { return ksl_read_bist_status_reg(0, out1); }, bare_bist},
    {"ksl_read_link_status_regs", [] { return ksl_read_link_status_regs(0, out1, out2); }, bare_link_pair},
    {"ksl_read_switch_mode_reg", [] { return ksl_read_switch_mode_reg(0, out1); }, bare_mode},
    {"ksl_read_port_speed_reg", [] { return ksl_read_port_speed_reg(0, out1); }, bare_speed},
    {"ksl_read_MIB_counters", [] { return ksl_read_MIB_counters(0, counters); }, bare_counters},
    {"ksl_read_ARL_table", [] { return ksl_read_ARL_table(0, 1, addresses, &address_count); }, bare_addresses},
};

} // namespace

std::span<const Measured> operations() {
    return kOperations;
}

bool open() {
    ksl_init();
    if (ksl_hwa_handle == nullptr) {
        (void)std::fputs("The plain libhwa.so is not on the loader's path; begin the line with\n"
                         "LD_LIBRARY_PATH=build/bench/bench/plain:build/bench/lib\n",
                         stderr);
    }
    return ksl_hwa_handle != nullptr;
}

} // namespace ksl::bench
