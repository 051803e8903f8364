// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "forwarding/trace_points.h"

#include <algorithm>
#include <cstring>

namespace ksl::test {
namespace {

// A raw entry: its first two bytes are flags and port, its last six the address.
using Raw = ksl_raw_arl_entry;

Raw raw(uint32_t port, uint8_t tag) {
    return {{0x80, static_cast<uint8_t>(0x80 | port), tag, 0x22, 0x33, 0x44, 0x55, 0xF6}};
}

class TableRead : public Opened {
protected:
    TableRead() {
        platform.on_getmacs = [this](void *room, uint32_t *number) {
            buffer = room;
            count_word = number;
            asked_for = *number;
            // The whole buffer, so that a smaller one is noticed.
            std::memset(room, 0, 8192 * sizeof(Raw));
            std::copy(table.begin(), table.end(), static_cast<Raw *>(room));
            *number = static_cast<uint32_t>(table.size());
        };
        std::memset(entries, 0xEE, sizeof entries);
    }

    std::vector<Raw> table;
    const void *buffer = nullptr;
    const void *count_word = nullptr;
    uint32_t asked_for = 0;
    ksl_arl_entry entries[16];
    uint32_t count = 12;

    // The records of `raws`, and the caller's bytes after and between them.
    testing::AssertionResult hold(const std::vector<Raw> &raws) const {
        ksl_arl_entry expected[16];
        std::memset(expected, 0xEE, sizeof expected);
        for (size_t i = 0; i < raws.size(); ++i) {
            expected[i].port = raws[i].bytes[1] & 0x1F;
            expected[i].flag55 = raws[i].bytes[1] >> 7;
            std::memcpy(expected[i].mac, raws[i].bytes + 2, 6);
        }
        return std::memcmp(entries, expected, sizeof entries) == 0 ? testing::AssertionSuccess()
                                                                   : testing::AssertionFailure();
    }

    Calls begin(uint32_t chip, uint32_t all_ports, uint32_t capacity) const {
        return {stamp_start(), record(points::read_arl_table_entry, chip, all_ports, capacity),
                entry_point("hwa_getmacs", {chip & 0xFF, whole_address(buffer), whole_address(count_word)})};
    }

    static Call traced(const Raw &entry) {
        const uint8_t *mac = entry.bytes + 2;
        return record(points::read_arl_table_address, entry.bytes[1] & 0x1F, mac[0], mac[1], mac[2], mac[3], mac[4],
                      mac[5]);
    }

    static Calls end(int32_t result, uint32_t number) {
        return {record(points::read_arl_table_exit, result, number), stamp_end()};
    }
};

TEST_F(TableRead, AsksOnceForAllThatTheTableCanHold) {
    EXPECT_EQ(ksl_read_ARL_table(0x102, 1, entries, &count), 0);
    EXPECT_EQ(asked_for, 8192u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer) % 16, 0u);
    EXPECT_NE(buffer, static_cast<const void *>(entries));
    EXPECT_NE(count_word, static_cast<const void *>(&count));
}

TEST_F(TableRead, GivesEveryEntryInOrder) {
    table = {raw(5, 1), raw(0, 2), raw(31, 3), raw(1, 4)};
    for (const uint32_t all_ports : {1u, 2u, 0x80000000u}) {
        std::memset(entries, 0xEE, sizeof entries);
        count = 12;
        EXPECT_EQ(ksl_read_ARL_table(0x102, all_ports, entries, &count), 0);
        EXPECT_EQ(count, 4u);
        EXPECT_TRUE(hold(table));
        Calls calls = begin(0x102, all_ports, 12);
        for (const Raw &entry : table) {
            calls.push_back(traced(entry));
        }
        EXPECT_EQ(platform.take(), calls += end(0, 4));
    }
}

TEST_F(TableRead, AnEntryIsTracedOnceItIsWritten) {
    table = {raw(5, 1), raw(6, 2)};
    size_t traced = 0;
    platform.on_call = [&](const std::string &text) {
        if (text.find("write_ints9") == 0) {
            ++traced;
            EXPECT_TRUE(hold({table.begin(), table.begin() + static_cast<ptrdiff_t>(traced)}));
        }
    };
    EXPECT_EQ(ksl_read_ARL_table(0, 1, entries, &count), 0);
    EXPECT_EQ(traced, 2u);
}

TEST_F(TableRead, UnpacksPortAndOneFlag) {
    for (uint32_t bit = 16; bit < 32; ++bit) {
        Raw entry = raw(0, 9);
        const Bytes upper = bytes_of(1u << bit);
        entry.bytes[0] = upper[0];
        entry.bytes[1] = upper[1];
        table = {entry};
        count = 1;
        EXPECT_EQ(ksl_read_ARL_table(0, 1, entries, &count), 0);
        EXPECT_EQ(entries[0].port, bit <= 20 ? 1u << (bit - 16) : 0u) << bit;
        EXPECT_EQ(entries[0].flag55, bit == 23 ? 1u : 0u) << bit;
    }
}

TEST_F(TableRead, EndsAtTheFirstEntryOfAHiddenPort) {
    for (const uint32_t hidden : {0u, 1u}) {
        table = {raw(5, 1), raw(2, 2), raw(hidden, 3), raw(7, 4), raw(8, 5)};
        std::memset(entries, 0xEE, sizeof entries);
        count = 12;
        EXPECT_EQ(ksl_read_ARL_table(0, 0, entries, &count), 0);
        EXPECT_EQ(count, 2u);
        EXPECT_TRUE(hold({table[0], table[1]}));
        EXPECT_EQ(platform.take(), begin(0, 0, 12) += (Calls{traced(table[0]), traced(table[1])} += end(0, 2)));
    }
}

TEST_F(TableRead, LosesTheEntriesAfterAHiddenOne) {
    table = {raw(5, 1), raw(0, 2), raw(7, 3)};
    EXPECT_EQ(ksl_read_ARL_table(0, 0, entries, &count), 0);
    EXPECT_EQ(count, 1u);
    EXPECT_TRUE(hold({table[0]}));
}

TEST_F(TableRead, HidesNoOtherPort) {
    for (uint32_t port = 2; port < 32; ++port) {
        table = {raw(port, 1)};
        count = 1;
        EXPECT_EQ(ksl_read_ARL_table(0, 0, entries, &count), 0);
        EXPECT_EQ(count, 1u) << port;
    }
    // The flags next to the port do not show it.
    table = {{{0xFF, 0xE1, 1, 2, 3, 4, 5, 6}}};
    EXPECT_EQ(ksl_read_ARL_table(0, 0, entries, &count), 0);
    EXPECT_EQ(count, 0u);
}

TEST_F(TableRead, GivesNothingWithoutRoomForAll) {
    table.assign(11, raw(5, 1));
    count = 10;
    EXPECT_EQ(ksl_read_ARL_table(1, 1, entries, &count), -1);
    EXPECT_EQ(count, 10u);
    EXPECT_TRUE(hold({}));
    EXPECT_EQ(platform.take(),
              begin(1, 1, 10) += (Calls{record(points::read_arl_table_too_many, 11, 10)} += end(-1, 10)));

    // Hidden entries also need room.
    table.assign(11, raw(0, 1));
    EXPECT_EQ(ksl_read_ARL_table(1, 0, entries, &count), -1);

    count = 11;
    EXPECT_EQ(ksl_read_ARL_table(1, 1, entries, &count), 0);
    EXPECT_EQ(count, 11u);
}

TEST_F(TableRead, OfAnEmptyTableSucceeds) {
    for (const uint32_t capacity : {0u, 12u}) {
        count = capacity;
        EXPECT_EQ(ksl_read_ARL_table(0, 0, entries, &count), 0);
        EXPECT_EQ(count, 0u);
        EXPECT_TRUE(hold({}));
        EXPECT_EQ(platform.take(), begin(0, 0, capacity) += end(0, 0));
    }
}

TEST_F(TableRead, OfAFullTableSucceeds) {
    table.resize(8192);
    for (uint32_t i = 0; i < 8192; ++i) {
        table[i] = raw(2 + i % 22, static_cast<uint8_t>(i));
        table[i].bytes[3] = static_cast<uint8_t>(i >> 8);
    }
    std::vector<ksl_arl_entry> all(8192);
    count = 8192;
    EXPECT_EQ(ksl_read_ARL_table(0, 0, all.data(), &count), 0);
    EXPECT_EQ(count, 8192u);
    EXPECT_EQ(Bytes(all[8191].mac, all[8191].mac + 6), Bytes(table[8191].bytes + 2, table[8191].bytes + 8));
    EXPECT_EQ(Bytes(all[4096].mac, all[4096].mac + 6), Bytes(table[4096].bytes + 2, table[4096].bytes + 8));
    // Every count is unsigned.
    count = 0xFFFFFFFF;
    EXPECT_EQ(ksl_read_ARL_table(0, 0, all.data(), &count), 0);
    EXPECT_EQ(count, 8192u);
}

TEST_F(TableRead, AFailureLeavesEverything) {
    table = {raw(5, 1)};
    for (const int32_t code : kFailureCodes) {
        platform.result = code;
        EXPECT_EQ(ksl_read_ARL_table(0x102, 1, entries, &count), code);
        EXPECT_EQ(count, 12u);
        EXPECT_TRUE(hold({}));
        EXPECT_EQ(platform.take(),
                  begin(0x102, 1, 12) += (Calls{record(points::read_arl_table_fetch_failed)} += end(code, 12)));
    }
    platform.missing_entry_points = {"hwa_getmacs"};
    EXPECT_EQ(ksl_read_ARL_table(0, 1, entries, &count), -1);
    EXPECT_EQ(count, 12u);
    EXPECT_EQ(platform.take(),
              (Calls{stamp_start(), record(points::read_arl_table_entry, 0, 1, 12), lookup_missing("hwa_getmacs"),
                     record(points::getmacs_missing), record(points::read_arl_table_fetch_failed)} += end(-1, 12)));
}

#if !defined(KSL_SANITIZE) // sanitizers need larger stacks
TEST_F(TableRead, NeedsTheBufferAndLittleMoreOfTheStack) {
    constexpr size_t kBuffer = 64 * 1024;
    uintptr_t deepest = 0;
    platform.on_getmacs = [&deepest](void *, uint32_t *number) {
        deepest = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
        *number = 0;
    };
    ASSERT_EQ(ksl_read_ARL_table(0, 1, entries, &count), 0);
    const size_t used = reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) - deepest;
    EXPECT_GE(used, kBuffer);
    // The frames of the script are among them.
    EXPECT_LT(used, kBuffer + 1024);
    RecordProperty("bytes_of_stack", std::to_string(used));
}
#endif

} // namespace
} // namespace ksl::test
