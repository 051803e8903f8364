// SPDX-License-Identifier: Apache-2.0
// Writers killed at any moment: what they finished is there, whole and in order, and nothing else is.
//
// TRACE_KBUF_TEST_KILLS says how many are killed, TRACE_KBUF_TEST_SEED when.
#include "checker.h"
#include "settings.h"
#include "trace_files.h"

#include <ring.h>

#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <thread>

using namespace trace_files;
using stamped::Checker;
using stamped::Finished;

namespace {

constexpr char kName[] = "KILLED";
constexpr uint32_t kThreads = 4;

uint32_t kills() {
    return setting("TRACE_KBUF_TEST_KILLS", KILLS);
}

void wait_us(uint32_t microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

uint32_t open_in_child(uint32_t size) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // should the test itself be stopped
    uint32_t descriptor = 0;
    return init_sized(&descriptor, kName, size) == 0 ? descriptor : 0;
}

// Starts a process that writes as `writer` without end.
pid_t start_writer(const Finished &finished, uint32_t writer, uint32_t size) {
    const pid_t pid = ksl::test::fork_child();
    if (pid == 0) {
        const uint32_t descriptor = open_in_child(size);
        while (finished.write_next(descriptor, writer) == 0) {
        }
        _exit(1);
    }
    return pid;
}

// Starts a process whose threads write as `first` and the next ones, in bursts and with pauses: so a thread that
// waits for a processor in mid-record is not overtaken by a whole turn of a large ring.
pid_t start_threads(const Finished &finished, uint32_t first, uint32_t size, uint32_t pause_us) {
    const pid_t pid = ksl::test::fork_child();
    if (pid == 0) {
        const uint32_t descriptor = open_in_child(size);
        std::vector<std::thread> threads;
        for (uint32_t t = 0; t < kThreads; ++t) {
            threads.emplace_back([&finished, descriptor, writer = first + t, pause_us] {
                for (uint32_t burst = 8;; --burst) {
                    if (finished.write_next(descriptor, writer) != 0) {
                        _exit(1);
                    }
                    if (burst == 0 && pause_us != 0) {
                        wait_us(pause_us);
                        burst = 8;
                    }
                }
            });
        }
        threads.front().join();
    }
    return pid;
}

void kill_and_wait(pid_t pid) {
    ASSERT_EQ(kill(pid, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "it ended before it was killed: " << status;
}

class Killed : public TraceTest {
protected:
    Killed() : seed_(setting("TRACE_KBUF_TEST_SEED", 1)), random_(seed_) { use_files(); }

    std::string file() const { return path(std::string(kName) + ".kbuf"); }
    uint32_t random(uint32_t below) { return std::uniform_int_distribution<uint32_t>(0, below - 1)(random_); }

    static void wait_for_records(const Finished &finished, uint32_t first, uint32_t writers) {
        for (uint32_t writer = first; writer < first + writers; ++writer) {
            for (int tries = 0; finished[writer] == 0 && tries < 20'000; ++tries) {
                wait_us(500);
            }
            ASSERT_NE(finished[writer], 0u) << "writer " << writer << " does not write";
        }
    }

    uint32_t seed_;
    std::mt19937 random_;
};

// Each file sees several writers, one after the other; some of them are killed while they make it.
TEST_F(Killed, AtRandomMoments) {
    constexpr uint32_t writers_a_file = 8;
    uint32_t killed = 0;
    uint32_t inside_a_record = 0;
    while (killed < kills()) {
        const uint32_t size = random(2) == 0 ? 1024 : 32768;
        const Finished finished(writers_a_file);
        Checker checker(finished);
        for (uint32_t writer = 0; writer < writers_a_file; ++writer) {
            const pid_t pid = start_writer(finished, writer, size);
            if (random(4) != 0) {
                wait_for_records(finished, writer, 1);
            }
            wait_us(random(1500));
            kill_and_wait(pid);
            ++killed;
            const Snapshot snapshot = of_file(file());
            if (snapshot->status != TRACE_KBUF_WHOLE && finished[writer] == 0 && snapshot->record_count == 0) {
                continue; // killed while it made the file
            }
            checker.killed(writer, snapshot->written);
            ASSERT_EQ(checker.completeness(*snapshot), "") << "kill " << killed << ", seed " << seed_;
            if (snapshot->record_count != 0) {
                inside_a_record += snapshot->records[snapshot->record_count - 1].sequence + 1 != snapshot->written;
            }
        }
        ASSERT_EQ(of_file(file())->status, TRACE_KBUF_WHOLE);
        std::filesystem::remove(file());
    }
    std::cout << killed << " single writers killed, " << inside_a_record << " of them inside a record" << std::endl;
}

// A stopped writer's file is what a killed one's would be: looked at after each single instruction, over a few turns
// of the ring, and checked again when that changed anything. The commit word also keeps its word, whatever the
// checksum says.
TEST_F(Killed, AtAnyInstruction) {
    constexpr uint32_t slots = 4;
    const Finished finished(1);
    const pid_t pid = ksl::test::fork_child();
    if (pid == 0) {
        const uint32_t descriptor = open_in_child(slots * sizeof(trace_kbuf::Slot));
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(77);
        }
        for (uint32_t i = 0; i < 3 * slots; ++i) {
            if (i == slots) {
                raise(SIGSTOP);
            }
            finished.write_next(descriptor, 0);
        }
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) {
        GTEST_SKIP() << "no single steps here";
    }
    ASSERT_TRUE(WIFSTOPPED(status));
    Checker checker(finished);
    checker.killed(0, UINT64_MAX);

    const int opened = ::open(file().c_str(), O_RDONLY | O_CLOEXEC);
    constexpr size_t bytes = trace_kbuf::kHeaderBytes + slots * sizeof(trace_kbuf::Slot);
    const void *image = mmap(nullptr, bytes, PROT_READ, MAP_SHARED, opened, 0);
    close(opened);
    ASSERT_NE(image, MAP_FAILED);
    Bytes checked(bytes);
    uint32_t finished_then = 0;
    bool in_the_making = false;
    uint32_t steps = 0;
    uint32_t inside_a_record = 0;
    while (WIFSTOPPED(status) && !HasFailure()) {
        if (std::memcmp(checked.data(), image, bytes) != 0 || finished_then != finished[0]) {
            std::memcpy(checked.data(), image, bytes);
            finished_then = finished[0];
            const Snapshot snapshot = of_bytes(checked);
            EXPECT_EQ(checker.completeness(*snapshot), "") << "after instruction " << steps;
            in_the_making = snapshot->incomplete != 0;
            for (uint32_t index = 0; index < slots; ++index) {
                trace_kbuf::SlotWords words;
                std::memcpy(words.data(), &checked[slot_at(index)], sizeof words);
                const auto *values = &words[trace_kbuf::kFirstValue];
                const stamped::Values expected = stamped::values_of(values[0], values[1]);
                const bool whole = std::equal(expected.begin(), expected.end(), values);
                EXPECT_TRUE(whole || words[trace_kbuf::kCommit] % slots != index) << "after instruction " << steps;
            }
        }
        inside_a_record += in_the_making;
        ++steps;
        ASSERT_EQ(ptrace(PTRACE_SINGLESTEP, pid, nullptr, nullptr), 0);
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
    }
    munmap(const_cast<void *>(image), bytes);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(finished[0], 3 * slots);
    EXPECT_GT(inside_a_record, 2 * slots * 16) << "a record has so many words";
    std::cout << steps << " instructions, a record was in the making after " << inside_a_record << std::endl;
}

// Two processes with four threads each write into one buffer, full already, and are killed one after the other.
TEST_F(Killed, ManyWritersOfOneBuffer) {
    constexpr uint32_t size = 1 << 21;
    const uint32_t rounds = (kills() + 3) / 4;
    const uint32_t writers = rounds * 2 * kThreads;
    const Finished finished(writers + 1);
    uint32_t descriptor = open(kName, size);
    for (uint32_t i = 0; i < size / sizeof(trace_kbuf::Slot); ++i) {
        ASSERT_EQ(finished.write_next(descriptor, writers), 0);
    }
    trace_kbuf_free(&descriptor);
    Checker checker(finished);
    for (uint32_t first = 0; first < writers; first += 2 * kThreads) {
        const pid_t pids[] = {start_threads(finished, first, size, 200),
                              start_threads(finished, first + kThreads, size, 200)};
        wait_for_records(finished, first, 2 * kThreads);
        for (uint32_t process = 0; process < 2; ++process) {
            wait_us(random(3000));
            kill_and_wait(pids[process]);
            const Snapshot snapshot = of_file(file());
            ASSERT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
            for (uint32_t thread = 0; thread < kThreads; ++thread) {
                checker.killed(first + process * kThreads + thread, snapshot->written);
            }
            ASSERT_EQ(process == 0 ? checker.order(*snapshot) : checker.completeness(*snapshot), "")
                << "writer " << first << ", seed " << seed_;
        }
    }
    std::cout << rounds * 2 << " processes of four threads killed in pairs" << std::endl;
}

// The same without pauses into a ring so small that it turns while a thread waits for a processor. What such a thread
// then writes may spoil a newer record, but never shows a wrong one.
TEST_F(Killed, ManyWritersInATinyRing) {
    const uint32_t rounds = (kills() + 7) / 8;
    const Finished finished(rounds * 2 * kThreads);
    const Checker checker(finished);
    for (uint32_t round = 0; round < rounds; ++round) {
        const uint32_t first = round * 2 * kThreads;
        const pid_t pids[] = {start_threads(finished, first, 1024, 0),
                              start_threads(finished, first + kThreads, 1024, 0)};
        wait_for_records(finished, first, 2 * kThreads);
        for (const pid_t pid : pids) {
            wait_us(random(3000));
            kill_and_wait(pid);
            const Snapshot snapshot = of_file(file());
            ASSERT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
            ASSERT_EQ(checker.order(*snapshot), "") << "round " << round << ", seed " << seed_;
        }
    }
    std::cout << rounds * 2 << " processes of four threads killed in a tiny ring" << std::endl;
}

} // namespace
