// SPDX-License-Identifier: Apache-2.0
// Several processes and threads use one hub.
#include "library.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <thread>

namespace hwa_test {
namespace {

using testing::ElementsAre;

class HubProcesses : public HubTest {};

constexpr uint8_t kPage = 9;
constexpr std::chrono::milliseconds kWhile{200};

// Each user of the hub has eight bytes, which it keeps equal.
bool write_equal(const Library &library, unsigned user, unsigned turn) {
    return library.set(kPage, static_cast<uint8_t>(8 * user), Bytes(8, static_cast<uint8_t>(turn))) == 0;
}

bool reads_equal(const Library &library, unsigned user) {
    const Bytes bytes = library.get(kPage, static_cast<uint8_t>(8 * user), 8);
    return bytes.size() == 8 && std::all_of(bytes.begin(), bytes.end(), [&](auto byte) { return byte == bytes[0]; });
}

constexpr unsigned kUsers = 3;

// Writes for a while. Counts lost values of this user, and half-written values of others.
unsigned count_mistakes(const Library &library, unsigned user) {
    unsigned mistakes = 0;
    const auto end = std::chrono::steady_clock::now() + kWhile;
    for (unsigned turn = 0; std::chrono::steady_clock::now() < end; ++turn) {
        mistakes += !write_equal(library, user, turn);
        const Bytes expected(8, static_cast<uint8_t>(turn));
        mistakes += library.get(kPage, static_cast<uint8_t>(8 * user), 8) != expected;
        mistakes += !reads_equal(library, (user + 1) % kUsers);
    }
    return mistakes;
}

// Several users, each in a process, and one in this process.
template <typename GetLibrary>
void expect_no_mistakes(GetLibrary get_library) {
    std::vector<pid_t> others;
    for (unsigned user = 1; user < kUsers; ++user) {
        others.push_back(start_child([&] {
            const auto &library = get_library();
            return count_mistakes(library, user) == 0 ? 0 : 1;
        }));
    }
    const auto &library = get_library();
    EXPECT_EQ(count_mistakes(library, 0), 0U);
    for (const pid_t other : others) {
        EXPECT_EQ(finish(other), 0);
    }
}

TEST_F(HubProcesses, TheStateOutlivesTheProcess) {
    const pid_t writer = start_child([] { return Library().set(kPage, 4, {0xAB, 0xCD}) == 0 ? 0 : 1; });
    EXPECT_EQ(finish(writer), 0);
    EXPECT_THAT(Library().get(kPage, 4, 2), ElementsAre(0xAB, 0xCD));
    EXPECT_EQ(Library().reset(0), 0);
    EXPECT_THAT(Library().get(kPage, 4, 2), ElementsAre(0, 0));
}

TEST_F(HubProcesses, AreKeptApart) {
    expect_no_mistakes([] { return Library(); });
}

TEST_F(HubProcesses, ForkedChildrenThatInheritTheLibraryAreKeptApart) {
    const Library library;
    ASSERT_TRUE(write_equal(library, 0, 0));
    expect_no_mistakes([&]() -> const Library & { return library; });
}

TEST_F(HubProcesses, ThreadsAreKeptApart) {
    const Library library;
    unsigned mistakes = 1;
    std::thread other([&] { mistakes = count_mistakes(library, 1); });
    EXPECT_EQ(count_mistakes(library, 0), 0U);
    other.join();
    EXPECT_EQ(mistakes, 0U);
}

TEST_F(HubProcesses, AForkWhileAnotherThreadIsAtTheHubLeavesAUsableChild) {
    const Library library;
    ASSERT_TRUE(write_equal(library, 0, 0));
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        for (unsigned turn = 0; !stop; ++turn) {
            write_equal(library, 0, turn);
        }
    });
    for (int i = 0; i < 20 && !HasFailure(); ++i) {
        const pid_t child = start_child([&] {
            alarm(30); // a child that waits for its parent's thread would wait for ever
            return reads_equal(library, 0) ? 0 : 1;
        });
        EXPECT_EQ(finish(child), 0);
    }
    stop = true;
    writer.join();
}

TEST_F(HubProcesses, ASlowAccessKeepsNobodyWaiting) {
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    const pid_t slow = start_child([&] {
        set("HWA_SIM_FAULTS", "getreg nth=2 delay=30s");
        const Library library;
        library.get(kPage, 0, 1);
        if (write(pipe_ends[1], "x", 1) != 1) {
            return 1;
        }
        library.get(kPage, 0, 1);
        return 0;
    });
    close(pipe_ends[1]);
    char byte = 0;
    ASSERT_EQ(read(pipe_ends[0], &byte, 1), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(reads_equal(Library(), 0));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    kill(slow, SIGKILL);
    EXPECT_EQ(finish(slow), 1000 + SIGKILL);
    close(pipe_ends[0]);
}

TEST_F(HubProcesses, ManyFirstUsersMakeOneHub) {
    constexpr uint8_t kFirstUsers = 6;
    for (int round = 0; round < 4; ++round) {
        std::filesystem::remove_all(folder / "state");
        int start_line[2];
        ASSERT_EQ(pipe(start_line), 0);
        std::vector<pid_t> users;
        for (uint8_t user = 0; user < kFirstUsers; ++user) {
            users.push_back(start_child([&] {
                close(start_line[1]);
                const Library library;
                char byte = 0;
                if (read(start_line[0], &byte, 1) != 0) { // ends when the parent lets go of the other end
                    return 1;
                }
                return library.set(kPage, user, {static_cast<uint8_t>(user + 1)}) == 0 ? 0 : 2;
            }));
        }
        close(start_line[0]);
        close(start_line[1]);
        for (const pid_t user : users) {
            EXPECT_EQ(finish(user), 0);
        }
        EXPECT_THAT(Library().get(kPage, 0, 8), ElementsAre(1, 2, 3, 4, 5, 6, 0, 0));
        EXPECT_THAT(Library().get(1, 0x10, 4), ElementsAre(0x00, 0xCC, 0xDB, 0xDF));
    }
}

TEST_F(HubProcesses, AKilledWriterDoesNoHarm) {
    ASSERT_TRUE(write_equal(Library(), 0, 0));
    for (int round = 0; round < 25; ++round) {
        const pid_t writer = start_child([] {
            const Library library;
            for (unsigned turn = 0;; ++turn) {
                if (!write_equal(library, 0, turn) || (turn % 64 == 0 && library.reset(0) != 0)) {
                    return 1;
                }
            }
        });
        std::this_thread::sleep_for(std::chrono::microseconds(5000 + 517 * round));
        kill(writer, SIGKILL);
        EXPECT_EQ(finish(writer), 1000 + SIGKILL);
        const Library library;
        EXPECT_TRUE(reads_equal(library, 0)) << "round " << round;
        EXPECT_THAT(library.get(1, 0x10, 4), ElementsAre(0x00, 0xCC, 0xDB, 0xDF));
    }
}

TEST_F(HubProcesses, AHubWhosePlaceWasAwayIsUsableAgain) {
    std::filesystem::create_directory(folder / "place");
    set("HWA_SIM_DIR", folder / "place/state");
    StderrCapture capture;
    const Library library;
    EXPECT_THAT(library.get(0, 0, 1), ElementsAre(3));
    std::filesystem::remove_all(folder / "place");
    EXPECT_THAT(library.get(0, 0, 1), ElementsAre());
    EXPECT_THAT(library.get(0, 0, 1), ElementsAre());
    EXPECT_EQ(capture.text(), "simulated hub: unusable: the state's place " + (folder / "place/state") +
                                  " cannot be made (No such file or directory); set HWA_SIM_DIR to a folder of your "
                                  "own\n");
    std::filesystem::create_directory(folder / "place");
    EXPECT_THAT(library.get(0, 0, 1), ElementsAre(3));
}

TEST_F(HubProcesses, FoldersThatGoAwayAreMadeAgain) {
    std::vector<pid_t> users;
    for (unsigned user = 0; user < kUsers; ++user) {
        users.push_back(start_child([] {
            const Library library;
            const auto end = std::chrono::steady_clock::now() + 3 * kWhile;
            while (std::chrono::steady_clock::now() < end) {
                std::array<uint8_t, 1> byte{};
                if (library.get(0, 0, 0, 1, byte.data()) != 0 || byte[0] != 3) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    const auto end = std::chrono::steady_clock::now() + 3 * kWhile;
    while (std::chrono::steady_clock::now() < end) {
        std::error_code problem; // a user may have made a file in it meanwhile
        std::filesystem::remove_all(folder / "state", problem);
    }
    for (const pid_t user : users) {
        EXPECT_EQ(finish(user), 0);
    }
    EXPECT_THAT(Library().get(0, 0, 1), ElementsAre(3));
}

} // namespace
} // namespace hwa_test
