// SPDX-License-Identifier: Apache-2.0
#include "state/state_file.h"

#include "chip/addresses.h"
#include "model.h"
#include "problem.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace hwa {
namespace {

using hwa_test::finish;
using hwa_test::start_child;
using testing::HasSubstr;

class State : public hwa_test::ModelTest {
protected:
    std::string path() const { return state.path(); }

    static std::string problem_of(StateFile &file) {
        try {
            file.lock();
            file.unlock();
        } catch (const Unusable &problem) {
            return problem.what();
        }
        return "none";
    }

    uint8_t get(uint8_t page, uint8_t offset) {
        Transaction transaction(state);
        return transaction.chip(0)->pages[page][offset];
    }

    void set(uint8_t page, uint8_t offset, uint8_t value) {
        Transaction transaction(state);
        transaction.store(transaction.chip(0)->pages[page][offset], value);
        transaction.commit();
    }
};

TEST_F(State, IsMadeAtFirstUseForItsUserAlone) {
    EXPECT_FALSE(std::filesystem::exists(folder / "state"));
    EXPECT_EQ(problem_of(state), "none");
    struct stat status {};
    ASSERT_EQ(stat((folder / "state").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFDIR | 0700});
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFREG | 0600});
    EXPECT_EQ(status.st_size, off_t{sizeof(HubImage)});
}

TEST_F(State, IsTheSameBytesOnEveryHost) {
    EXPECT_EQ(problem_of(state), "none");
    const std::string file = hwa_test::contents(path());
    ASSERT_EQ(file.size(), 1'530'425U);
    EXPECT_EQ(file.substr(0, 12), std::string("HWA-SIM\n\0\0\0\4", 12));
    const auto digest = to_bytes<8>(scenario.digest);
    EXPECT_EQ(file.substr(12, 8), std::string(digest.begin(), digest.end()));
    const size_t chips = 22 + 5 * 255;
    EXPECT_EQ(file.substr(chips, 4), std::string("\1\0\1\1", 4));           // chip 0
    EXPECT_EQ(file.substr(chips + 4 + 9, 5), std::string("\1\1\1\0\1", 5)); // its port 0
    const size_t pages = chips + 4 + 9 + 21 * 24 + 25 + 4 * 22 * 24 + 2 + 11 * 8192 + 63 + 14 + 8 * 4095;
    EXPECT_EQ(file.substr(pages + 0x34 * 256 + 0x10, 4), std::string("\0\1\0\2", 4));
}

TEST_F(State, OnlyTheChipsOfTheScenarioAreThere) {
    const Transaction transaction(state);
    for (uint32_t number = 0; number < 300; ++number) {
        EXPECT_EQ(transaction.chip(number) != nullptr, number == 0 || number == 5) << number;
    }
}

TEST_F(State, LastsUntilItIsChanged) {
    set(9, 9, 0x42);
    EXPECT_EQ(get(9, 9), 0x42);
    StateFile other(folder / "state", scenario);
    EXPECT_EQ(Transaction(other).chip(0)->pages[9][9], 0x42);
}

TEST_F(State, WhatIsNotCommittedIsTakenBack) {
    set(9, 9, 1);
    {
        Transaction transaction(state);
        transaction.store(transaction.chip(0)->pages[9][9], 2);
        transaction.store(transaction.chip(0)->pages[9][9], 3);
        transaction.store(transaction.chip(5)->pages[0xFF][0xFF], 4);
        EXPECT_EQ(transaction.chip(0)->pages[9][9], 3);
    }
    EXPECT_EQ(get(9, 9), 1);
    EXPECT_EQ(Transaction(state).chip(5)->pages[0xFF][0xFF], 0);
}

TEST_F(State, AChangeTooLongToTakeBackIsRefusedWhole) {
    const auto change = [this](unsigned bytes) {
        Transaction transaction(state);
        for (unsigned i = 0; i < bytes; ++i) {
            transaction.store(transaction.chip(0)->pages[i / 256][i % 256], 0xAA);
        }
        transaction.commit();
    };
    EXPECT_THROW(change(256), std::length_error);
    EXPECT_EQ(get(0, 254), 0);
    change(255);
    EXPECT_EQ(get(0, 254), 0xAA);
}

TEST_F(State, AKilledWriterLeavesNothingHalfDone) {
    set(9, 0, 1);
    for (int stores = 0; stores <= 8; ++stores) {
        const pid_t child = start_child([this, stores] {
            StateFile mine(folder / "state", scenario);
            Transaction transaction(mine);
            for (uint8_t i = 0; i < stores; ++i) {
                transaction.store(transaction.chip(0)->pages[9][i], 0xFF);
            }
            return raise(SIGKILL);
        });
        EXPECT_EQ(finish(child), 1000 + SIGKILL);
        EXPECT_EQ(get(9, 0), 1);
        for (uint8_t i = 1; i < 8; ++i) {
            EXPECT_EQ(get(9, i), 0);
        }
    }
}

TEST_F(State, ARollBackThatWasCutOffIsFinished) {
    set(9, 9, 1);
    HubImage &hub = state.lock();
    const auto place = static_cast<size_t>(&hub.chips[0].pages[9][9] - reinterpret_cast<uint8_t *>(&hub));
    hub.notes[0] = {to_bytes<4>(place), 0x11};
    hub.notes[1] = {to_bytes<4>(place), 0x22}; // already restored, perhaps
    hub.note_count = 2;
    state.unlock();
    EXPECT_EQ(get(9, 9), 0x11);
    EXPECT_EQ(state.lock().note_count, 0);
    state.unlock();
}

TEST_F(State, ResetBringsAChipBackToTheScenario) {
    set(0x34, 0x11, 0x99);
    {
        Transaction transaction(state);
        transaction.store(transaction.chip(5)->pages[7][7], 0x77);
        transaction.store(transaction.chip(0)->ports[0].link_changed, 0);
        transaction.commit();
        transaction.reset(*transaction.chip(0));
    }
    EXPECT_EQ(get(0x34, 0x11), 0x01);
    EXPECT_EQ(Transaction(state).chip(0)->ports[0].link_changed, 1);
    EXPECT_EQ(Transaction(state).chip(5)->pages[7][7], 0x77);
}

TEST_F(State, AResetForgetsCountersAndLearnedAddresses) {
    const Scenario busy = parse_scenario(R"({"name": "busy", "chips": [{"chip": 0,
        "ports": [{ "port": 3, "link": true }],
        "addresses": [{ "mac": "02:00:00:00:00:01", "port": 3 },
                      { "mac": "02:00:00:00:00:02", "port": 3, "static": true },
                      { "mac": "02:00:00:00:00:03", "port": 3 },
                      { "mac": "02:00:00:00:00:04", "port": 4, "static": true }],
        "registers": [{ "page": "0x4f", "offset": 0, "bytes": "11" }, { "page": "0x50", "offset": 0, "bytes": "22" },
                      { "page": "0x67", "offset": 255, "bytes": "33" }, { "page": "0x68", "offset": 0, "bytes": "44" }]
        }]})");
    StateFile mine(folder / "busy", busy);
    const auto addresses = [&] {
        const Transaction transaction(mine);
        AddressScan scan(*transaction.chip(0));
        std::vector<int> last_bytes;
        while (const AddressImage *const entry = scan.next()) {
            last_bytes.push_back(entry->raw[7]);
        }
        return last_bytes;
    };
    const auto byte = [&](size_t page, size_t offset) { return Transaction(mine).chip(0)->pages[page][offset]; };
    EXPECT_THAT(addresses(), testing::ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(byte(0x50, 0), 0x22);
    {
        Transaction transaction(mine);
        transaction.reset(*transaction.chip(0));
    }
    EXPECT_THAT(addresses(), testing::ElementsAre(2, 4));
    EXPECT_EQ(byte(0x4F, 0), 0x11);
    EXPECT_EQ(byte(0x50, 0), 0);
    EXPECT_EQ(byte(0x67, 255), 0);
    EXPECT_EQ(byte(0x68, 0), 0x44);
}

TEST_F(State, AResetThatWasCutOffIsDoneAgain) {
    HubImage &hub = state.lock();
    hub.chips[0].pages[3].fill(0xAB);
    hub.chips[1].ports = {};
    hub.chips[1].pages[3].fill(0xAB);
    hub.resetting = 2;
    state.unlock();
    const Transaction transaction(state);
    EXPECT_EQ(transaction.chip(5)->ports[2].test_failed, 1);
    EXPECT_THAT(transaction.chip(5)->pages[3], testing::Each(0));
    EXPECT_THAT(transaction.chip(0)->pages[3], testing::Each(0xAB));
}

TEST_F(State, AHalfBuiltFileIsBuiltAnew) {
    HubImage &hub = state.lock();
    hub.chips[0].pages[3].fill(0xAB);
    hub.chips[4].present = 1;
    hub.chips[4].number = 4;
    hub.resetting = 2;
    hub.note_count = 200;
    hub.magic.back() = 0;
    state.unlock();
    const Transaction transaction(state);
    EXPECT_THAT(transaction.chip(0)->pages[3], testing::Each(0));
    EXPECT_EQ(transaction.chip(0)->pages[0x34][0x11], 1);
    EXPECT_EQ(transaction.chip(4), nullptr);
}

TEST_F(State, AFileThatWasCutShortIsBuiltAnew) {
    set(9, 9, 0x42);
    for (const size_t size : {size_t{0}, size_t{5}, sizeof(HubImage) - 1}) {
        std::filesystem::resize_file(path(), size);
        EXPECT_EQ(get(9, 9), 0) << size;
        EXPECT_EQ(get(0x34, 0x11), 1) << size;
        set(9, 9, 0x42);
    }
}

TEST_F(State, ADeletedFolderStartsTheHubAnew) {
    set(9, 9, 0x42);
    std::filesystem::remove_all(folder / "state");
    EXPECT_EQ(get(9, 9), 0);
    EXPECT_TRUE(std::filesystem::exists(path()));
    set(9, 9, 0x43);
    StateFile other(folder / "state", scenario);
    EXPECT_EQ(Transaction(other).chip(0)->pages[9][9], 0x43);
}

TEST_F(State, AnotherScenarioStartsTheHubAnewAndTheFirstProcessNoticesIt) {
    set(9, 9, 0x42);
    const Scenario changed = parse_scenario(R"({"name":"one chip","chips":[{"chip":7}]})");
    StateFile other(folder / "state", changed);
    {
        const Transaction transaction(other);
        EXPECT_EQ(transaction.chip(0), nullptr);
        EXPECT_EQ(transaction.chip(5), nullptr);
        ASSERT_NE(transaction.chip(7), nullptr);
        EXPECT_EQ(transaction.chip(7)->pages[9][9], 0);
    }
    EXPECT_EQ(problem_of(state), "another process started the state " + path() +
                                     " anew from another scenario; start this program again, or give each its own "
                                     "HWA_SIM_DIR");
    EXPECT_EQ(problem_of(other), "none");
}

TEST_F(State, AnotherLayoutStartsTheHubAnew) {
    set(9, 9, 0x42);
    state.lock().layout = to_bytes<4>(kLayout + 1);
    state.unlock();
    StateFile other(folder / "state", scenario);
    EXPECT_EQ(Transaction(other).chip(0)->pages[9][9], 0);
}

TEST_F(State, AFullDiskIsSaidAndHealsWithRoom) {
    const pid_t child = start_child([this] {
        const rlimit limit{65536, 65536};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            return 2;
        }
        const std::string problem = problem_of(state);
        const std::string expected = "there is no room for the state " + path() +
                                     " of 1495 KiB (File too large); make room, or set HWA_SIM_DIR to a folder on "
                                     "another file system";
        if (problem != expected) {
            std::fprintf(stderr, "%s\n", problem.c_str());
        }
        return problem == expected ? 0 : 1;
    });
    EXPECT_EQ(finish(child), 0);
    EXPECT_EQ(get(0x34, 0x11), 1);
}

TEST_F(State, PlacesThatOthersCouldPrepareAreRefused) {
    const std::string place = folder / "state";
    const std::string advice = "; set HWA_SIM_DIR to a folder of your own";
    const auto expect = [&](const std::string &problem) {
        StateFile file(place, scenario);
        EXPECT_EQ(problem_of(file), "the state's place " + problem + advice);
        std::filesystem::remove_all(place);
    };

    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_directory_symlink(folder / "real", place);
    expect(place + " cannot be opened (Not a directory)");

    hwa_test::write_file(place, "");
    expect(place + " cannot be opened (Not a directory)");

    for (const mode_t mode : {mode_t{0770}, mode_t{0702}}) {
        std::filesystem::create_directory(place);
        chmod(place.c_str(), mode);
        expect(place + " may be written by other users");
    }

    std::filesystem::create_directory(place);
    hwa_test::write_file(folder / "target", "");
    std::filesystem::create_symlink(folder / "target", path());
    expect(path() + " cannot be opened (Too many levels of symbolic links)");
    EXPECT_EQ(hwa_test::contents(folder / "target"), "");

    std::filesystem::create_directory(place);
    std::filesystem::create_hard_link(folder / "target", path());
    expect(path() + " has a second name");
    EXPECT_EQ(hwa_test::contents(folder / "target"), "");

    std::filesystem::create_directory(place);
    hwa_test::write_file(path(), "");
    chmod(path().c_str(), 0620);
    expect(path() + " may be written by other users");

    std::filesystem::create_directory(place);
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    expect(path() + " is not a file");
}

TEST_F(State, AnotherUsersFolderIsRefused) {
    // Root can give a folder away; anyone else has the root folder, which is root's.
    std::string place = "/";
    if (geteuid() == 0) {
        place = folder / "state";
        std::filesystem::create_directory(place);
        ASSERT_EQ(chown(place.c_str(), 65534, 65534), 0);
    }
    StateFile file(place, scenario);
    EXPECT_EQ(problem_of(file),
              "the state's place " + place + " belongs to another user; set HWA_SIM_DIR to a folder of your own");
}

TEST_F(State, APlaceThatCannotBeMadeIsNamed) {
    StateFile file(folder / "no/such", scenario);
    EXPECT_EQ(problem_of(file),
              "the state's place " + (folder / "no/such") +
                  " cannot be made (No such file or directory); set HWA_SIM_DIR to a folder of your own");
}

TEST_F(State, LiesWhereTheEnvironmentSays) {
    unsetenv("HWA_SIM_DIR");
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(state_folder(), "/tmp/ksl-hwa-sim-" + std::to_string(geteuid()));
    setenv("XDG_RUNTIME_DIR", "", 1);
    EXPECT_EQ(state_folder(), "/tmp/ksl-hwa-sim-" + std::to_string(geteuid()));
    setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
    EXPECT_EQ(state_folder(), "/run/user/7/ksl-hwa-sim");
    for (const char *same : {"/some/place", "/some/place//", "/some/place/.", "/some/place/.//./"}) {
        setenv("HWA_SIM_DIR", same, 1);
        EXPECT_EQ(state_folder(), "/some/place");
    }
    setenv("HWA_SIM_DIR", "/.", 1);
    EXPECT_EQ(state_folder(), "/");
    setenv("HWA_SIM_DIR", ".", 1);
    EXPECT_EQ(state_folder(), ".");
    setenv("HWA_SIM_DIR", "", 1);
    EXPECT_EQ(state_folder(), "/run/user/7/ksl-hwa-sim");
}

} // namespace
} // namespace hwa
