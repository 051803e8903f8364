// SPDX-License-Identifier: Apache-2.0
// The address table entry by entry, delivered by the chip's search engine.
#include "forwarding/address_entry.h"
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"

#include <ksl/decode.h>

namespace {

using namespace ksl;

// Bits of address search control.
constexpr uint32_t kSearchRunningBit = 63;
constexpr uint32_t kResultReadyBit = 56;
constexpr uint8_t kStartSearch[kRegisterBytes] = {0x80};

// Bit 56 of an entry, the lowest of its first byte, keeps what the caller had there.
constexpr uint8_t kCallersBit = 0x01;

// Bits 0 to 11 become the VLAN id; the others stay the caller's.
void insert_vid(uint32_t vid, ksl_word *vlan_word) {
    store_half(with_field(load_half(vlan_word), 0, 12, vid), vlan_word);
}

void insert_entry(const ksl_raw_arl_entry &found, ksl_raw_arl_entry *entry) {
    const uint8_t first = entry->bytes[0];
    *entry = found;
    entry->bytes[0] = static_cast<uint8_t>((found.bytes[0] & ~kCallersBit) | (first & kCallersBit));
}

void trace_found(uint32_t vid, const ksl_raw_arl_entry &found) {
    const uint8_t *entry = found.bytes;
    const uint8_t *mac = entry + 2;
    trace(points::search_arl_table_flags, vid, upper_field(entry, 63, 1), upper_field(entry, 62, 1),
          upper_field(entry, 59, 3), upper_field(entry, 57, 2), flag55_of(found), upper_field(entry, 53, 2));
    trace(points::search_arl_table_address, port_of(found), mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

} // namespace

extern "C" int32_t dbg_ksl_search_ARL_table(uint32_t chip, ksl_word *vlan_words, ksl_raw_arl_entry *entries,
                                            uint32_t *count) {
    const CallFrame frame;
    trace(points::search_arl_table_entry, chip, *count);
    *count = 0;
    int32_t result = write_register(chip, at<ksl_address_search_control_register>(), kStartSearch,
                                    points::search_arl_table_start_failed);
    bool running = result == 0;
    while (running) {
        uint8_t poll[kRegisterBytes] = {};
        result = fetch_register(chip, at<ksl_address_search_control_register>(), poll, points::register_read_failed);
        if (result != 0) {
            break;
        }
        trace(points::search_arl_table_poll, poll[0], poll[1], poll[2], poll[3], poll[4], poll[5], poll[6], poll[7]);
        // The poll that reports the end may still carry a result.
        running = upper_field(poll, kSearchRunningBit, 1) != 0;
        if (upper_field(poll, kResultReadyBit, 1) == 0) {
            continue;
        }
        uint8_t vlan[ksl_address_vlan_register.length] = {};
        result = fetch_register(chip, at<ksl_address_vlan_register>(), vlan, points::register_read_failed);
        if (result != 0) {
            break;
        }
        const uint32_t vid = ksl_arl_vid(vlan);
        insert_vid(vid, vlan_words);
        ksl_raw_arl_entry found = {};
        result = fetch_register(chip, at<ksl_address_entry_register>(), found.bytes, points::register_read_failed);
        if (result != 0) {
            break;
        }
        insert_entry(found, entries);
        ++vlan_words;
        ++entries;
        ++*count;
        trace_found(vid, found);
    }
    trace(points::search_arl_table_exit, result, *count);
    return frame.leave(result);
}
