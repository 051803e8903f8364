// SPDX-License-Identifier: Apache-2.0
// The address table entry by entry: walked through its access register, or found by the chip's search engine.
#include "forwarding/address_entry.h"
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"

#include <hwa.h>

namespace {

using namespace ksl;

// Walk and search read entries at the same place; the walk also finds its command and its status there.
constexpr Register kSearchControl{0x05, 0x20, 8};
constexpr Register kEntry{0x05, 0x24, 8};
constexpr Register kVlanId{0x05, 0x2C, 2};

constexpr uint8_t kEntryReady = 0x80;
constexpr uint8_t kStartSearch = 0x80;

// Bits of the search status word.
constexpr uint32_t kSearchRunningBit = 31;
constexpr uint32_t kResultReadyBit = 24;

// The bit of an entry that a search leaves to the caller.
constexpr uint32_t kCallersBit = 24;

void insert_vid(uint32_t vid, ksl_word *vlan_word) {
    store_word(with_field(load_word(vlan_word), 16, 12, vid), vlan_word);
}

void insert_entry(const ksl_raw_arl_entry &found, ksl_raw_arl_entry *entry) {
    const uint32_t callers_bit = field(load_word(entry->bytes), kCallersBit, 1);
    *entry = found;
    store_word(with_field(load_word(found.bytes), kCallersBit, 1, callers_bit), entry->bytes);
}

void trace_found(uint32_t vid, const ksl_raw_arl_entry &found) {
    const uint32_t word = load_word(found.bytes);
    const uint8_t *mac = found.bytes + 2;
    trace(points::search_arl_table_flags, vid, field(word, 31, 1), field(word, 30, 1), field(word, 27, 3),
          field(word, 25, 2), flag55_of(word), field(word, 21, 2));
    trace(points::search_arl_table_address, port_of(word), mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

} // namespace

extern "C" void __KSL_READ_ARL_TABLE(uint32_t chip, void (*callback)(const uint8_t *entry)) {
    uint8_t status = 0;
    uint8_t entry[kRegisterBytes] = {};
    const uint8_t start[kRegisterBytes] = {kEntryReady};

    __hwa_setreg(chip, kEntry.page, kEntry.offset, 1, start);
    __hwa_getreg(chip, kEntry.page, kEntry.offset, 1, &status);
    // Straight to the lower library: an entry costs two accesses and no look-up.
    while (status == kEntryReady) {
        hwa_getreg(low_byte(chip), kEntry.page, kEntry.offset, kEntry.length, entry);
        callback(entry);
        hwa_getreg(low_byte(chip), kEntry.page, kEntry.offset, 1, &status);
    }
}

extern "C" int32_t dbg_ksl_search_ARL_table(uint32_t chip, ksl_word *vlan_words, ksl_raw_arl_entry *entries,
                                            uint32_t *count) {
    const CallFrame frame;
    trace(points::search_arl_table_entry, chip, *count);
    *count = 0;
    const uint8_t start[kRegisterBytes] = {kStartSearch};
    int32_t result = write_register(chip, kSearchControl, start, points::search_arl_table_start_failed);
    bool running = result == 0;
    while (running) {
        uint8_t poll[kRegisterBytes] = {};
        result = fetch_register(chip, kSearchControl, poll, points::register_read_failed);
        if (result != 0) {
            break;
        }
        const uint32_t status = load_word(poll);
        trace(points::search_arl_table_poll, poll[0], poll[1], poll[2], poll[3], poll[4], poll[5], poll[6], poll[7]);
        // The last poll may still carry a result.
        running = field(status, kSearchRunningBit, 1) != 0;
        if (field(status, kResultReadyBit, 1) == 0) {
            continue;
        }
        uint8_t vlan[sizeof(ksl_word)] = {};
        result = fetch_register(chip, kVlanId, vlan, points::register_read_failed);
        if (result != 0) {
            break;
        }
        const uint32_t vid = field(load_word(vlan), 16, 12);
        insert_vid(vid, vlan_words);
        ksl_raw_arl_entry found = {};
        result = fetch_register(chip, kEntry, found.bytes, points::register_read_failed);
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
