// SPDX-License-Identifier: Apache-2.0
// The address table, fetched as a whole.
#include "forwarding/address_entry.h"
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/lower_library.h"
#include "frame/status_bytes.h"

namespace {

using namespace ksl;

// The chip's table holds no more.
constexpr uint32_t kTableEntries = 8192;

// Entries of these ports are left out unless all ports are asked for.
bool is_hidden(const ksl_raw_arl_entry &entry) {
    return port_of(entry) <= 1;
}

// Returns the number of entries written. A hidden entry is not skipped but ends the output: callers know the table as
// far as its first one.
uint32_t unpack_table(const ksl_raw_arl_entry *table, uint32_t found, bool all_ports, ksl_arl_entry *entries) {
    for (uint32_t i = 0; i < found; ++i) {
        if (!all_ports && is_hidden(table[i])) {
            return i;
        }
        const uint8_t *mac = table[i].bytes + 2;
        entries[i].flag55 = flag55_of(table[i]);
        entries[i].port = port_of(table[i]);
        copy_status_bytes(mac, entries[i].mac, sizeof entries[i].mac);
        trace(points::read_arl_table_address, port_of(table[i]), mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    }
    return found;
}

} // namespace

extern "C" int32_t ksl_read_ARL_table(uint32_t chip, uint32_t all_ports, ksl_arl_entry *entries, uint32_t *count) {
    const CallFrame frame;
    alignas(16) ksl_raw_arl_entry table[kTableEntries];
    uint32_t found = kTableEntries;
    trace(points::read_arl_table_entry, chip, all_ports, *count);
    int32_t result = __hwa_getmacs(chip, table, &found);
    if (result != 0) {
        trace(points::read_arl_table_fetch_failed);
    } else if (*count < found) {
        result = -1;
        trace(points::read_arl_table_too_many, found, *count);
    } else {
        *count = unpack_table(table, found, all_ports != 0, entries);
    }
    trace(points::read_arl_table_exit, result, *count);
    return frame.leave(result);
}
