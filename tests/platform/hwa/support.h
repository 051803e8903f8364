// SPDX-License-Identifier: Apache-2.0
// A place of their own, the finished library, other processes and stderr, for the tests of the simulated hub.
#pragma once

#include "../../support/child.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hwa_test {

inline std::string contents(const std::filesystem::path &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

inline void write_file(const std::filesystem::path &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

// A new folder that goes with the test.
class TemporaryFolder {
public:
    TemporaryFolder() {
        path_ = testing::TempDir() + "/hwa-XXXXXX";
        if (mkdtemp(path_.data()) == nullptr) {
            std::abort();
        }
        path_ = std::filesystem::canonical(path_);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    const std::string &path() const { return path_; }
    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Everything that is written to stderr between construction and text().
class StderrCapture {
public:
    StderrCapture() : kept_(dup(STDERR_FILENO)) {
        const int file = open((folder_ / "stderr").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        dup2(file, STDERR_FILENO);
        close(file);
    }
    StderrCapture(const StderrCapture &) = delete;
    StderrCapture &operator=(const StderrCapture &) = delete;
    ~StderrCapture() { restore(); }

    std::string text() {
        restore();
        return contents(folder_ / "stderr");
    }

private:
    void restore() {
        if (kept_ < 0) {
            return;
        }
        dup2(kept_, STDERR_FILENO);
        close(kept_);
        kept_ = -1;
    }

    TemporaryFolder folder_;
    int kept_;
};

// Runs `body` in a forked child; it must return the child's exit status.
template <typename Body>
pid_t start_child(Body body) {
    const pid_t child = ksl::test::fork_child();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // no child outlives a test that failed
        _exit(body());
    }
    return child;
}

// The child's exit status, or 1000 plus the signal that ended it.
inline int finish(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

} // namespace hwa_test
