// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include "forwarding/trace_points.h"

#include <cstring>

namespace ksl::test {
namespace {

class Search : public Opened {
protected:
    Search() {
        std::memset(vlan_words, 0xEE, sizeof vlan_words);
        std::memset(entries, 0xEE, sizeof entries);
    }

    alignas(4) uint8_t vlan_words[4][4];
    ksl_raw_arl_entry entries[4];
    uint32_t count = 99;

    int32_t search(uint32_t chip) {
        return dbg_ksl_search_ARL_table(chip, reinterpret_cast<ksl_word *>(vlan_words[0]), entries, &count);
    }

    testing::AssertionResult vlan_word_holds(size_t i, const Bytes &bytes) const {
        return Bytes(vlan_words[i], vlan_words[i] + 4) == bytes ? testing::AssertionSuccess()
                                                                : testing::AssertionFailure() << i;
    }

    testing::AssertionResult entry_holds(size_t i, const Bytes &bytes) const {
        return Bytes(entries[i].bytes, entries[i].bytes + 8) == bytes ? testing::AssertionSuccess()
                                                                      : testing::AssertionFailure() << i;
    }

    testing::AssertionResult untouched_from(size_t first) const {
        for (size_t i = first; i < 4; ++i) {
            if (!vlan_word_holds(i, Bytes(4, 0xEE)) || !entry_holds(i, Bytes(8, 0xEE))) {
                return testing::AssertionFailure() << i;
            }
        }
        return testing::AssertionSuccess();
    }

    static Calls begin(uint32_t chip, uint32_t caller_count = 99) {
        return {stamp_start(), record(points::search_arl_table_entry, chip, caller_count),
                setreg(chip & 0xFF, 5, 0x20, {0x80, 0, 0, 0, 0, 0, 0, 0})};
    }

    static Calls poll(const Bytes &bytes) {
        return {getreg(2, 5, 0x20, 8),
                record(points::search_arl_table_poll, std::vector<uint32_t>(bytes.begin(), bytes.end()))};
    }

    static Calls end(int32_t result, uint32_t number) {
        return {record(points::search_arl_table_exit, result, number), stamp_end()};
    }

    const Bytes running{0x80, 0, 0, 0, 0, 0, 0, 0};
    const Bytes ready{0x81, 0x12, 0x23, 0x34, 0x45, 0x56, 0x67, 0x78};
    const Bytes last{0x01, 0, 0, 0, 0, 0, 0, 0};
    const Bytes over{0x7E, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
};

TEST_F(Search, DeliversEveryResultUntilTheChipIsDone) {
    platform.successive_reads = {
        running, ready, {0xF1, 0x23}, {0xD5, 0xB7, 1, 2, 3, 4, 5, 6},
        running, last,  {0x0F, 0xFF}, {0x2A, 0x48, 7, 8, 9, 10, 11, 12},
    };
    EXPECT_EQ(search(0x102), 0);
    EXPECT_EQ(count, 2u);
    EXPECT_TRUE(vlan_word_holds(0, {0xE1, 0x23, 0xEE, 0xEE}));
    EXPECT_TRUE(vlan_word_holds(1, {0xEF, 0xFF, 0xEE, 0xEE}));
    EXPECT_TRUE(entry_holds(0, {0xD4, 0xB7, 1, 2, 3, 4, 5, 6}));
    EXPECT_TRUE(entry_holds(1, {0x2A, 0x48, 7, 8, 9, 10, 11, 12}));
    EXPECT_TRUE(untouched_from(2));
    Calls calls = begin(0x102);
    calls += poll(running);
    calls += poll(ready);
    calls +=
        {getreg(2, 5, 0x2C, 2), getreg(2, 5, 0x24, 8), record(points::search_arl_table_flags, 0x123, 1, 1, 2, 2, 1, 1),
         record(points::search_arl_table_address, 0x17, 1, 2, 3, 4, 5, 6)};
    calls += poll(running);
    calls += poll(last);
    calls +=
        {getreg(2, 5, 0x2C, 2), getreg(2, 5, 0x24, 8), record(points::search_arl_table_flags, 0xFFF, 0, 0, 5, 1, 0, 2),
         record(points::search_arl_table_address, 8, 7, 8, 9, 10, 11, 12)};
    EXPECT_EQ(platform.take(), calls += end(0, 2));
}

TEST_F(Search, MayFindNothing) {
    platform.successive_reads = {over};
    EXPECT_EQ(search(2), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(untouched_from(0));
    EXPECT_EQ(platform.take(), (begin(2) += poll(over)) += end(0, 0));
}

TEST_F(Search, WaitsAsLongAsTheChipIsBusy) {
    platform.successive_reads.assign(500, running);
    platform.successive_reads.push_back(over);
    EXPECT_EQ(search(2), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(platform.take().size(), 3u + 2 * 501 + 2);
}

// Each bit of an entry while the caller's bits are all clear, then while all are set.
TEST_F(Search, OneBitOfAnEntryStaysTheCallers) {
    for (const uint8_t callers : {uint8_t{0x00}, uint8_t{0xFF}}) {
        for (uint32_t bit = 0; bit < 64; ++bit) {
            for (const bool inverted : {false, true}) {
                Bytes found(8, inverted ? 0xFF : 0x00);
                found[7 - bit / 8] ^= static_cast<uint8_t>(1u << bit % 8);
                std::memset(entries, callers, sizeof entries);
                platform.successive_reads = {last, {0, 0}, found};
                EXPECT_EQ(search(2), 0);
                Bytes expected = found;
                expected[0] = static_cast<uint8_t>((found[0] & 0xFE) | (callers & 0x01));
                EXPECT_TRUE(entry_holds(0, expected)) << bit;
            }
        }
    }
}

TEST_F(Search, TracesTheFieldsOfAnEntry) {
    struct {
        uint32_t lowest, width;
    } const fields[] = {{31, 1}, {30, 1}, {27, 3}, {25, 2}, {23, 1}, {21, 2}};
    for (uint32_t bit = 16; bit < 32; ++bit) {
        Bytes found = bytes_of(1u << bit);
        found.resize(8);
        platform.successive_reads = {last, {0, 0}, found};
        EXPECT_EQ(search(2), 0);
        const Calls calls = platform.take();
        std::vector<uint32_t> values{0};
        for (const auto &field : fields) {
            values.push_back((1u << bit >> field.lowest) & ((1u << field.width) - 1));
        }
        EXPECT_EQ(calls[calls.size() - 4].text, record(points::search_arl_table_flags, values).text) << bit;
        EXPECT_EQ(calls[calls.size() - 3].text,
                  record(points::search_arl_table_address, bit <= 20 ? 1u << (bit - 16) : 0u, 0, 0, 0, 0, 0, 0).text);
    }
}

TEST_F(Search, TwelveBitsOfAVlanWordAreWritten) {
    for (const uint8_t callers : {uint8_t{0x00}, uint8_t{0xFF}}) {
        for (uint32_t bit = 0; bit < 16; ++bit) {
            std::memset(vlan_words, callers, sizeof vlan_words);
            const uint32_t vid = 1u << bit;
            platform.successive_reads = {last, {static_cast<uint8_t>(vid >> 8), static_cast<uint8_t>(vid)}, Bytes(8)};
            EXPECT_EQ(search(2), 0);
            const uint32_t kept = callers == 0 ? 0u : 0xF000FFFF;
            EXPECT_TRUE(vlan_word_holds(0, bytes_of(kept | (vid & 0xFFF) << 16))) << bit;
        }
    }
}

TEST_F(Search, AFailedStartHasItsOwnRecord) {
    for (const int32_t code : kFailureCodes) {
        platform.failures[1] = code;
        count = 99;
        EXPECT_EQ(search(2), code);
        EXPECT_EQ(count, 0u);
        EXPECT_TRUE(untouched_from(0));
        EXPECT_EQ(platform.take(),
                  (begin(2) += {record(points::search_arl_table_start_failed, 5, 0x20, 8)}) += end(code, 0));
    }
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(search(2), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::search_arl_table_entry, 2, 0),
                                      lookup_missing("hwa_setreg"), record(points::setreg_missing),
                                      record(points::search_arl_table_start_failed, 5, 0x20, 8)} += end(-1, 0)));
}

TEST_F(Search, AFailedReadEndsItAndKeepsWhatWasFound) {
    struct {
        uint32_t failing;
        uint32_t offset, length;
    } const rows[] = {{5, 0x20, 8}, {6, 0x2C, 2}, {7, 0x24, 8}};
    for (const auto &row : rows) {
        for (const int32_t code : kFailureCodes) {
            SCOPED_TRACE(row.failing);
            std::memset(vlan_words, 0xEE, sizeof vlan_words);
            std::memset(entries, 0xEE, sizeof entries);
            platform.successive_reads = {ready, {0x01, 0x23}, {0, 5, 1, 2, 3, 4, 5, 6},
                                         ready, {0x04, 0x56}, {0, 6, 1, 2, 3, 4, 5, 7}};
            platform.failures = {{row.failing, code}};
            platform.failing_reads_deliver = true;
            EXPECT_EQ(search(2), code);
            EXPECT_EQ(count, 1u);
            EXPECT_TRUE(vlan_word_holds(0, {0xE1, 0x23, 0xEE, 0xEE}));
            EXPECT_TRUE(entry_holds(0, {0x00, 5, 1, 2, 3, 4, 5, 6}));
            // A VLAN id that was read is in its word, although its entry never came.
            EXPECT_TRUE(vlan_word_holds(1, row.failing == 7 ? Bytes{0xE4, 0x56, 0xEE, 0xEE} : Bytes(4, 0xEE)));
            EXPECT_TRUE(entry_holds(1, Bytes(8, 0xEE)));
            EXPECT_TRUE(untouched_from(2));
            const Calls calls = platform.take();
            Calls expected;
            if (row.failing > 5) {
                expected += poll(ready);
                expected += {getreg(2, 5, 0x2C, 2)};
            } else {
                expected += {getreg(2, 5, 0x20, 8)};
            }
            if (row.failing > 6) {
                expected += {getreg(2, 5, 0x24, 8)};
            }
            expected += {record(points::register_read_failed, 5, row.offset, row.length)};
            expected += end(code, 1);
            // After the start, the first poll and its result.
            EXPECT_EQ((Calls{calls.begin() + 9, calls.end()}), expected);
        }
    }
    platform.take();
    platform.failures = {};
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(search(2), -1);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(platform.take(), (begin(2, 1) += {lookup_missing("hwa_getreg"), record(points::getreg_missing),
                                                record(points::register_read_failed, 5, 0x20, 8)}) += end(-1, 0));
}

TEST_F(Search, ReadsIntoClearedBuffers) {
    platform.delivered_bytes = 1;
    platform.successive_reads = {last, {0x01, 0x23}, {0x40, 6, 1, 2, 3, 4, 5, 7}};
    EXPECT_EQ(search(2), 0);
    EXPECT_TRUE(vlan_word_holds(0, {0xE1, 0x00, 0xEE, 0xEE}));
    EXPECT_TRUE(entry_holds(0, {0x40, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(Search, EveryPollStartsFromAClearedBuffer) {
    uint32_t polls = 0;
    platform.on_call = [&](const std::string &text) {
        if (text.find("offset=0x20 length=8") != std::string::npos && text.find("hwa_getreg") != std::string::npos) {
            platform.delivered_bytes = ++polls == 1 ? 8 : 1;
        }
    };
    platform.successive_reads = {{0x80, 0x12, 0x23, 0x34, 0x45, 0x56, 0x67, 0x78}, {0x00, 0xFF}};
    EXPECT_EQ(search(2), 0);
    EXPECT_EQ(platform.take(),
              ((begin(2) += poll({0x80, 0x12, 0x23, 0x34, 0x45, 0x56, 0x67, 0x78})) += poll(Bytes(8, 0))) += end(0, 0));
}

TEST_F(Search, CountsInTheCallersWord) {
    std::vector<uint32_t> counted;
    platform.on_call = [&](const std::string &text) {
        if (text.find("looked up") == 0 || text.find("write_ints9") == 0) {
            counted.push_back(count);
        }
    };
    platform.successive_reads = {last, {0, 1}, {0, 5, 1, 2, 3, 4, 5, 6}};
    EXPECT_EQ(search(2), 0);
    // The start, the poll and its record, the two reads; then the result's records.
    EXPECT_EQ(counted, (std::vector<uint32_t>{0, 0, 0, 0, 0, 1, 1}));
}

} // namespace
} // namespace ksl::test
