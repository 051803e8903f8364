// SPDX-License-Identifier: Apache-2.0
// What the simulated hub writes harms nobody: whatever stderr and the log are, and when standard streams are closed.
#include "library.h"

#include <functional>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace hwa_test {
namespace {

constexpr char kAccess[] = "hwa_getreg chip=0 page=0x00 offset=0x00 length=1 -> 0 bytes=03\n";

class HubStreams : public HubTest {
protected:
    // Runs `body` in a child, which no signal may end; it returns 0 when all is well.
    static void expect_unharmed(const std::function<int()> &body) {
        EXPECT_EQ(finish(start_child([&] {
                      alarm(60); // should it wait for ever
                      return body();
                  })),
                  0);
    }

    // One access, which must get its answer although there is something to say.
    static int access(const Library &library) { return library.get(0, 0, 1) == Bytes{3} ? 0 : 1; }

    static int access_with_complaint() {
        set("HWA_SIM_LOG", "/proc/none/log");
        return access(Library());
    }

    // Makes stderr a pipe, and returns its other end.
    static int pipe_to_stderr() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
            std::abort();
        }
        close(ends[1]);
        return ends[0];
    }

    // A file that takes no more than it has.
    static int full_file(const std::string &path) {
        write_file(path, "0123456789");
        const rlimit limit{10, RLIM_INFINITY};
        const int file = open(path.c_str(), O_WRONLY | O_APPEND);
        return setrlimit(RLIMIT_FSIZE, &limit) == 0 ? file : -1;
    }
};

TEST_F(HubStreams, StderrMayBeAPipeWithoutAReader) {
    expect_unharmed([] {
        close(pipe_to_stderr());
        return access_with_complaint();
    });
    expect_unharmed([] {
        close(pipe_to_stderr());
        set("HWA_SIM_LOG", "-");
        return access(Library());
    });
}

TEST_F(HubStreams, StderrMayBeAFullPipeThatNobodyReads) {
    expect_unharmed([] {
        pipe_to_stderr();
        fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
        while (write(STDERR_FILENO, "x", 1) == 1) {
        }
        fcntl(STDERR_FILENO, F_SETFL, 0);
        return access_with_complaint();
    });
}

TEST_F(HubStreams, StderrMayBeAFileAtItsLimit) {
    ASSERT_EQ(Library().get(0, 0, 1), Bytes{3}); // the state needs its room
    for (const char *log : {"/proc/none/log", "-"}) {
        expect_unharmed([&] {
            set("HWA_SIM_LOG", log);
            dup2(full_file(folder / "full"), STDERR_FILENO);
            return access(Library());
        });
        EXPECT_EQ(contents(folder / "full"), "0123456789");
    }
}

TEST_F(HubStreams, StderrMayHaveBecomeAnotherFile) {
    for (const char *log : {"/proc/none/log", "-"}) {
        for (const bool closed_before : {false, true}) {
            expect_unharmed([&] {
                set("HWA_SIM_LOG", log);
                if (closed_before) {
                    close(STDERR_FILENO);
                }
                const Library library;
                close(STDERR_FILENO);
                const int file = open((folder / "data").c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
                return file == STDERR_FILENO ? access(library) : 2;
            });
            EXPECT_EQ(contents(folder / "data"), "");
        }
    }
}

TEST_F(HubStreams, TheLogMayBeAPipeThatLosesItsReader) {
    ASSERT_EQ(mkfifo((folder / "log").c_str(), 0600), 0);
    set("HWA_SIM_LOG", folder / "log");
    expect_unharmed([&] {
        const int reader = open((folder / "log").c_str(), O_RDONLY | O_NONBLOCK);
        const Library library;
        int result = access(library);
        close(reader);
        StderrCapture capture;
        result += access(library) + access(library);
        // The library knows another stderr, so that nothing is said here.
        return result + (capture.text().empty() ? 0 : 1);
    });
}

TEST_F(HubStreams, TheLogMayComeToItsLimit) {
    ASSERT_EQ(Library().get(0, 0, 1), Bytes{3});
    set("HWA_SIM_LOG", folder / "log");
    const std::string before(1000, 'x'); // stderr is a file, too, and needs its room
    write_file(folder / "log", before);
    constexpr size_t kRoom = sizeof kAccess + 10;
    expect_unharmed([&] {
        const rlimit limit{before.size() + kRoom, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        StderrCapture capture;
        int result = 0;
        {
            const Library library;
            for (int i = 0; i < 3; ++i) {
                result += access(library);
            }
        }
        return result + (capture.text() == "simulated hub: HWA_SIM_LOG: " + (folder / "log") +
                                               " cannot be written (File too large); going on without a log\n"
                             ? 0
                             : 1);
    });
    EXPECT_EQ(contents(folder / "log"), before + (std::string(kAccess) + kAccess).substr(0, kRoom));
}

TEST_F(HubStreams, ClosedStandardStreamsAreLeftClosed) {
    set("HWA_SIM_LOG", folder / "log");
    ASSERT_EQ(Library().get(0, 0, 1), Bytes{3});
    const std::string before = contents(folder / "state/hub.state").substr(0, 20);
    expect_unharmed([] {
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            close(stream);
        }
        const Library library;
        int result = access(library);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            result += write(stream, "text of the program\n", 20) < 0 ? 0 : 1;
        }
        return result + access(library);
    });
    EXPECT_EQ(contents(folder / "log"), std::string(kAccess) + kAccess + kAccess);
    EXPECT_EQ(contents(folder / "state/hub.state").substr(0, 20), before);
}

} // namespace
} // namespace hwa_test
