// SPDX-License-Identifier: Apache-2.0
// The address table: fetched, walked and searched.
#include "export.h"

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

// ---- Rules for fuzzers ----

using fuzz::kCutOff;
using fuzz::look_at;
using fuzz::require;

int32_t fuzz_read_arl_table(fuzz::Call &call) {
    constexpr uint32_t kRoom = 32;
    const uint32_t all_ports = call.input.flag() ? 1 : 0;
    const uint32_t room = call.input.up_to(kRoom);
    auto &entries = call.output(room * sizeof(ksl_arl_entry));
    uint32_t count = room;
    const int32_t result = ksl_read_ARL_table(call.chip, all_ports, entries.get<ksl_arl_entry>(), &count);
    const fuzz::Platform &platform = call.platform;
    if (platform.first_failure != 0 || platform.found > room) {
        require(result == (platform.first_failure != 0 ? platform.first_failure : -1), "the failure is passed on");
        require(count == room && entries.is_untouched(), "nothing is written without success");
        return result;
    }
    require(result == 0 && count <= platform.found, "no more entries than there are");
    require(all_ports == 0 || count == platform.found, "every entry");
    require(entries.is_untouched_from(count * sizeof(ksl_arl_entry)), "nothing after the entries");
    for (uint32_t i = 0; i < count; ++i) {
        const ksl_arl_entry &entry = entries.get<ksl_arl_entry>()[i];
        require(entry.port >= (all_ports != 0 ? 0U : 2U) && entry.port <= 31 && entry.flag55 <= 1,
                "an entry is of a port that was asked for");
        require(entry.unused[0] == 0xA5 && entry.unused[1] == 0xA5, "unused bytes are not written");
    }
    return result;
}

int32_t fuzz_walk_arl_table(fuzz::Call &call) {
    walked = 0;
    __KSL_READ_ARL_TABLE(call.chip, [](const uint8_t *entry) {
        walked += 1;
        look_at(entry, sizeof(ksl_raw_arl_entry));
    });
    require(walked <= kCutOff / 2 + 1, "the walk ends where its register says so");
    require(call.platform.records.size() <= 2 &&
                (call.platform.missing_entry_points != 0 || call.platform.records.empty()),
            "the walk traces nothing but that an entry point is missing");
    return 0;
}

int32_t fuzz_search_arl_table(fuzz::Call &call) {
    auto &words = call.output(kCutOff * sizeof(ksl_word));
    auto &entries = call.output(kCutOff * sizeof(ksl_raw_arl_entry));
    auto *const count = call.memory<uint32_t>();
    const int32_t result =
        dbg_ksl_search_ARL_table(call.chip, words.get<ksl_word>(), entries.get<ksl_raw_arl_entry>(), count);
    require(*count <= kCutOff / 3, "a result takes three reads");
    const size_t with_failed = *count + (result != 0 ? 1U : 0U);
    require(words.is_untouched_from(with_failed * sizeof(ksl_word)), "no word after the results");
    require(entries.is_untouched_from(*count * sizeof(ksl_raw_arl_entry)), "no entry after the results");
    for (uint32_t i = 0; i < *count; ++i) {
        const auto *const word = words.get() + i * sizeof(ksl_word);
        require((word[0] & 0xF0) == 0xA0 && word[2] == 0xA5 && word[3] == 0xA5, "the caller keeps all but the VLAN id");
        require((entries.get<ksl_raw_arl_entry>()[i].bytes[0] & 1) == 1, "the caller keeps bit 56");
    }
    return result;
}

} // namespace

Exports address_table_exports() {
    return {
        {.name = "ksl_read_ARL_table",
         .frame = {{points::read_arl_table_entry, points::read_arl_table_exit, {kChip, 1, kCapacity}}},
         .fuzz = {fuzz_read_arl_table, fuzz::Result::own},
         .run = fetch,
         .accesses = {other("hwa_getmacs", "0x2 * *",
                            [](int32_t) { return Calls{record(points::read_arl_table_fetch_failed)}; },
                            {{kCount, native(2)}, unpacked(0, 5, 1, kFirst), unpacked(1, 7, 0, kSecond)})},
         .ending = [](int32_t result, size_t) { return leave(points::read_arl_table_exit, result, kCapacity); },
         .at_once = {{kCount, native(kCapacity)}},
         .prepare = answer_fetch},
        {.name = "__KSL_READ_ARL_TABLE",
         .fuzz = {fuzz_walk_arl_table, fuzz::Result::own},
         .run = walk,
         .prepare = [](ScriptedPlatform &platform) { platform.successive_reads = kWalk; },
         .story = walk_story},
        {.name = "dbg_ksl_search_ARL_table",
         .frame = {{points::search_arl_table_entry, points::search_arl_table_exit, {kChip, 9}}},
         .fuzz = {fuzz_search_arl_table, fuzz::Result::first_failure, fuzz::Outputs::partly_written},
         .run = search,
         .accesses = search_accesses(),
         .ending = leave_search,
         .at_once = {{kCount, native(0)}}},
    };
}

} // namespace ksl::test
