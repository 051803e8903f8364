// SPDX-License-Identifier: Apache-2.0
// The address table: fetched, walked and searched.
#include "exported.h"

#include "forwarding/trace_points.h"

#include <algorithm>
#include <cstring>

namespace ksl::test {

namespace {

// Where the outputs lie: the count, the VLAN words of the search, the entries.
constexpr size_t kCount = 0;
constexpr size_t kVlanWords = 16;
constexpr size_t kEntries = 64;

const Bytes kFirst{0x7F, 0xE5, 1, 2, 3, 4, 5, 6};
const Bytes kSecond{0x00, 0x07, 11, 12, 13, 14, 15, 16};

// ---- Fetched ----

constexpr uint32_t kCapacity = 5;

// An entry as the caller is given it; its last two bytes are left alone.
Write unpacked(size_t index, uint32_t port, uint32_t flag55, const Bytes &raw) {
    Bytes bytes = native(port);
    const Bytes flag = native(flag55);
    bytes.insert(bytes.end(), flag.begin(), flag.end());
    bytes.insert(bytes.end(), raw.begin() + 2, raw.end());
    return {kEntries + index * sizeof(ksl_arl_entry), bytes};
}

int32_t fetch() {
    *memory_as<uint32_t>(kCount) = kCapacity;
    return ksl_read_ARL_table(kChip, 1, memory_as<ksl_arl_entry>(kEntries), memory_as<uint32_t>(kCount));
}

// A table that has been filled counts for nothing where its fetch fails.
void answer_fetch(ScriptedPlatform &platform) {
    platform.on_getmacs = [](void *entries, uint32_t *count) {
        std::memcpy(entries, kFirst.data(), 8);
        std::memcpy(static_cast<uint8_t *>(entries) + 8, kSecond.data(), 8);
        *count = 2;
    };
}

// ---- Walked ----

size_t walked;

void remember(const uint8_t *entry) {
    std::copy_n(entry, 8, memory(8 * walked++));
}

int32_t walk() {
    walked = 0;
    __KSL_READ_ARL_TABLE(kChip, remember);
    return 0;
}

// What the one register delivers in turn: status, entry, status, entry, status; zeros from there on.
const std::deque<Bytes> kWalk{{0x80}, kFirst, {0x80}, kSecond, {0x00}};

// The read of a status or an entry; one that fails leaves what the last one delivered.
bool walk_read(Story &story, bool by_link, std::deque<Bytes> &answers, Bytes &buffer) {
    const auto length = static_cast<uint32_t>(buffer.size());
    const Call call = by_link ? getreg_by_link(kChipLow, 5, 0x24, length) : getreg(kChipLow, 5, 0x24, length);
    const bool found = by_link || !story.fault.lacks("hwa_getreg");
    const int32_t result = story.access({"hwa_getreg", call, {}, nullptr, {}});
    if (found) {
        const Bytes answer = answers.empty() ? Bytes(8, 0) : answers.front();
        if (!answers.empty()) {
            answers.pop_front();
        }
        if (result == 0) {
            std::copy_n(answer.begin(), buffer.size(), buffer.begin());
        }
    }
    return buffer[0] == 0x80;
}

// No result stops it: it goes on for as long as the status says so.
void walk_story(Story &story) {
    std::deque<Bytes> answers = kWalk;
    Bytes status(1, 0);
    Bytes entry(8, 0);
    story.access(write(5, 0x24, {0x80}));
    bool ready = walk_read(story, false, answers, status);
    for (size_t index = 0; ready; ++index) {
        walk_read(story, true, answers, entry);
        story.leaves({{8 * index, entry}});
        ready = walk_read(story, true, answers, status);
    }
}

// ---- Searched ----

int32_t search() {
    *memory_as<uint32_t>(kCount) = 9;
    return dbg_ksl_search_ARL_table(kChip, memory_as<ksl_word>(kVlanWords), memory_as<ksl_raw_arl_entry>(kEntries),
                                    memory_as<uint32_t>(kCount));
}

Access poll(uint8_t status) {
    return read(5, 0x20, {status, 1, 2, 3, 4, 5, 6, 7});
}

// The VLAN id between bits that are the caller's.
Access vlan(size_t index) {
    return read(5, 0x2C, {0xFA, 0xBC}, {{kVlanWords + 4 * index, {0xEA, 0xBC}}});
}

// The lowest bit of the first byte is the caller's, which is 0.
Access entry(size_t index, const Bytes &raw) {
    Bytes delivered = raw;
    delivered[0] &= 0xFE;
    return read(5, 0x24, raw, {{kEntries + 8 * index, delivered}, {kCount, native(static_cast<uint32_t>(index) + 1)}});
}

// A result, a poll without one, and the last poll with another.
std::vector<Access> search_accesses() {
    return {write(5, 0x20, {0x80, 0, 0, 0, 0, 0, 0, 0}, points::search_arl_table_start_failed),
            poll(0x81),
            vlan(0),
            entry(0, kFirst),
            poll(0x80),
            poll(0x01),
            vlan(1),
            entry(1, kSecond)};
}

Calls leave_search(int32_t result, size_t access) {
    const uint32_t found = access > 3 ? 1 : 0;
    return leave(points::search_arl_table_exit, result, found);
}

} // namespace

Exports address_table_exports() {
    return {
        {.name = "ksl_read_ARL_table",
         .run = fetch,
         .accesses = {other("hwa_getmacs", "0x2 * *",
                            [](int32_t) { return Calls{record(points::read_arl_table_fetch_failed)}; },
                            {{kCount, native(2)}, unpacked(0, 5, 1, kFirst), unpacked(1, 7, 0, kSecond)})},
         .ending = [](int32_t result, size_t) { return leave(points::read_arl_table_exit, result, kCapacity); },
         .at_once = {{kCount, native(kCapacity)}},
         .prepare = answer_fetch},
        {.name = "__KSL_READ_ARL_TABLE",
         .run = walk,
         .prepare = [](ScriptedPlatform &platform) { platform.successive_reads = kWalk; },
         .story = walk_story},
        {.name = "dbg_ksl_search_ARL_table",
         .run = search,
         .accesses = search_accesses(),
         .ending = leave_search,
         .at_once = {{kCount, native(0)}}},
    };
}

} // namespace ksl::test
