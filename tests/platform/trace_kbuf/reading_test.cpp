// SPDX-License-Identifier: Apache-2.0
// Reading a ring that turns all the time never shows a record that nobody wrote, or a writer's in wrong order.
// Built a second time with the thread sanitizer, which shows whether writers and readers meet in atomic words only.
//
// TRACE_KBUF_TEST_MS says how long each test reads.
#include "checker.h"
#include "settings.h"
#include "trace_files.h"

#include <chrono>
#include <csignal>
#include <sys/prctl.h>
#include <thread>

using namespace trace_files;
using stamped::Checker;
using stamped::Finished;

namespace {

constexpr char kName[] = "READ";
constexpr uint32_t kWriters = 3;
constexpr uint32_t kReaders = 2;

class Reading : public TraceTest {
protected:
    // Lets threads write and others read until the time is over; `read` takes a snapshot.
    void read_while_writing(const std::function<Snapshot()> &read) {
        const Checker checker(finished_);
        const auto end =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(setting("TRACE_KBUF_TEST_MS", 300));
        std::atomic<bool> stop = false;
        std::vector<std::thread> threads;
        for (uint32_t writer = 0; writer < kWriters; ++writer) {
            threads.emplace_back([&, writer, descriptor = open(kName, 1024)] {
                while (!stop) {
                    EXPECT_EQ(finished_.write_next(descriptor, writer), 0);
                }
            });
        }
        std::atomic<size_t> shown = 0;
        std::atomic<size_t> refused = 0;
        for (uint32_t reader = 0; reader < kReaders; ++reader) {
            threads.emplace_back([&] {
                for (size_t seen = 0; !stop; seen = shown) {
                    const Snapshot snapshot = read();
                    const std::string problem =
                        snapshot->status == TRACE_KBUF_WHOLE ? checker.order(*snapshot) : snapshot->problem;
                    EXPECT_EQ(problem, "");
                    shown += snapshot->record_count;
                    refused += static_cast<size_t>(snapshot->incomplete);
                    const bool over = std::chrono::steady_clock::now() > end && seen > 1000;
                    stop = stop || over || !problem.empty();
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        std::cout << shown << " records shown, " << refused << " refused" << std::endl;
    }

    Finished finished_{kWriters + 1};
};

// The first of them: under the thread sanitizer, a process that has written for a minute is too large to be forked.
TEST_F(Reading, AFileThatAnotherProcessWritesToo) {
    use_files();
    const pid_t pid = ksl::test::fork_child();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        uint32_t descriptor = open(kName, 1024);
        while (finished_.write_next(descriptor, kWriters) == 0) {
        }
        _exit(1);
    }
    uint32_t descriptor = open(kName, 1024);
    read_while_writing([&] { return of_file(path(std::string(kName) + ".kbuf")); });
    trace_kbuf_free(&descriptor);
    EXPECT_NE(finished_[kWriters], 0u);
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
}

TEST_F(Reading, ABufferOfThisProcess) {
    uint32_t descriptor = open(kName, 1024);
    read_while_writing([] { return live(kName); });
    trace_kbuf_free(&descriptor);
}

} // namespace
