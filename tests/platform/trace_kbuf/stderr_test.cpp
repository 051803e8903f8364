// SPDX-License-Identifier: Apache-2.0
// What the library says on stderr harms nobody, whatever stderr is.
#include "fresh_library.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>

using namespace trace_files;

namespace {

class Stderr : public TraceTest {
protected:
    Stderr() { setenv("TRACE_KBUF_DIR", "/proc/none", 1); } // where nothing can be made

    // Has a fresh library say something and then write a record; 0 when that went well.
    static int complain(const FreshLibrary &library) { return library.write(library.open("A", 4096), 1) == 0 ? 0 : 1; }

    static void expect_unharmed(const std::function<int()> &body) {
        const Child child = run_child([&] {
            alarm(20); // should it wait
            return body();
        });
        EXPECT_FALSE(WIFSIGNALED(child.status)) << "ended by signal " << WTERMSIG(child.status);
        EXPECT_EQ(child.status, 0);
    }
};

TEST_F(Stderr, IsWhereThingsAreSaid) {
    const Child child = run_child([] { return complain(FreshLibrary()); });
    EXPECT_EQ(child.status, 0);
    EXPECT_NE(child.stderr_.find("trace_kbuf: cannot keep buffer \"A\""), std::string::npos);
}

TEST_F(Stderr, MayBeAPipeWithoutAReader) {
    expect_unharmed([] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
            return 2;
        }
        close(ends[0]);
        close(ends[1]);
        const int result = complain(FreshLibrary());
        sigset_t pending;
        sigset_t mask;
        sigpending(&pending);
        sigprocmask(SIG_SETMASK, nullptr, &mask);
        return result + sigismember(&pending, SIGPIPE) + sigismember(&mask, SIGPIPE);
    });
}

TEST_F(Stderr, ASignalThatWaitedBeforeStillWaits) {
    expect_unharmed([] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
            return 2;
        }
        close(ends[0]);
        close(ends[1]);
        sigset_t pipes;
        sigemptyset(&pipes);
        sigaddset(&pipes, SIGPIPE);
        sigprocmask(SIG_BLOCK, &pipes, nullptr);
        raise(SIGPIPE);
        const int result = complain(FreshLibrary());
        sigset_t pending;
        sigpending(&pending);
        return result + (sigismember(&pending, SIGPIPE) == 1 ? 0 : 1);
    });
}

TEST_F(Stderr, MayBeAFullPipeThatNobodyReads) {
    expect_unharmed([] {
        int ends[2];
        if (pipe2(ends, O_NONBLOCK) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
            return 2;
        }
        while (write(ends[1], "x", 1) == 1) {
        }
        fcntl(ends[1], F_SETFL, 0);
        return complain(FreshLibrary());
    });
}

TEST_F(Stderr, MayBeAFileAtItsLimit) {
    expect_unharmed([this] {
        const int file = ::open(path("log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        if (write(file, "0123456789", 10) != 10 || dup2(file, STDERR_FILENO) < 0) {
            return 2;
        }
        const FreshLibrary library;
        const rlimit limit{10, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        return complain(library);
    });
    EXPECT_EQ(read_bytes(path("log")).size(), 10u);
}

TEST_F(Stderr, MayHaveBeenClosedAndBeAnotherFileByNow) {
    for (const bool closed_before : {false, true}) {
        expect_unharmed([&] {
            if (closed_before) {
                close(STDERR_FILENO);
            }
            const FreshLibrary library;
            close(STDERR_FILENO);
            const int file = ::open(path("data").c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
            return file == STDERR_FILENO ? complain(library) : 2;
        });
        EXPECT_TRUE(read_bytes(path("data")).empty());
    }
}

} // namespace
