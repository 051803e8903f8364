// SPDX-License-Identifier: Apache-2.0
// The set-up by the environment: a mistake is reported once and makes the hub unusable.
#include "library.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <thread>

namespace hwa_test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class HubEnvironment : public HubTest {
protected:
    // The output when every entry point is used once and each answers that the hub is unusable.
    std::string complaint_of_unusable_hub() {
        StderrCapture capture;
        {
            const Library library;
            std::array<uint8_t, 8> buffer{};
            ksl_reg_request request{1, 0, {}, 1, {}};
            uint32_t count = 1;
            EXPECT_EQ(library.get(0, 1, 0, 1, buffer.data()), 105);
            EXPECT_EQ(library.get(200, 1, 0, 1, buffer.data()), 105);
            EXPECT_EQ(library.set(0, 1, 0, 1, buffer.data()), 105);
            EXPECT_EQ(library.get_many(0, &request, 1), 105);
            EXPECT_EQ(library.get_many(0, &request, 0), 105);
            EXPECT_EQ(library.get_macs(0, buffer.data(), &count), 105);
            EXPECT_EQ(library.command(buffer.data(), 8, buffer.data(), &count), 105);
            EXPECT_EQ(library.configure(0, 0), 105);
            EXPECT_EQ(library.filter(0, 0), 105);
            EXPECT_EQ(library.reset(0), 105);
            description = library.description();
        }
        return capture.text();
    }

    std::string description;
};

TEST_F(HubEnvironment, AScenarioThatIsNotThereIsSaidOnce) {
    set("HWA_SIM_SCENARIO", folder / "none.json");
    const std::string reason =
        "unusable: HWA_SIM_SCENARIO: " + (folder / "none.json") + " cannot be read: No such file or directory";
    EXPECT_EQ(complaint_of_unusable_hub(), "simulated hub: " + reason + "\n");
    EXPECT_EQ(description, "simulated hub, " + reason);
}

TEST_F(HubEnvironment, AScenarioWithAMistakeIsSaidOnce) {
    write_file(folder / "hub.json", R"({"name":"n","chips":[{"chip":0,"ports":[{"port":0,"link":true,"speed":20}]}]})");
    set("HWA_SIM_SCENARIO", folder / "hub.json");
    EXPECT_EQ(complaint_of_unusable_hub(), "simulated hub: unusable: HWA_SIM_SCENARIO: " + (folder / "hub.json") +
                                               ", line 1, column 71: chips[0].ports[0].speed must be 10 or 100\n");
    write_file(folder / "hub.json", "{\n\"name\":\n}");
    EXPECT_THAT(complaint_of_unusable_hub(),
                StartsWith("simulated hub: unusable: HWA_SIM_SCENARIO: " + (folder / "hub.json") +
                           ", line 3, column 1: not valid JSON: "));
}

TEST_F(HubEnvironment, FaultsThatAreNotUnderstoodAreSaidOnce) {
    set("HWA_SIM_FAULTS", "getreg page=1 code=5; setreg cod=3");
    EXPECT_EQ(complaint_of_unusable_hub(),
              "simulated hub: unusable: HWA_SIM_FAULTS: \"cod=3\" in the rule \"setreg cod=3\" is no condition and no "
              "effect\n");
}

TEST_F(HubEnvironment, AClockThatIsNotUnderstoodIsSaidOnce) {
    set("HWA_SIM_CLOCK", "fast");
    EXPECT_EQ(complaint_of_unusable_hub(), "simulated hub: unusable: HWA_SIM_CLOCK: \"fast\" must be a time for each "
                                           "access, such as 10ms or 0s\n");
}

TEST_F(HubEnvironment, TheClockCanGoByAccesses) {
    write_file(folder / "hub.json", R"({"name":"n","chips":[{"chip":0,"ports":[
        {"port":0,"link":true,"rates":[{"offset":"0x18","per_second":1000}]}]}]})");
    set("HWA_SIM_SCENARIO", folder / "hub.json");
    set("HWA_SIM_CLOCK", "1s");
    std::vector<Bytes> first;
    for (int i = 0; i < 3; ++i) {
        first.push_back(Library().get(0x50, 0x18, 4));
    }
    EXPECT_NE(first[0], Bytes(4));
    EXPECT_NE(first[1], first[0]);
    EXPECT_NE(first[2], first[1]);
    EXPECT_EQ(Library().reset(0), 0);
    for (const Bytes &bytes : first) {
        EXPECT_EQ(Library().get(0x50, 0x18, 4), bytes);
    }
    set("HWA_SIM_CLOCK", "0s");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Library().get(0x50, 0x18, 4), first[2]);
    }
}

TEST_F(HubEnvironment, APlaceThatCannotBeUsedIsSaidOnceAtTheFirstAccess) {
    write_file(folder / "file", "");
    set("HWA_SIM_DIR", folder / "file/");
    EXPECT_EQ(complaint_of_unusable_hub(), "simulated hub: unusable: the state's place " + (folder / "file") +
                                               " cannot be opened (Not a directory); set HWA_SIM_DIR to a folder of "
                                               "your own\n");
}

TEST_F(HubEnvironment, AnUnusableHubStillLogs) {
    set("HWA_SIM_FAULTS", "nonsense");
    set("HWA_SIM_LOG", folder / "log");
    complaint_of_unusable_hub();
    EXPECT_THAT(contents(folder / "log"), StartsWith("hwa_getreg chip=0 page=0x01 offset=0x00 length=1 -> 105\n"));
}

TEST_F(HubEnvironment, AnUnwritableLogIsSaidOnceAndTheHubGoesOn) {
    set("HWA_SIM_LOG", folder / "none/log");
    StderrCapture capture;
    {
        const Library library;
        EXPECT_THAT(library.get(0, 0, 1), ElementsAre(3));
        EXPECT_THAT(library.get(0, 0, 1), ElementsAre(3));
    }
    EXPECT_EQ(capture.text(), "simulated hub: HWA_SIM_LOG: " + (folder / "none/log") +
                                  " cannot be opened (No such file or directory); going on without a log, name a file "
                                  "that can be written\n");
}

TEST_F(HubEnvironment, AFullLogIsSaidOnceAndTheHubGoesOn) {
    set("HWA_SIM_LOG", "/dev/full");
    StderrCapture capture;
    {
        const Library library;
        EXPECT_THAT(library.get(0, 0, 1), ElementsAre(3));
        EXPECT_THAT(library.get(0, 0, 1), ElementsAre(3));
    }
    EXPECT_EQ(capture.text(), "simulated hub: HWA_SIM_LOG: /dev/full cannot be written (No space left on device); "
                              "going on without a log\n");
}

TEST_F(HubEnvironment, ALinkIsNoPlaceHoweverItIsWritten) {
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_directory_symlink(folder / "real", folder / "link");
    for (const char *end : {"link", "link/", "link/.", "link/./"}) {
        set("HWA_SIM_DIR", folder / end);
        EXPECT_EQ(complaint_of_unusable_hub(), "simulated hub: unusable: the state's place " + (folder / "link") +
                                                   " cannot be opened (Not a directory); set HWA_SIM_DIR to a folder "
                                                   "of your own\n");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder / "real"));
}

TEST_F(HubEnvironment, ALogThatIsAPipeNobodyReadsIsSaidOnceAndTheHubGoesOn) {
    ASSERT_EQ(mkfifo((folder / "log").c_str(), 0600), 0);
    set("HWA_SIM_LOG", folder / "log");
    alarm(60); // should it wait for ever
    StderrCapture capture;
    EXPECT_THAT(Library().get(0, 0, 1), ElementsAre(3));
    EXPECT_EQ(capture.text(), "simulated hub: HWA_SIM_LOG: " + (folder / "log") +
                                  " cannot be opened (nobody reads this pipe); going on without a log, name a file "
                                  "that can be written\n");
    alarm(0);
}

TEST_F(HubEnvironment, ALogMayBeAPipeWithASlowReader) {
    ASSERT_EQ(mkfifo((folder / "log").c_str(), 0600), 0);
    set("HWA_SIM_LOG", folder / "log");
    const int reader = open((folder / "log").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const pid_t child = start_child([] {
        const Library library;
        for (int i = 0; i < 3000; ++i) { // more than a pipe takes
            if (library.reset(7) != 101) {
                return 1;
            }
        }
        return 0;
    });
    fcntl(reader, F_SETFL, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::string text;
    std::array<char, 4096> block{};
    for (ssize_t got = 0; (got = read(reader, block.data(), block.size())) > 0 || (got == 0 && text.empty());) {
        text.append(block.data(), static_cast<size_t>(got));
    }
    close(reader);
    EXPECT_EQ(finish(child), 0);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3000);
}

TEST_F(HubEnvironment, TheLogCanGoToStderr) {
    set("HWA_SIM_LOG", "-");
    StderrCapture capture;
    EXPECT_THAT(Library().get(0, 0, 1), ElementsAre(3));
    EXPECT_EQ(capture.text(), "hwa_getreg chip=0 page=0x00 offset=0x00 length=1 -> 0 bytes=03\n");
}

TEST_F(HubEnvironment, TheLogIsAppendedTo) {
    set("HWA_SIM_LOG", folder / "log");
    write_file(folder / "log", "before\n");
    EXPECT_EQ(Library().reset(0), 0);
    EXPECT_EQ(Library().reset(1), 0);
    EXPECT_EQ(contents(folder / "log"), "before\nhwa_resetswitch chip=0 -> 0\nhwa_resetswitch chip=1 -> 0\n");
}

TEST_F(HubEnvironment, EmptyVariablesCountAsUnset) {
    set("HWA_SIM_SCENARIO", "");
    set("HWA_SIM_FAULTS", "");
    set("HWA_SIM_LOG", "");
    StderrCapture capture;
    EXPECT_THAT(Library().get(0, 0, 1), ElementsAre(3));
    EXPECT_EQ(capture.text(), "");
}

TEST_F(HubEnvironment, IsReadAnewAtEachLoad) {
    EXPECT_THAT(Library().get(1, 0x00, 6), testing::Each(0));
    set("HWA_SIM_SCENARIO", HWA_SCENARIOS "/faulty.json");
    EXPECT_THAT(Library().get(1, 0x00, 6), ElementsAre(0x80, 0, 0, 0x02, 0x00, 0x20));
    set("HWA_SIM_FAULTS", "code=9");
    EXPECT_THAT(Library().get(1, 0x00, 6), ElementsAre());
}

// Open descriptors, and mappings of the state.
std::pair<long, long> held(const std::string &state) {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    std::ifstream maps("/proc/self/maps");
    long mappings = 0;
    for (std::string line; std::getline(maps, line);) {
        mappings += line.ends_with(state);
    }
    return {std::distance(begin(descriptors), end(descriptors)), mappings};
}

TEST_F(HubEnvironment, UnloadingGivesEverythingBack) {
    set("HWA_SIM_LOG", folder / "log");
    const std::string state = folder / "state/hub.state";
    const auto before = held(state);
    for (int load = 0; load < 10; ++load) {
        const Library library;
        EXPECT_EQ(library.get(0, 0, 1).size(), 1U);
        const auto during = held(state);
        EXPECT_EQ(during.first, before.first + 2);
        EXPECT_EQ(during.second, 1);
    }
    EXPECT_EQ(held(state), before);
    EXPECT_EQ(dlopen(HWA_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace
} // namespace hwa_test
