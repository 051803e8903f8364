// SPDX-License-Identifier: Apache-2.0
// Time passes: counters move, addresses age and are heard again.
#include "chip/addresses.h"
#include "chip/configurations.h"
#include "chip/counters.h"
#include "model.h"
#include "problem.h"
#include "state/clock.h"

#include <gmock/gmock.h>
#include <set>
#include <unistd.h>

namespace hwa {
namespace {

using hwa_test::Bytes;
using testing::ElementsAre;

// Addresses end in 1 (port 3), 2 (static), 3 (silent), 4 (port 4, without a link).
constexpr char kBusy[] = R"({"name": "busy", "chips": [{"chip": 0, "seed": 7,
    "ports": [
      { "port": 3, "link": true, "rates": [{ "offset": "0x00", "per_second": 1000000 },
                                           { "offset": "0x18", "per_second": 400 }] },
      { "port": 4, "link": false, "rates": [{ "offset": "0x18", "per_second": 400 }] },
      { "port": 23, "link": true, "rates": [{ "offset": "0x18", "per_second": 400 },
                                            { "offset": "0x98", "per_second": 4294967295 }] }],
    "addresses": [{ "mac": "02:00:00:00:00:01", "port": 3 },
                  { "mac": "02:00:00:00:00:02", "port": 3, "static": true },
                  { "mac": "02:00:00:00:00:03", "port": 3, "silent": true },
                  { "mac": "02:00:00:00:00:04", "port": 4 }],
    "registers": [{ "page": "0x53", "offset": "0x08", "bytes": "00000009" },
                  { "page": "0x67", "offset": "0x18", "bytes": "fffffff0" }]}]})";

class Traffic : public hwa_test::ModelTest {
protected:
    Traffic() : ModelTest(kBusy) {}

    void pass(uint64_t milliseconds) {
        Transaction transaction(state);
        Clock(std::to_string(milliseconds) + "ms").advance(transaction, *transaction.chip(0));
        transaction.commit();
    }

    uint64_t counter(size_t port, uint8_t offset, size_t length = 4) {
        uint64_t value = 0;
        for (const uint8_t byte : read(static_cast<uint8_t>(0x50 + port), offset, length)) {
            value = value << 8 | byte;
        }
        return value;
    }

    std::vector<int> table() {
        const Transaction transaction(state);
        AddressScan scan(*transaction.chip(0));
        std::vector<int> entries;
        while (const AddressImage *const entry = scan.next()) {
            entries.push_back(entry->raw[7]);
        }
        return entries;
    }

    void link(size_t port, bool up) { write(0, static_cast<uint8_t>(0xD0 + port), {static_cast<uint8_t>(up ? 0 : 3)}); }
    void age(uint8_t seconds) { write(2, 0x06, {0xFF, 0xF0, 0, seconds}); } // only the low 20 bits count
};

TEST_F(Traffic, CountersMoveAtAboutTheirRate) {
    EXPECT_EQ(counter(3, 0x18), 0U);
    uint64_t before = 0;
    std::set<uint64_t> increases;
    for (unsigned second = 1; second <= 20; ++second) {
        pass(1000);
        const uint64_t now = counter(3, 0x18);
        EXPECT_GE(now - before, 200U) << second;
        EXPECT_LE(now - before, 600U) << second;
        increases.insert(now - before);
        before = now;
    }
    EXPECT_NEAR(static_cast<double>(before), 20 * 400 + 100, 100);
    EXPECT_GT(increases.size(), 10U);
    // Half a second is half of it.
    const uint64_t start = counter(3, 0x00, 8);
    pass(500);
    const uint64_t half = counter(3, 0x00, 8) - start;
    pass(500);
    EXPECT_NEAR(static_cast<double>(counter(3, 0x00, 8) - start), 2 * static_cast<double>(half), 2);
    EXPECT_EQ(counter(3, 0x1C), 0U); // no rate
    EXPECT_EQ(counter(3, 0x08), 9U);
    EXPECT_EQ(counter(4, 0x18), 0U); // no link
}

TEST_F(Traffic, IsNotForwarded) {
    {
        Transaction transaction(state);
        ASSERT_TRUE(configure(transaction, *transaction.chip(0), 2)); // nothing goes from port to port
        transaction.commit();
    }
    for (const uint8_t page : Bytes{2, 0x32, 0x34}) { // mirroring, trunks, VLANs
        write(page, 0x10, Bytes(8, 0xFF));
    }
    pass(10'000);
    EXPECT_GE(counter(3, 0x18), 2000U);
    EXPECT_EQ(counter(4, 0x18), 0U);
    EXPECT_THAT(table(), ElementsAre(1, 2, 3, 4));
}

TEST_F(Traffic, IsTheSameForTheSameSeed) {
    const auto after = [&](const std::string &seed, const std::string &name) {
        std::string text = kBusy;
        text.replace(text.find("\"seed\": 7"), 9, seed);
        const Scenario other = parse_scenario(text);
        StateFile mine(folder / name, other);
        Transaction transaction(mine);
        const ChipImage &chip = *transaction.chip(0);
        std::vector<Bytes> shown;
        for (int i = 0; i < 3; ++i) {
            Clock("1300ms").advance(transaction, chip);
            for (const uint8_t page : Bytes{0x53, 0x67}) {
                Bytes bytes(4);
                read_register(transaction, chip, page, 0x18, bytes);
                shown.push_back(bytes);
            }
        }
        return shown;
    };
    const std::vector<Bytes> shown = after("\"seed\": 7", "a");
    EXPECT_EQ(after("\"seed\": 7", "b"), shown);
    EXPECT_NE(after("\"seed\": 8", "c"), shown);
    // Equal rates are not equal traffic.
    pass(5000);
    EXPECT_NE((counter(23, 0x18) + 0x10) & 0xFFFFFFFF, counter(3, 0x18));
}

TEST_F(Traffic, CountersWrapAround) {
    EXPECT_EQ(counter(23, 0x18), 0xFFFFFFF0);
    pass(1000);
    EXPECT_LT(counter(23, 0x18), 600U);
    pass(1000);
    EXPECT_GT(counter(23, 0x98), 0U);
    EXPECT_EQ(counter(23, 0x94), 0U); // nothing next to it
    EXPECT_EQ(counter(23, 0x9C), 0U);
}

// Every counter moves alone, in all its bytes and in no other byte.
TEST_F(Traffic, EachCounterHasItsPlace) {
    const std::vector<unsigned> offsets{0x00, 0x08, 0x10, 0x18, 0x1C, 0x30, 0x38, 0x50, 0x54, 0x58, 0x5C,
                                        0x60, 0x64, 0x68, 0x70, 0x74, 0x78, 0x7C, 0x84, 0x88, 0x90, 0x98};
    for (const unsigned offset : offsets) {
        const std::string text =
            R"({"name":"n","chips":[{"chip":0,"ports":[{"port":9,"link":true,"rates":[{"offset":)" +
            std::to_string(offset) + R"(,"per_second":4294967295}]}]}]})";
        Scenario one = parse_scenario(text);
        ChipImage &chip = one.chips[0];
        chip.time = to_bytes<8>(uint64_t{1} << 55); // long enough for all 64 bits of the wide ones
        const unsigned length = offset == 0x00 || offset == 0x7C ? 8 : 4;
        for (unsigned at = 0; at < kPageSize; ++at) {
            if (at < offset || at >= offset + length) {
                EXPECT_EQ(counter_byte(chip, 9, static_cast<uint8_t>(at)), 0) << offset << " " << at;
            }
        }
        uint64_t value = 0;
        for (unsigned i = 0; i < length; ++i) {
            value = value << 8 | counter_byte(chip, 9, static_cast<uint8_t>(offset + i));
        }
        EXPECT_NE(value >> (8 * length - 8), 0U) << offset;
        EXPECT_EQ(counter_byte(chip, 8, static_cast<uint8_t>(offset + length - 1)), 0) << offset;
    }
}

TEST_F(Traffic, NeedsALink) {
    pass(1000);
    const uint64_t first = counter(3, 0x18);
    link(3, false);
    EXPECT_EQ(counter(3, 0x18), first);
    pass(10000);
    EXPECT_EQ(counter(3, 0x18), first);
    link(3, true);
    EXPECT_EQ(counter(3, 0x18), first);
    pass(1000);
    const uint64_t second = counter(3, 0x18);
    EXPECT_GE(second - first, 200U);
    EXPECT_LE(second - first, 600U);
    link(3, false);
    link(3, true);
    EXPECT_EQ(counter(3, 0x18), second);
}

TEST_F(Traffic, AWrittenCounterIsWhatTheTrafficAddsTo) {
    pass(1000);
    const uint64_t traffic = counter(3, 0x18);
    write(0x53, 0x18, {0, 0, 1, 0});
    EXPECT_EQ(counter(3, 0x18), traffic + 0x100);
    write(0x53, 0x1C, {0, 0, 0, 5});
    EXPECT_EQ(counter(3, 0x1C), 5U);
}

TEST_F(Traffic, AResetBeginsToCountAnew) {
    pass(1000);
    const uint64_t first = counter(3, 0x18);
    pass(7000);
    link(3, false);
    reset();
    EXPECT_EQ(counter(3, 0x18), 0U);
    EXPECT_EQ(counter(3, 0x08), 0U);
    EXPECT_EQ(counter(23, 0x18), 0U);
    pass(1000);
    EXPECT_EQ(counter(3, 0x18), first);
}

TEST_F(Traffic, AddressesThatAreNotHeardAge) {
    EXPECT_THAT(table(), ElementsAre(1, 2, 3, 4));
    pass(1000000);
    EXPECT_THAT(table(), ElementsAre(1, 2, 3, 4)); // an age time of 0 keeps them
    age(5);
    EXPECT_THAT(table(), ElementsAre(1, 2));
    link(3, false);
    pass(4999);
    EXPECT_THAT(table(), ElementsAre(1, 2));
    pass(1);
    EXPECT_THAT(table(), ElementsAre(2));
    EXPECT_THAT(read(0x41, 0x36, 2), ElementsAre(0, 0));
    link(3, true);
    EXPECT_THAT(table(), ElementsAre(1, 2));
    EXPECT_THAT(read(0x41, 0x36, 2), ElementsAre(0, 1));
}

TEST_F(Traffic, TheAgeTimeHas20Bits) {
    write(2, 0x06, {0x00, 0x01, 0x01, 0x02}); // 65794 seconds
    pass(65793999);
    EXPECT_THAT(table(), ElementsAre(1, 2, 3, 4));
    pass(1);
    EXPECT_THAT(table(), ElementsAre(1, 2));
}

TEST_F(Traffic, AfterAResetStationsAreHeardAgainOneByOne) {
    reset();
    EXPECT_THAT(table(), ElementsAre(2));
    pass(999);
    EXPECT_THAT(table(), ElementsAre(2));
    pass(1);
    EXPECT_THAT(table(), ElementsAre(1, 2));
    pass(100000);
    EXPECT_THAT(table(), ElementsAre(1, 2)); // the others say nothing, or have no link
}

TEST_F(Traffic, StationsAreHeardAgainWithinTenSecondsOfLink) {
    std::string addresses;
    for (int i = 0; i < 20; ++i) {
        addresses += std::string(i > 0 ? "," : "") + R"({"mac":"02:00:00:00:00:)" + (i < 10 ? "0" : "") +
                     std::to_string(i) + R"(","port":3})";
    }
    const Scenario many = parse_scenario(
        R"({"name":"many","chips":[{"chip":0,"ports":[{"port":3,"link":true}],"addresses":[)" + addresses + "]}]}");
    StateFile mine(folder / "many", many);
    Transaction transaction(mine);
    const ChipImage &chip = *transaction.chip(0);
    const auto count = [&chip] {
        AddressScan scan(chip);
        while (scan.next() != nullptr) {
            ;
        }
        return scan.learned(3);
    };
    EXPECT_EQ(count(), 20);
    transaction.reset(chip);
    for (uint16_t second = 0; second <= 12; ++second) {
        EXPECT_EQ(count(), std::min(2 * second, 20)) << second;
        Clock("1s").advance(transaction, chip);
    }
}

TEST(HubClock, TakesATimeForEachAccess) {
    for (const char *text : {"", "0s", "1us", "10ms", "4294967295s"}) {
        EXPECT_NO_THROW(Clock{text}) << text;
    }
    for (const char *text : {"10", "ms", "-1s", "1 s", "1h", "1ss", "4294967296s", "s1"}) {
        try {
            Clock clock(text);
            ADD_FAILURE() << text;
        } catch (const Unusable &problem) {
            EXPECT_EQ(problem.what(),
                      "\"" + std::string(text) + "\" must be a time for each access, such as 10ms or 0s");
        }
    }
}

TEST_F(Traffic, TimePassesByItself) {
    const auto advance = [&] {
        Transaction transaction(state);
        Clock("").advance(transaction, *transaction.chip(0));
        transaction.commit();
        return time_of(*transaction.chip(0));
    };
    EXPECT_EQ(advance(), 0U); // nobody knows for how long there was nobody
    usleep(20000);
    const uint64_t first = advance();
    EXPECT_GE(first, 20000U);
    EXPECT_LT(first, 60 * kSecond);
    {
        Transaction transaction(state);
        transaction.store(transaction.chip(0)->seen, to_bytes<8>(uint64_t{1} << 62)); // the clock was set back
        transaction.commit();
    }
    EXPECT_EQ(advance(), first);
    EXPECT_LT(advance(), first + 60 * kSecond);
}

} // namespace
} // namespace hwa
