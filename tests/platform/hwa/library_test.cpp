// SPDX-License-Identifier: Apache-2.0
// The entry points of the finished libraries: results, data, faults and log lines.
#include "library.h"

#include <chrono>
#include <gmock/gmock.h>

namespace hwa_test {
namespace {

using testing::ElementsAre;

class HubLibrary : public HubTest {
protected:
    HubLibrary() {
        write_file(folder / "hub.json", R"({"name": "small hub", "chips": [
            { "chip": 0,
              "firmware": "11 12 13 14 15 16 17 18 19",
              "ports": [{ "port": 0, "link": true }, { "port": 17, "link": true, "speed": 10, "duplex": "half" }],
              "addresses": [{ "mac": "02:00:00:00:00:01", "port": 0, "static": true },
                            { "mac": "02:00:00:00:00:02", "port": 17 }],
              "registers": [{ "page": "0x34", "offset": "0x10", "bytes": "0001 0002 0003 0004" }] },
            { "chip": 1 }]})");
        set("HWA_SIM_SCENARIO", folder / "hub.json");
        set("HWA_SIM_LOG", folder / "log");
    }

    std::string log() const { return contents(folder / "log"); }
};

TEST_F(HubLibrary, SaysThatItIsASimulation) {
    EXPECT_EQ(Library().description(), "simulated hub \"small hub\" (scenario " + (folder / "hub.json") + "), state " +
                                           (folder / "state/hub.state"));
    unsetenv("HWA_SIM_SCENARIO");
    EXPECT_EQ(Library().description(),
              "simulated hub \"two-chip hub\" (built-in scenario), state " + (folder / "state/hub.state"));
}

TEST_F(HubLibrary, ReadsAndWritesRegisters) {
    const Library library;
    EXPECT_THAT(library.get(1, 0x10, 4), ElementsAre(0, 2, 0, 1));
    EXPECT_THAT(library.get(0x34, 0x12, 2), ElementsAre(0, 2));
    EXPECT_EQ(library.set(0x34, 0x12, {0x20, 0x64}), 0);
    EXPECT_THAT(library.get(0x34, 0x10, 8), ElementsAre(0, 1, 0x20, 0x64, 0, 3, 0, 4));
    EXPECT_THAT(library.get(0x34, 0x10, 4, 1), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(log(), "hwa_getreg chip=0 page=0x01 offset=0x10 length=4 -> 0 bytes=00 02 00 01\n"
                     "hwa_getreg chip=0 page=0x34 offset=0x12 length=2 -> 0 bytes=00 02\n"
                     "hwa_setreg chip=0 page=0x34 offset=0x12 length=2 bytes=20 64 -> 0\n"
                     "hwa_getreg chip=0 page=0x34 offset=0x10 length=8 -> 0 bytes=00 01 20 64 00 03 00 04\n"
                     "hwa_getreg chip=1 page=0x34 offset=0x10 length=4 -> 0 bytes=00 00 00 00\n");
}

TEST_F(HubLibrary, AnswersBadRequestsWithItsOwnCodes) {
    const Library library;
    std::array<uint8_t, 16> buffer;
    buffer.fill(0xEE);
    EXPECT_EQ(library.get(2, 1, 0x10, 4, buffer.data()), 101);
    EXPECT_EQ(library.get(0, 1, 0x10, 0, buffer.data()), 102);
    EXPECT_EQ(library.get(0, 1, 0x10, 9, buffer.data()), 102);
    EXPECT_EQ(library.get(0, 1, 0xFD, 4, buffer.data()), 102);
    EXPECT_EQ(library.get(0, 1, 0x10, 4, nullptr), 103);
    EXPECT_EQ(library.set(2, 9, 0, 1, buffer.data()), 101);
    EXPECT_EQ(library.set(0, 9, 0, 0, buffer.data()), 102);
    EXPECT_EQ(library.set(0, 9, 0, 9, buffer.data()), 102);
    EXPECT_EQ(library.set(0, 9, 0xFF, 2, buffer.data()), 102);
    EXPECT_EQ(library.set(0, 9, 0, 1, nullptr), 103);
    EXPECT_THAT(buffer, testing::Each(0xEE));
    EXPECT_THAT(library.get(9, 0, 8), testing::Each(0));
    EXPECT_EQ(log(), "hwa_getreg chip=2 page=0x01 offset=0x10 length=4 -> 101\n"
                     "hwa_getreg chip=0 page=0x01 offset=0x10 length=0 -> 102\n"
                     "hwa_getreg chip=0 page=0x01 offset=0x10 length=9 -> 102\n"
                     "hwa_getreg chip=0 page=0x01 offset=0xfd length=4 -> 102\n"
                     "hwa_getreg chip=0 page=0x01 offset=0x10 length=4 -> 103\n"
                     "hwa_setreg chip=2 page=0x09 offset=0x00 length=1 bytes=ee -> 101\n"
                     "hwa_setreg chip=0 page=0x09 offset=0x00 length=0 -> 102\n"
                     "hwa_setreg chip=0 page=0x09 offset=0x00 length=9 -> 102\n"
                     "hwa_setreg chip=0 page=0x09 offset=0xff length=2 -> 102\n"
                     "hwa_setreg chip=0 page=0x09 offset=0x00 length=1 -> 103\n"
                     "hwa_getreg chip=0 page=0x09 offset=0x00 length=8 -> 0 bytes=00 00 00 00 00 00 00 00\n");
}

ksl_reg_request request(uint8_t page, uint8_t offset, uint32_t length) {
    return {page, offset, {0xCC, 0xCC}, length, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
}

TEST_F(HubLibrary, ReadsABatchUntilOneFails) {
    const Library library;
    ksl_reg_request requests[] = {request(1, 0x10, 4), request(0x34, 0x12, 2), request(1, 0x10, 9),
                                  request(0x34, 0x10, 1)};
    EXPECT_EQ(library.get_many(0, requests, 2), 0);
    EXPECT_THAT(requests[0].data, ElementsAre(0, 2, 0, 1, 0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_THAT(requests[1].data, ElementsAre(0, 2, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_THAT(requests[2].data, testing::Each(0xEE));
    EXPECT_EQ(library.get_many(0, requests, 4), 102);
    EXPECT_THAT(requests[3].data, testing::Each(0xEE));
    EXPECT_EQ(library.get_many(0, nullptr, 0), 0);
    EXPECT_EQ(library.get_many(0, nullptr, 1), 103);
    EXPECT_EQ(library.get_many(9, requests, 1), 101);
    EXPECT_EQ(library.get_many(9, requests, 0), 101);
    EXPECT_EQ(log(), "hwa_get_multireg chip=0 request=1/2 page=0x01 offset=0x10 length=4 -> 0 bytes=00 02 00 01\n"
                     "hwa_get_multireg chip=0 request=2/2 page=0x34 offset=0x12 length=2 -> 0 bytes=00 02\n"
                     "hwa_get_multireg chip=0 request=1/4 page=0x01 offset=0x10 length=4 -> 0 bytes=00 02 00 01\n"
                     "hwa_get_multireg chip=0 request=2/4 page=0x34 offset=0x12 length=2 -> 0 bytes=00 02\n"
                     "hwa_get_multireg chip=0 request=3/4 page=0x01 offset=0x10 length=9 -> 102\n"
                     "hwa_get_multireg chip=0 request=0/0 -> 0\n"
                     "hwa_get_multireg chip=0 request=0/1 -> 103\n"
                     "hwa_get_multireg chip=9 request=1/1 page=0x01 offset=0x10 length=4 -> 101\n"
                     "hwa_get_multireg chip=9 request=0/0 -> 101\n");
}

TEST_F(HubLibrary, DeliversTheLearnedAddresses) {
    const Library library;
    std::array<std::array<uint8_t, 8>, 3> entries;
    uint32_t count = 0;
    const auto fetch = [&](uint32_t room, uint8_t chip = 0) {
        for (auto &entry : entries) {
            entry.fill(0xEE);
        }
        count = room;
        return library.get_macs(chip, entries.data(), &count);
    };
    EXPECT_EQ(fetch(3), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_THAT(entries[0], ElementsAre(0, 0x80, 2, 0, 0, 0, 0, 1));
    EXPECT_THAT(entries[1], ElementsAre(0, 17, 2, 0, 0, 0, 0, 2));
    EXPECT_THAT(entries[2], testing::Each(0xEE));
    EXPECT_EQ(fetch(1), 0);
    EXPECT_EQ(count, 1U);
    EXPECT_THAT(entries[1], testing::Each(0xEE));
    EXPECT_EQ(fetch(0), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(fetch(3, 1), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(fetch(3, 2), 101);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(library.get_macs(0, nullptr, &count), 103);
    EXPECT_EQ(library.get_macs(0, entries.data(), nullptr), 103);
    EXPECT_EQ(log(), "hwa_getmacs chip=0 room=3 -> 0 count=2\n"
                     "hwa_getmacs chip=0 room=1 -> 0 count=1\n"
                     "hwa_getmacs chip=0 room=0 -> 0 count=0\n"
                     "hwa_getmacs chip=1 room=3 -> 0 count=0\n"
                     "hwa_getmacs chip=2 room=3 -> 101\n"
                     "hwa_getmacs chip=0 room=3 -> 103\n"
                     "hwa_getmacs chip=0 room=0 -> 103\n");
}

const Bytes kVersionCommand{8, 0x78, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0xA2, 2};

Bytes version_command(uint8_t chip) {
    Bytes command = kVersionCommand;
    command[10] = chip;
    return command;
}

TEST_F(HubLibrary, TellsTheFirmwareVersion) {
    const Library library;
    std::array<uint8_t, 12> response;
    uint32_t length = 0;
    const auto ask = [&](uint8_t chip, uint32_t room) {
        response.fill(0xEE);
        length = room;
        return library.command(version_command(chip).data(), 15, response.data(), &length);
    };
    EXPECT_EQ(ask(0, 40), 0);
    EXPECT_EQ(length, 9U);
    EXPECT_THAT(response, ElementsAre(0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0xEE, 0xEE, 0xEE));
    EXPECT_EQ(ask(1, 9), 0);
    EXPECT_EQ(length, 9U);
    EXPECT_THAT(response, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0xEE, 0xEE, 0xEE));
    EXPECT_EQ(ask(0, 8), 102);
    EXPECT_EQ(length, 8U);
    EXPECT_THAT(response, testing::Each(0xEE));
    EXPECT_EQ(ask(2, 40), 101);
    EXPECT_EQ(length, 40U);
    EXPECT_THAT(response, testing::Each(0xEE));
    const std::string asked = "hwa_engpowercmd length=15 bytes=08 78 00 00 00 00 00 00 00 00 ";
    EXPECT_EQ(log(), asked + "00 03 00 a2 02 -> 0 bytes=11 12 13 14 15 16 17 18 19\n" + asked +
                         "01 03 00 a2 02 -> 0 bytes=00 00 00 00 00 00 00 00 00\n" + asked + "00 03 00 a2 02 -> 102\n" +
                         asked + "02 03 00 a2 02 -> 101\n");
}

TEST_F(HubLibrary, RefusesEveryOtherCommand) {
    const Library library;
    std::array<uint8_t, 40> response;
    response.fill(0xEE);
    uint32_t length = 40;
    for (size_t i = 0; i < kVersionCommand.size(); ++i) {
        if (i == 10) {
            continue;
        }
        Bytes command = kVersionCommand;
        command[i] ^= 1;
        EXPECT_EQ(library.command(command.data(), 15, response.data(), &length), 104) << i;
    }
    Bytes command = kVersionCommand;
    command.push_back(0);
    EXPECT_EQ(library.command(command.data(), 14, response.data(), &length), 104);
    EXPECT_EQ(library.command(command.data(), 16, response.data(), &length), 104);
    EXPECT_EQ(library.command(command.data(), 0, response.data(), &length), 104);
    command.resize(65);
    EXPECT_EQ(library.command(command.data(), 3, response.data(), &length), 104);
    EXPECT_EQ(library.command(command.data(), 65, response.data(), &length), 104);
    EXPECT_EQ(library.command(nullptr, 3, response.data(), &length), 103);
    EXPECT_EQ(library.command(command.data(), 3, nullptr, &length), 103);
    EXPECT_EQ(library.command(command.data(), 3, response.data(), nullptr), 103);
    EXPECT_EQ(length, 40U);
    EXPECT_THAT(response, testing::Each(0xEE));
}

TEST_F(HubLibrary, LogsCommandsThatAreNotTooLong) {
    const Library library;
    Bytes command = kVersionCommand;
    command.resize(65);
    uint32_t length = 0;
    library.command(command.data(), 3, command.data(), &length);
    library.command(command.data(), 65, command.data(), &length);
    library.command(nullptr, 3, command.data(), &length);
    library.command(command.data(), 15, nullptr, &length);
    EXPECT_EQ(log(), "hwa_engpowercmd length=3 bytes=08 78 00 -> 104\n"
                     "hwa_engpowercmd length=65 -> 104\n"
                     "hwa_engpowercmd length=3 -> 103\n"
                     "hwa_engpowercmd length=15 bytes=08 78 00 00 00 00 00 00 00 00 00 03 00 a2 02 -> 103\n");
}

TEST_F(HubLibrary, TheAnswerToACommandMeetsFaults) {
    set("HWA_SIM_FAULTS",
        "engpowercmd chip=1 code=9; engpowercmd chip=0 nth=1 short=2 once; engpowercmd chip=0 garble");
    const Library library;
    std::array<uint8_t, 9> response;
    uint32_t length = 40;
    const auto ask = [&](uint8_t chip) {
        response.fill(0xEE);
        return library.command(version_command(chip).data(), 15, response.data(), &length);
    };
    EXPECT_EQ(ask(1), 9);
    EXPECT_THAT(response, testing::Each(0xEE));
    EXPECT_EQ(ask(0), 0);
    EXPECT_THAT(response, ElementsAre(0xEE, 0xED, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_EQ(ask(0), 0);
    EXPECT_THAT(response, ElementsAre(0xEE, 0xED, 0xEC, 0xEB, 0xEA, 0xE9, 0xE8, 0xE7, 0xE6));
}

TEST_F(HubLibrary, TheConfigurationsDiffer) {
    const Library library;
    const auto mode_and_vlan = [&] { return std::pair(library.get(0, 0, 1)[0], library.get(0x34, 0, 1)[0]); };
    using Shown = std::pair<uint8_t, uint8_t>;
    ASSERT_EQ(library.set(0x34, 0, {0x15}), 0);
    EXPECT_EQ(library.configure(0, 0), 0);
    EXPECT_EQ(mode_and_vlan(), Shown(0x03, 0x95));
    EXPECT_EQ(library.configure(0, 1), 0);
    EXPECT_EQ(mode_and_vlan(), Shown(0x02, 0x15));
    EXPECT_EQ(library.configure(0, 2), 0);
    EXPECT_EQ(mode_and_vlan(), Shown(0x01, 0x95));
    EXPECT_EQ(library.configure(0, 3), 104);
    EXPECT_EQ(mode_and_vlan(), Shown(0x01, 0x95));
    EXPECT_THAT(library.get(0, 0, 1, 1), ElementsAre(0x03)); // the other chip keeps its own
    EXPECT_EQ(library.reset(0), 0);
    EXPECT_EQ(mode_and_vlan(), Shown(0x03, 0x00));
}

TEST_F(HubLibrary, TakesConfigurationsAndFilters) {
    const Library library;
    EXPECT_EQ(library.configure(0, 0), 0);
    EXPECT_EQ(library.configure(1, 2), 0);
    EXPECT_EQ(library.configure(0, 3), 104);
    EXPECT_EQ(library.configure(0, 0xFFFFFFFF), 104);
    EXPECT_EQ(library.configure(2, 0), 101);
    EXPECT_EQ(library.filter(0, 0xDEADBEEF), 0);
    EXPECT_EQ(library.filter(2, 1), 101);
    EXPECT_EQ(log(), "hwa_setswitchconfig chip=0 configuration=0 -> 0\n"
                     "hwa_setswitchconfig chip=1 configuration=2 -> 0\n"
                     "hwa_setswitchconfig chip=0 configuration=3 -> 104\n"
                     "hwa_setswitchconfig chip=0 configuration=4294967295 -> 104\n"
                     "hwa_setswitchconfig chip=2 configuration=0 -> 101\n"
                     "hwa_setmacfilter chip=0 filter=0xdeadbeef -> 0\n"
                     "hwa_setmacfilter chip=2 filter=0x00000001 -> 101\n");
}

TEST_F(HubLibrary, ResetRestoresOneChip) {
    const Library library;
    EXPECT_THAT(library.get(1, 0x14, 4), ElementsAre(0, 2, 0, 1));
    EXPECT_EQ(library.set(0x34, 0x10, {0xFF, 0xFF}), 0);
    EXPECT_EQ(library.set(0x34, 0x10, {0xFF, 0xFF}, 1), 0);
    EXPECT_EQ(library.reset(0), 0);
    EXPECT_THAT(library.get(1, 0x14, 4), ElementsAre(0, 2, 0, 1));
    EXPECT_THAT(library.get(0x34, 0x10, 2), ElementsAre(0, 1));
    EXPECT_THAT(library.get(0x34, 0x10, 2, 1), ElementsAre(0xFF, 0xFF));
    EXPECT_EQ(library.reset(2), 101);
    EXPECT_EQ(library.reset(0x101), 101);
    EXPECT_THAT(log(), testing::EndsWith("hwa_resetswitch chip=2 -> 101\nhwa_resetswitch chip=257 -> 101\n"));
}

TEST_F(HubLibrary, TheOlderLibraryIsTheSameHubWithoutBatches) {
    const Library library;
    const Library older(HWA_GEN1_LIBRARY);
    EXPECT_TRUE(library.has("hwa_get_multireg"));
    EXPECT_FALSE(older.has("hwa_get_multireg"));
    for (const char *name : {"hwa_getreg", "hwa_setreg", "hwa_getmacs", "hwa_engpowercmd", "hwa_setswitchconfig",
                             "hwa_setmacfilter", "hwa_resetswitch", "hwa_simulation"}) {
        EXPECT_TRUE(library.has(name)) << name;
        EXPECT_TRUE(older.has(name)) << name;
    }
    EXPECT_EQ(older.description(), library.description());
    EXPECT_EQ(older.set(0x34, 0x12, {0xAB, 0xCD}), 0);
    EXPECT_THAT(library.get(0x34, 0x12, 2), ElementsAre(0xAB, 0xCD));
}

TEST_F(HubLibrary, ACodeKeepsTheAccessFromTheChip) {
    set("HWA_SIM_FAULTS", "setreg code=-5 once; getreg page=1 offset=0x14 code=7 once; resetswitch code=8 once");
    const Library library;
    EXPECT_EQ(library.set(0x34, 0x10, {9, 9}), -5);
    EXPECT_THAT(library.get(0x34, 0x10, 2), ElementsAre(0, 1));
    std::array<uint8_t, 4> buffer{9, 9, 9, 9};
    EXPECT_EQ(library.get(0, 1, 0x14, 4, buffer.data()), 7);
    EXPECT_THAT(buffer, testing::Each(9));
    EXPECT_THAT(library.get(1, 0x14, 4), ElementsAre(0, 2, 0, 1)); // not forgotten by the failed read
    EXPECT_EQ(library.set(0x34, 0x10, {9, 9}), 0);
    EXPECT_EQ(library.reset(0), 8);
    EXPECT_THAT(library.get(0x34, 0x10, 2), ElementsAre(9, 9));
    EXPECT_EQ(log(), "hwa_setreg chip=0 page=0x34 offset=0x10 length=2 bytes=09 09 -> -5 fault=1\n"
                     "hwa_getreg chip=0 page=0x34 offset=0x10 length=2 -> 0 bytes=00 01\n"
                     "hwa_getreg chip=0 page=0x01 offset=0x14 length=4 -> 7 fault=2\n"
                     "hwa_getreg chip=0 page=0x01 offset=0x14 length=4 -> 0 bytes=00 02 00 01\n"
                     "hwa_setreg chip=0 page=0x34 offset=0x10 length=2 bytes=09 09 -> 0\n"
                     "hwa_resetswitch chip=0 -> 8 fault=3\n"
                     "hwa_getreg chip=0 page=0x34 offset=0x10 length=2 -> 0 bytes=09 09\n");
}

TEST_F(HubLibrary, EveryEntryPointCanFail) {
    set("HWA_SIM_FAULTS", "code=77");
    const Library library;
    std::array<uint8_t, 8> buffer{};
    ksl_reg_request batch = request(1, 0, 1);
    uint32_t count = 1;
    EXPECT_EQ(library.get(0, 1, 0, 1, buffer.data()), 77);
    EXPECT_EQ(library.set(0, 1, 0, 1, buffer.data()), 77);
    EXPECT_EQ(library.get_many(0, &batch, 1), 77);
    EXPECT_EQ(library.get_macs(0, buffer.data(), &count), 77);
    EXPECT_EQ(library.command(buffer.data(), 8, buffer.data(), &count), 77);
    EXPECT_EQ(library.configure(0, 0), 77);
    EXPECT_EQ(library.filter(0, 0), 77);
    EXPECT_EQ(library.reset(0), 77);
}

TEST_F(HubLibrary, AShortAnswerLeavesTheRestOfTheBuffer) {
    set("HWA_SIM_FAULTS", "page=0x34 short=3; getmacs short=9");
    const Library library;
    std::array<uint8_t, 8> buffer;
    buffer.fill(0xEE);
    EXPECT_EQ(library.get(0, 0x34, 0x10, 8, buffer.data()), 0);
    EXPECT_THAT(buffer, ElementsAre(0, 1, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    buffer.fill(0xEE);
    EXPECT_EQ(library.get(0, 0x34, 0x10, 2, buffer.data()), 0);
    EXPECT_THAT(buffer, ElementsAre(0, 1, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_EQ(library.set(0x34, 0x10, {1, 2, 3, 4, 5}), 0);
    ksl_reg_request batch[] = {request(0x34, 0x10, 6)};
    EXPECT_EQ(library.get_many(0, batch, 1), 0);
    EXPECT_THAT(batch[0].data, ElementsAre(1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    std::array<uint8_t, 16> entries;
    entries.fill(0xEE);
    uint32_t count = 2;
    EXPECT_EQ(library.get_macs(0, entries.data(), &count), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_THAT(Bytes(entries.begin(), entries.begin() + 10), ElementsAre(0, 0x80, 2, 0, 0, 0, 0, 1, 0, 0xEE));
    unsetenv("HWA_SIM_FAULTS");
    const Library older(HWA_GEN1_LIBRARY);
    EXPECT_THAT(older.get(0x34, 0x10, 5), ElementsAre(1, 2, 3, 2, 0)); // the write was short as well
    EXPECT_EQ(log(), "hwa_getreg chip=0 page=0x34 offset=0x10 length=8 -> 0 bytes=00 01 00 fault=1\n"
                     "hwa_getreg chip=0 page=0x34 offset=0x10 length=2 -> 0 bytes=00 01 fault=1\n"
                     "hwa_setreg chip=0 page=0x34 offset=0x10 length=5 bytes=01 02 03 04 05 -> 0 fault=1\n"
                     "hwa_get_multireg chip=0 request=1/1 page=0x34 offset=0x10 length=6 -> 0 bytes=01 02 03 fault=1\n"
                     "hwa_getmacs chip=0 room=2 -> 0 count=2 fault=2\n"
                     "hwa_getreg chip=0 page=0x34 offset=0x10 length=5 -> 0 bytes=01 02 03 02 00\n");
}

TEST_F(HubLibrary, GarbledDataIsInverted) {
    set("HWA_SIM_FAULTS", "getreg nth=2 garble; setreg garble; get_multireg page=0x34 garble; getmacs garble");
    const Library library;
    EXPECT_EQ(library.set(9, 0, {0x0F, 0xFF}), 0);
    EXPECT_THAT(library.get(9, 0, 3), ElementsAre(0xF0, 0x00, 0x00));
    EXPECT_THAT(library.get(9, 0, 3), ElementsAre(0x0F, 0xFF, 0xFF));
    ksl_reg_request batch[] = {request(1, 0x10, 1), request(0x34, 0x11, 1)};
    EXPECT_EQ(library.get_many(0, batch, 2), 0);
    EXPECT_EQ(batch[0].data[0], 0x00);
    EXPECT_EQ(batch[1].data[0], 0xFE);
    std::array<uint8_t, 8> entry{};
    uint32_t count = 1;
    EXPECT_EQ(library.get_macs(0, entry.data(), &count), 0);
    EXPECT_THAT(entry, ElementsAre(0xFF, 0x7F, 0xFD, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE));
}

TEST_F(HubLibrary, ADelayTakesItsTimeAndThenSucceeds) {
    set("HWA_SIM_FAULTS", "getreg port=1 delay=60ms");
    const Library library;
    const auto time = [&library](uint8_t offset) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(library.get(0x34, offset, 2), (Bytes{0, static_cast<uint8_t>(1 + (offset - 0x10) / 2)}));
        return std::chrono::steady_clock::now() - start;
    };
    time(0x10);
    EXPECT_GE(time(0x12), std::chrono::milliseconds(60));
}

TEST_F(HubLibrary, CountsAccessesAnewAtEachLoad) {
    set("HWA_SIM_FAULTS", "getreg nth=2 code=3 once");
    for (int load = 0; load < 2; ++load) {
        const Library library;
        EXPECT_FALSE(library.get(9, 0, 1).empty());
        EXPECT_TRUE(library.get(9, 0, 1).empty());
        EXPECT_FALSE(library.get(9, 0, 1).empty());
    }
}

} // namespace
} // namespace hwa_test
