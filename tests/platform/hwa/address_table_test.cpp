// SPDX-License-Identifier: Apache-2.0
// The address table as a scan, as a walk, as a search, and as counts.
#include "chip/addresses.h"
#include "model.h"

#include <gmock/gmock.h>

namespace hwa {
namespace {

using hwa_test::Bytes;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint8_t kPage = 0x05;
constexpr uint8_t kSearch = 0x20;
constexpr uint8_t kEntry = 0x24;
constexpr uint8_t kVid = 0x2C;
constexpr uint8_t kLearning = 0x41;

// Six addresses: those of port 3 end in 1, 2 (static), 4, 5; those of port 23 in 3, 6.
constexpr char kSixAddresses[] = R"({"name": "six addresses", "chips": [{"chip": 0,
    "ports": [{ "port": 3, "link": true, "pvid": 100 }, { "port": 23, "link": true, "pvid": 200 }],
    "addresses": [{ "mac": "02:00:00:00:00:01", "port": 3 },
                  { "mac": "02:00:00:00:00:02", "port": 3, "static": true, "vid": 4094 },
                  { "mac": "02:00:00:00:00:03", "port": 23 },
                  { "mac": "02:00:00:00:00:04", "port": 3, "vid": 7 },
                  { "mac": "02:00:00:00:00:05", "port": 3 },
                  { "mac": "02:00:00:00:00:06", "port": 23 }]}, {"chip": 5}]})";

class AddressTable : public hwa_test::ModelTest {
protected:
    AddressTable() : ModelTest(kSixAddresses) {}

    // Last byte of the MAC address of each entry, in the scan's order.
    std::vector<int> scanned() {
        const Transaction transaction(state);
        AddressScan scan(*transaction.chip(0));
        std::vector<int> entries;
        while (const AddressImage *const entry = scan.next()) {
            entries.push_back(entry->raw[7]);
        }
        EXPECT_EQ(scan.next(), nullptr);
        return entries;
    }

    std::vector<int> walked(uint32_t chip = 0) {
        std::vector<int> entries;
        write(kPage, kEntry, {0x80}, chip);
        while (read(kPage, kEntry, 1, chip) == Bytes{0x80} && entries.size() < 10) {
            entries.push_back(read(kPage, kEntry, 8, chip)[7]);
        }
        return entries;
    }

    struct Search {
        std::vector<int> entries;
        std::vector<unsigned> vids;
        std::string looks; // "." for nothing yet, "+" for a result, in brackets when it ended the search
    };

    Search search(uint32_t chip = 0) {
        Search result;
        write(kPage, kSearch, {0x80, 0, 0, 0, 0, 0, 0, 0}, chip);
        for (bool more = true; more && result.looks.size() < 30;) {
            const Bytes look = read(kPage, kSearch, 8, chip);
            EXPECT_THAT(Bytes(look.begin() + 1, look.end()), Each(0));
            EXPECT_EQ(look[0] & ~0x81, 0);
            more = (look[0] & 0x80) != 0;
            const bool found = (look[0] & 0x01) != 0;
            result.looks += std::string(more ? "" : "(") + (found ? "+" : ".") + (more ? "" : ")");
            if (!found) {
                continue;
            }
            const Bytes vid = read(kPage, kVid, 2, chip);
            result.vids.push_back(static_cast<unsigned>(vid[0] << 8 | vid[1]));
            result.entries.push_back(read(kPage, kEntry, 8, chip)[7]);
        }
        return result;
    }

    unsigned learned(size_t port) {
        const Bytes count = read(kLearning, static_cast<uint8_t>(0x30 + 2 * port), 2);
        return static_cast<unsigned>(count[0] << 8 | count[1]);
    }

    void limit(size_t port, unsigned most) {
        write(kLearning, static_cast<uint8_t>(0x70 + 2 * port),
              {static_cast<uint8_t>(most >> 8), static_cast<uint8_t>(most)});
    }
};

TEST_F(AddressTable, IsTheSameInAllWays) {
    EXPECT_THAT(scanned(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(walked(), ElementsAre(1, 2, 3, 4, 5, 6));
    const Search found = search();
    EXPECT_THAT(found.entries, ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(found.vids, ElementsAre(100, 4094, 200, 7, 100, 200));
    EXPECT_EQ(found.looks, ".++++.+(+)");
}

TEST_F(AddressTable, AnEmptyOneEndsAtOnce) {
    EXPECT_THAT(walked(5), IsEmpty());
    EXPECT_EQ(search(5).looks, ".(.)");
}

TEST_F(AddressTable, EntriesHaveTheirWholeForm) {
    write(kPage, kEntry, {0x80});
    EXPECT_THAT(read(kPage, kEntry, 8), ElementsAre(0, 3, 2, 0, 0, 0, 0, 1));
    EXPECT_THAT(read(kPage, kEntry, 8), ElementsAre(0, 0x83, 2, 0, 0, 0, 0, 2));
    EXPECT_THAT(read(kPage, kEntry, 4), ElementsAre(0, 23, 2, 0));
}

TEST_F(AddressTable, AWalkGoesOnlyOnByReadingAnEntry) {
    EXPECT_THAT(read(kPage, kEntry, 1), ElementsAre(0)); // before any walk
    write(kPage, kEntry, {0x80});
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(read(kPage, kEntry, 1), ElementsAre(0x80));
    }
    EXPECT_EQ(read(kPage, kEntry, 8)[7], 1);
    write(kPage, kEntry, {0x7F}); // no start
    EXPECT_EQ(read(kPage, kEntry, 8)[7], 2);
    write(kPage, kEntry, {0x80});
    EXPECT_EQ(read(kPage, kEntry, 8)[7], 1);
    for (int i = 2; i <= 6; ++i) {
        EXPECT_EQ(read(kPage, kEntry, 8)[7], i);
    }
    EXPECT_THAT(read(kPage, kEntry, 1), ElementsAre(0));
    EXPECT_THAT(read(kPage, kEntry, 8), Each(0));
}

TEST_F(AddressTable, ASearchKeepsItsResultUntilTheNextLook) {
    write(kPage, kSearch, {0x80, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_THAT(read(kPage, kVid, 2), Each(0));
    EXPECT_THAT(read(kPage, kSearch, 1), ElementsAre(0x80));
    EXPECT_THAT(read(kPage, kEntry, 8), Each(0));
    EXPECT_THAT(read(kPage, kSearch, 8), ElementsAre(0x81, 0, 0, 0, 0, 0, 0, 0));
    for (int i = 0; i < 2; ++i) {
        EXPECT_THAT(read(kPage, kEntry, 8), ElementsAre(0, 3, 2, 0, 0, 0, 0, 1));
        EXPECT_THAT(read(kPage, kVid, 2), ElementsAre(0, 100));
        EXPECT_THAT(read(kPage, kEntry, 1), ElementsAre(0)); // no walk
        write(kPage, kVid, {9, 9});
    }
    EXPECT_THAT(read(kPage, kSearch, 1), ElementsAre(0x81));
    EXPECT_THAT(read(kPage, kVid, 2), ElementsAre(0x0F, 0xFE));
    write(kPage, kSearch, {0x7F});
    EXPECT_THAT(read(kPage, kSearch, 8), Each(0));
    EXPECT_THAT(read(kPage, kVid, 2), Each(0));
    EXPECT_EQ(search().looks, ".++++.+(+)");
    for (int look = 0; look < 6; ++look) {
        EXPECT_THAT(read(kPage, kSearch, 8), Each(0)); // ended
    }
    EXPECT_THAT(read(kPage, kVid, 2), ElementsAre(0, 200));
}

TEST_F(AddressTable, AWalkAndASearchEndEachOther) {
    write(kPage, kEntry, {0x80});
    write(kPage, kSearch, {0x80});
    EXPECT_THAT(read(kPage, kEntry, 1), ElementsAre(0));
    write(kPage, kEntry, {0x80});
    EXPECT_THAT(read(kPage, kSearch, 8), Each(0));
    EXPECT_EQ(read(kPage, kEntry, 8)[7], 1);
}

TEST_F(AddressTable, ThePortsCountWhatTheyLearned) {
    for (size_t port = 0; port < kPorts; ++port) {
        EXPECT_EQ(learned(port), port == 3 ? 3U : port == 23 ? 2U : 0U) << port;
    }
    EXPECT_THAT(read(kLearning, 0x35, 4), ElementsAre(0, 0, 3, 0));
    write(kLearning, 0x36, {0xFF, 0xFF});
    EXPECT_EQ(learned(3), 3U);
    EXPECT_THAT(read(kLearning, 0x2E, 2), Each(0));
    EXPECT_THAT(read(kLearning, 0x60, 2), Each(0));
}

TEST_F(AddressTable, ALimitHoldsForWhatAPortLearns) {
    limit(3, 2);
    EXPECT_THAT(scanned(), ElementsAre(1, 2, 3, 4, 6));
    EXPECT_THAT(walked(), ElementsAre(1, 2, 3, 4, 6));
    EXPECT_THAT(search().entries, ElementsAre(1, 2, 3, 4, 6));
    EXPECT_EQ(learned(3), 2U);
    EXPECT_EQ(learned(23), 2U);
    limit(3, 0xE001); // only 13 bits count
    limit(23, 1);
    EXPECT_THAT(scanned(), ElementsAre(1, 2, 3)); // static ones need no learning
    EXPECT_EQ(search().looks, ".++(+)");
    limit(3, 0x2000); // the largest number is 0 in 13 bits
    EXPECT_THAT(scanned(), ElementsAre(1, 2, 3, 4, 5));
    for (size_t port = 0; port < kPorts; ++port) {
        limit(port, port == 3 || port == 23 ? 0 : 1);
    }
    EXPECT_THAT(scanned(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(AddressTable, AccessesOfSeveralProcessesMeet) {
    write(kPage, kEntry, {0x80});
    EXPECT_EQ(read(kPage, kEntry, 8)[7], 1);
    limit(3, 2);
    StateFile other(folder / "state", scenario);
    {
        Transaction transaction(other);
        std::vector<int> entries;
        for (int i = 0; i < 5; ++i) {
            Bytes bytes(8);
            read_register(transaction, *transaction.chip(0), kPage, kEntry, bytes);
            entries.push_back(bytes[7]);
        }
        EXPECT_THAT(entries, ElementsAre(2, 3, 4, 6, 0)); // what was learned so far counts on
    }                                                     // never committed
    EXPECT_EQ(read(kPage, kEntry, 8)[7], 2);
}

TEST_F(AddressTable, AFullOneIsServedWhole) {
    std::string addresses;
    for (unsigned i = 0; i < kMaxAddresses; ++i) {
        char mac[18];
        std::snprintf(mac, sizeof mac, "02:00:00:00:%02x:%02x", i >> 8, i & 0xFF);
        addresses +=
            std::string(i > 0 ? "," : "") + R"({"mac":")" + mac + R"(","port":)" + std::to_string(i % 24) + "}";
    }
    const Scenario full = parse_scenario(R"({"name":"full","chips":[{"chip":0,"addresses":[)" + addresses + "]}]}");
    StateFile mine(folder / "full", full);
    Transaction transaction(mine);
    const ChipImage &chip = *transaction.chip(0);
    AddressScan scan(chip);
    unsigned count = 0;
    while (const AddressImage *const entry = scan.next()) {
        ASSERT_EQ(entry->raw[6] << 8 | entry->raw[7], count);
        // Stored in the middle, and continued.
        if (++count == 5000) {
            scan = AddressScan(chip, scan.image());
        }
    }
    EXPECT_EQ(count, kMaxAddresses);
    Bytes learned(2);
    read_register(transaction, chip, kLearning, 0x30, learned);
    EXPECT_THAT(learned, ElementsAre(0x01, 0x56)); // 342 of port 0
}

} // namespace
} // namespace hwa
