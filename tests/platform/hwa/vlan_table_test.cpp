// SPDX-License-Identifier: Apache-2.0
#include "model.h"

#include <gmock/gmock.h>

namespace hwa {
namespace {

using hwa_test::Bytes;
using testing::Each;
using testing::ElementsAre;

constexpr uint8_t kPage = 0x08;
constexpr uint8_t kCommand = 0x30;
constexpr uint8_t kAddress = 0x32;
constexpr uint8_t kEntry = 0x38;

class VlanTable : public hwa_test::ModelTest {
protected:
    void address(unsigned vid) {
        write(kPage, kAddress, {0x00, static_cast<uint8_t>(0x20 + (vid >> 8)), static_cast<uint8_t>(vid)});
    }

    Bytes entry(unsigned vid) {
        address(vid);
        write(kPage, kCommand, {0x81, 0x00, 0x00});
        return read(kPage, kEntry, 8);
    }

    void set_entry(unsigned vid, const Bytes &bytes) {
        address(vid);
        write(kPage, kEntry, bytes);
        write(kPage, kCommand, {0x80, 0x00, 0x00});
    }
};

TEST_F(VlanTable, HoldsAnEntryForEachVlan) {
    const auto value = [](unsigned vid) {
        return Bytes{0x08, 0x40, static_cast<uint8_t>(vid >> 8), static_cast<uint8_t>(vid), 5, 6, 7, 8};
    };
    for (unsigned vid = 1; vid <= 4094; ++vid) {
        EXPECT_THAT(entry(vid), Each(0)) << vid;
    }
    for (unsigned vid = 1; vid <= 4094; ++vid) {
        set_entry(vid, value(vid));
    }
    for (unsigned vid = 4094; vid >= 1; --vid) {
        ASSERT_EQ(entry(vid), value(vid)) << vid;
    }
    EXPECT_THAT(read(kPage, kEntry, 8), ElementsAre(0x08, 0x40, 0, 1, 5, 6, 7, 8)); // until the next command
}

TEST_F(VlanTable, EachChipHasItsOwn) {
    set_entry(9, {8, 1, 2, 3, 4, 5, 6, 7});
    write(kPage, kAddress, {0, 0x20, 9}, 5);
    write(kPage, kCommand, {0x81, 0, 0}, 5);
    EXPECT_THAT(read(kPage, kEntry, 8, 5), Each(0));
}

TEST_F(VlanTable, AnEntryHas60Bits) {
    set_entry(9, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_THAT(read(kPage, kEntry, 8), Each(0xFF));
    EXPECT_THAT(entry(9), ElementsAre(0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF));
}

TEST_F(VlanTable, WhatIsNoAddressOfTheTableIsEmpty) {
    set_entry(1, {1, 2, 3, 4, 5, 6, 7, 8});
    const Bytes addresses[] = {{0x00, 0x20, 0x00}, {0x00, 0x2F, 0xFF}, {0x00, 0x00, 0x01}, {0x00, 0x10, 0x01},
                               {0x00, 0x30, 0x01}, {0x01, 0x20, 0x01}, {0x80, 0x20, 0x01}, {0xFF, 0xFF, 0xFF}};
    for (const Bytes &address : addresses) {
        write(kPage, kAddress, address);
        write(kPage, kEntry, {0xA, 0xB, 0xC, 0xD, 0xE, 0xF, 0x1, 0x2});
        write(kPage, kCommand, {0x80, 0, 0});
        write(kPage, kCommand, {0x81, 0, 0});
        EXPECT_THAT(read(kPage, kEntry, 8), Each(0)) << testing::PrintToString(address);
    }
    EXPECT_THAT(entry(1), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST_F(VlanTable, TheRegistersShareNoBytes) {
    write(kPage, kAddress, {0x00, 0x21, 0x23});
    write(kPage, kCommand, {0x01, 0xAA, 0xBB});
    write(kPage, kEntry, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_THAT(read(kPage, kCommand, 3), ElementsAre(0x01, 0xAA, 0xBB));
    EXPECT_THAT(read(kPage, kAddress, 3), ElementsAre(0x00, 0x21, 0x23));
    EXPECT_THAT(read(kPage, kEntry, 8), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    // They answer at their own offsets only, and not after their ends.
    for (const uint8_t offset : Bytes{0x31, 0x33, 0x34, 0x35, 0x39}) {
        EXPECT_THAT(read(kPage, offset, 1), ElementsAre(0)) << int{offset};
        write(kPage, offset, {0x5A});
        EXPECT_THAT(read(kPage, offset, 1), ElementsAre(0x5A)) << int{offset};
    }
    EXPECT_THAT(read(kPage, kCommand, 8), ElementsAre(0x01, 0xAA, 0xBB, 0, 0, 0, 0, 0));
    EXPECT_THAT(read(kPage, kAddress, 8), ElementsAre(0x00, 0x21, 0x23, 0, 0, 0, 0, 0));
    EXPECT_THAT(read(kPage, 0x2F, 3), ElementsAre(0, 0, 0x5A));
    write(kPage, kAddress, {0x00, 0x22, 0x24, 0xFF, 0xFF});
    EXPECT_THAT(read(kPage, kAddress, 5), ElementsAre(0x00, 0x22, 0x24, 0, 0));
    EXPECT_THAT(read(kPage, kEntry, 2), ElementsAre(1, 2));
    // A shorter write changes fewer bytes.
    write(kPage, kEntry, {0x91, 0x92});
    EXPECT_THAT(read(kPage, kEntry, 4), ElementsAre(0x91, 0x92, 3, 4));
    EXPECT_THAT(read(9, kCommand, 3), Each(0));
}

TEST_F(VlanTable, OnlyTheTwoCommandsDoSomething) {
    set_entry(9, {8, 1, 2, 3, 4, 5, 6, 7});
    address(9);
    for (unsigned command = 0; command < 256; ++command) {
        if (command == 0x80 || command == 0x81) {
            continue;
        }
        write(kPage, kEntry, {9, 9, 9, 9, 9, 9, 9, 9});
        write(kPage, kCommand, {static_cast<uint8_t>(command), 0, 0});
        EXPECT_THAT(read(kPage, kCommand, 1), ElementsAre(command & 0x7F));
        EXPECT_THAT(read(kPage, kEntry, 8), Each(9)) << command;
    }
    EXPECT_THAT(entry(9), ElementsAre(8, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT(read(kPage, kCommand, 1), ElementsAre(0x01)); // done
    write(kPage, kCommand, {0x81});                           // its first byte is the command
    EXPECT_THAT(read(kPage, kEntry, 8), ElementsAre(8, 1, 2, 3, 4, 5, 6, 7));
}

TEST_F(VlanTable, LastsAndIsResetToTheScenario) {
    const Scenario own = parse_scenario(R"({"name": "own", "chips": [{"chip": 0, "vlan": {"enabled": true, "entries": [
        { "vid": 1, "field": 2, "upper_map": 3, "lower_map": "0x0400005" }]}}]})");
    const auto table_entry = [&](unsigned vid) {
        StateFile mine(folder / "own", own);
        const auto bytes = Transaction(mine).chip(0)->vlan.entries.at(vid);
        return from_bytes(bytes);
    };
    const uint64_t stated = uint64_t{1} << 59 | uint64_t{2} << 54 | uint64_t{3} << 27 | 0x400005;
    EXPECT_EQ(table_entry(1), stated);
    {
        StateFile mine(folder / "own", own);
        Transaction transaction(mine);
        const ChipImage &chip = *transaction.chip(0);
        write_register(transaction, chip, kPage, kAddress, Bytes{0, 0x20, 1});
        write_register(transaction, chip, kPage, kEntry, Bytes{0, 0, 0, 0, 0, 0, 0, 7});
        write_register(transaction, chip, kPage, kCommand, Bytes{0x80, 0, 0});
        transaction.commit();
    }
    EXPECT_EQ(table_entry(1), 7U);
    {
        StateFile mine(folder / "own", own);
        Transaction transaction(mine);
        transaction.reset(*transaction.chip(0));
    }
    EXPECT_EQ(table_entry(1), stated);
}

} // namespace
} // namespace hwa
