// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/addresses.h"
#include "kslctl/hub/bounded_call.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using AddressTable = hub_test::HubTest;

TEST_F(AddressTable, ListEndsBeforePorts0And1UnlessAllAreWanted) {
    open();
    Failures failures;
    EXPECT_THAT(list_addresses(0, true, failures).entries, SizeIs(13));
    EXPECT_THAT(list_addresses(0, false, failures).entries, SizeIs(11));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(AddressTable, AllWaysFindTheSameAddresses) {
    open();
    Failures failures;
    const Addresses listed = list_addresses(1, true, failures);
    const Addresses walked = walk_addresses(1, failures);
    const Addresses searched = search_addresses(1, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_THAT(listed.entries, SizeIs(3));
    ASSERT_THAT(walked.entries, SizeIs(3));
    ASSERT_THAT(searched.entries, SizeIs(3));
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(mac_text(walked.entries[i].mac), mac_text(listed.entries[i].mac));
        EXPECT_EQ(mac_text(searched.entries[i].mac), mac_text(listed.entries[i].mac));
        EXPECT_EQ(walked.entries[i].port, listed.entries[i].port);
        EXPECT_EQ(walked.entries[i].is_static, listed.entries[i].is_static);
    }
    EXPECT_EQ(mac_text(listed.entries[0].mac), "02:00:00:00:00:01");
    EXPECT_EQ(listed.entries[0].port, 23U);
    EXPECT_TRUE(listed.entries[0].is_static);
    EXPECT_EQ(listed.entries[0].entry, std::nullopt);
    EXPECT_EQ(walked.entries[0].entry, (Bytes{0x00, 0x97, 0x02, 0x00, 0x00, 0x00, 0x00, 0x01}));
    EXPECT_EQ(walked.entries[0].vid, std::nullopt);
    EXPECT_EQ(searched.entries[0].vlan, (Bytes{0x00, 0x01}));
    EXPECT_EQ(searched.entries[0].vid, 1U);
}

TEST_F(AddressTable, AFailureIsNoted) {
    open("getmacs code=17");
    Failures failures;
    const Addresses addresses = list_addresses(0, true, failures);
    EXPECT_FALSE(addresses.whole);
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0], (Failure{0, "ksl_read_ARL_table", "address table", 17}));
}

TEST_F(AddressTable, AWalkThatCannotBeStartedFindsNothing) {
    // It continues only while it reads the mark of another entry, and the library reports no failure.
    open("setreg page=5 offset=0x24 code=17");
    Failures failures;
    const Addresses addresses = walk_addresses(1, failures);
    EXPECT_TRUE(addresses.whole);
    EXPECT_THAT(addresses.entries, IsEmpty());
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(AddressTable, AWalkIsNotWholeIfItsRegisterCannotBeReadBeforeOrAfterIt) {
    // Each of the three entries takes two reads, the end another one.
    for (const auto &[fault, entries] :
         {std::pair{"getreg page=5 offset=0x24 code=17", 0}, {"getreg page=5 offset=0x24 nth=9 code=17", 3}}) {
        open(fault);
        Failures failures;
        const Addresses addresses = walk_addresses(1, failures);
        EXPECT_FALSE(addresses.whole) << fault;
        EXPECT_THAT(addresses.entries, SizeIs(entries)) << fault;
        ASSERT_THAT(failures, SizeIs(1)) << fault;
        EXPECT_EQ(failures[0].code, 17) << fault;
        EXPECT_EQ(failures[0].about, "address entry (page 0x05, offset 0x24)") << fault;
    }
}

TEST_F(AddressTable, AnEntryWhoseAccessFailsIsTheOneBefore) {
    open("getreg page=5 offset=0x24 nth=5 code=17 once");
    Failures failures;
    EXPECT_TRUE(repeats_an_entry(walk_addresses(1, failures)));
    EXPECT_THAT(failures, IsEmpty());
    open();
    EXPECT_FALSE(repeats_an_entry(walk_addresses(1, failures)));
    EXPECT_FALSE(repeats_an_entry(list_addresses(1, true, failures))); // it has no bytes to compare
}

TEST_F(AddressTable, ASearchWhoseFirstAccessesFailFindsNothing) {
    for (const char *const fault : {"setreg page=5 offset=0x20 code=17", "getreg page=5 offset=0x20 code=17",
                                    "getreg page=5 offset=0x2c code=17", "getreg page=5 offset=0x24 code=17"}) {
        open(fault);
        Failures failures;
        const Addresses addresses = search_addresses(1, failures);
        EXPECT_FALSE(addresses.whole) << fault;
        EXPECT_THAT(addresses.entries, IsEmpty()) << fault;
        EXPECT_THAT(failures, ElementsAre(Failure{1, "dbg_ksl_search_ARL_table", "address table", 17})) << fault;
    }
}

TEST_F(AddressTable, ASearchKeepsWhatItFoundBeforeAFailure) {
    for (const char *const fault :
         {"getreg page=5 offset=0x20 nth=4 code=17", "getreg page=5 offset=0x2c nth=3 code=17",
          "getreg page=5 offset=0x24 nth=3 code=17"}) {
        open(fault);
        Failures failures;
        const Addresses addresses = search_addresses(1, failures);
        EXPECT_FALSE(addresses.whole) << fault;
        ASSERT_THAT(addresses.entries, SizeIs(2)) << fault;
        EXPECT_EQ(mac_text(addresses.entries[1].mac), "02:00:00:00:02:20") << fault;
        EXPECT_THAT(failures,
                    ElementsAre(Failure{1, "dbg_ksl_search_ARL_table", "address table", 17, "not read whole"}))
            << fault;
    }
}

// A chip that never ends its table is left, and the library can be called again.
void expect_endless(const Addresses &addresses, const Failures &failures, const std::string &operation) {
    EXPECT_FALSE(addresses.whole);
    EXPECT_THAT(addresses.entries, IsEmpty());
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].operation, "");
    EXPECT_EQ(failures[0].about, "address table");
    EXPECT_EQ(failures[0].reason, operation + " found no end of it after 16384 entries, and it has room for 8192; the "
                                              "chip gives no sensible answers");
    Failures none;
    EXPECT_THAT(list_addresses(1, true, none).entries, SizeIs(3));
    EXPECT_THAT(none, IsEmpty());
}

TEST_F(AddressTable, AWalkWithoutEndIsLeft) {
    open("getreg page=5 offset=0x24 nth=4 code=17"); // the mark of another entry stays
    Failures failures;
    const Addresses addresses = walk_addresses(1, failures);
    expect_endless(addresses, failures, "__KSL_READ_ARL_TABLE");
}

TEST_F(AddressTable, ASearchWithoutEndIsLeft) {
    open("getreg page=5 offset=0x20 nth=4 garble"); // every further look finds another entry
    Failures failures;
    const Addresses addresses = search_addresses(1, failures);
    expect_endless(addresses, failures, "dbg_ksl_search_ARL_table");
}

TEST_F(AddressTable, RegistersBelongToTheirEntries) {
    open();
    Failures failures;
    const std::vector<Reading> searched = registers_of(search_addresses(1, failures));
    ASSERT_THAT(searched, SizeIs(6));
    EXPECT_STREQ(searched[2].name, "address_vlan");
    EXPECT_EQ(*searched[2].bytes, (Bytes{0x00, 0x01}));
    EXPECT_STREQ(searched[3].name, "address_entry");
    EXPECT_STREQ(searched[3].of->first, "entry");
    EXPECT_EQ(searched[3].of->second, 1U);
    EXPECT_EQ(*searched[3].bytes, (Bytes{0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x20}));
    EXPECT_THAT(registers_of(walk_addresses(1, failures)), SizeIs(3));
    EXPECT_THAT(registers_of(list_addresses(1, true, failures)), IsEmpty());
}

TEST(BoundedCall, EndsOrIsLeft) {
    EXPECT_TRUE(call_bounded([] {}));
    EXPECT_FALSE(call_bounded([] { leave_bounded_call(); }));
}

TEST(BoundedCall, IsLeftAtTheEndOfItsMemory) {
    constexpr size_t kSize = 0x10000;
    BoundedMemory memory(kSize);
    volatile auto *const bytes = static_cast<uint8_t *>(memory.data());
    EXPECT_TRUE(call_bounded([&] { bytes[kSize - 1] = 1; }));
    EXPECT_FALSE(call_bounded([&] { bytes[kSize] = 1; }));
}

} // namespace
