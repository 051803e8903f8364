// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

namespace ksl::test {
namespace {

std::vector<Bytes> seen;

void remember(const uint8_t *entry) {
    seen.emplace_back(entry, entry + 8);
}

class Walk : public Opened {
protected:
    Walk() { seen.clear(); }

    static constexpr uint32_t kPage = 5;
    static constexpr uint32_t kAccess = 0x24;
};

TEST_F(Walk, HandsOutEntriesWhileTheStatusIsExactlyReady) {
    // The status is the first byte of the register that delivers the entries.
    platform.successive_reads = {{0x80}, {1, 2, 3, 4, 5, 6, 7, 8}, {0x80}, {0x80, 9, 9, 9, 9, 9, 9, 9}, {0x81}};
    __KSL_READ_ARL_TABLE(0x102, remember);
    EXPECT_EQ(seen, (std::vector<Bytes>{{1, 2, 3, 4, 5, 6, 7, 8}, {0x80, 9, 9, 9, 9, 9, 9, 9}}));
    EXPECT_EQ(platform.take(), (Calls{
                                   setreg(2, kPage, kAccess, {0x80}),
                                   getreg(2, kPage, kAccess, 1),
                                   getreg_by_link(2, kPage, kAccess, 8),
                                   getreg_by_link(2, kPage, kAccess, 1),
                                   getreg_by_link(2, kPage, kAccess, 8),
                                   getreg_by_link(2, kPage, kAccess, 1),
                               }));
}

TEST_F(Walk, EndsAtOnceOnAnyOtherStatus) {
    for (const uint8_t status : {uint8_t{0x81}, uint8_t{0x00}, uint8_t{0x7F}}) {
        platform.successive_reads = {{status}};
        __KSL_READ_ARL_TABLE(0, remember);
        EXPECT_TRUE(seen.empty());
        EXPECT_EQ(platform.take(), (Calls{setreg(0, kPage, kAccess, {0x80}), getreg(0, kPage, kAccess, 1)}));
    }
}

TEST_F(Walk, IgnoresEveryResult) {
    platform.successive_reads = {{0x80}, {1, 2, 3, 4, 5, 6, 7, 8}, {0x80}, {}, {0x00}};
    // The write, the first status, and the second entry fail; that entry is the first one once more.
    platform.failures = {{1, 5}, {5, -6}};
    __KSL_READ_ARL_TABLE(0, remember);
    EXPECT_EQ(seen, (std::vector<Bytes>{{1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 8}}));
}

TEST_F(Walk, AFailedStatusLeavesTheOneBefore) {
    platform.successive_reads = {{0x80}, {1, 2, 3, 4, 5, 6, 7, 8}, {0x00}, {8, 7, 6, 5, 4, 3, 2, 1}, {0x00}};
    platform.failures = {{4, 5}};
    __KSL_READ_ARL_TABLE(0, remember);
    EXPECT_EQ(seen, (std::vector<Bytes>{{1, 2, 3, 4, 5, 6, 7, 8}, {8, 7, 6, 5, 4, 3, 2, 1}}));
}

TEST_F(Walk, IsNotTimed) {
    ksl_enable_time();
    platform.successive_reads = {{0x00}};
    __KSL_READ_ARL_TABLE(0, remember);
    EXPECT_EQ(platform.take(), (Calls{setreg(0, kPage, kAccess, {0x80}), getreg(0, kPage, kAccess, 1)}));
}

ScriptedPlatform *walked;
size_t calls_before_callback;

TEST_F(Walk, HandsAnEntryOutBeforeItAsksOn) {
    walked = &platform;
    platform.successive_reads = {{0x80}, {1, 2, 3, 4, 5, 6, 7, 8}, {0x00}};
    __KSL_READ_ARL_TABLE(0, [](const uint8_t *) { calls_before_callback = walked->calls.size(); });
    EXPECT_EQ(calls_before_callback, 3u);
    EXPECT_EQ(platform.take().size(), 4u);
}

TEST_F(Walk, AnEntryThatWasNeverReadIsZero) {
    platform.successive_reads = {{0x80}, {1, 2, 3, 4, 5, 6, 7, 8}, {0x00}};
    platform.failures = {{3, 5}};
    __KSL_READ_ARL_TABLE(0, remember);
    EXPECT_EQ(seen, (std::vector<Bytes>{Bytes(8, 0)}));
}

TEST_F(Walk, AFailedFirstStatusEndsIt) {
    platform.successive_reads = {{0x80}};
    platform.failures = {{2, 5}};
    __KSL_READ_ARL_TABLE(0, remember);
    EXPECT_TRUE(seen.empty());
}

TEST_F(Walk, WithoutALowerLibraryIsEmpty) {
    platform.missing_entry_points = {"hwa_getreg", "hwa_setreg"};
    __KSL_READ_ARL_TABLE(0, remember);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(platform.take(), (Calls{lookup_missing("hwa_setreg"), record(points::setreg_missing),
                                      lookup_missing("hwa_getreg"), record(points::getreg_missing)}));
}

} // namespace
} // namespace ksl::test
