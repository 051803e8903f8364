// SPDX-License-Identifier: Apache-2.0
// Helpers of the trace library's tests: folders, children, snapshots, and files edited word by word.
#pragma once

#include "../../support/child.h"
#include "sized_buffer.h"

#include <format.h>
#include <trace_kbuf.h>
#include <trace_kbuf_reader.h>

#include <bit>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace trace_files {

using Bytes = std::vector<unsigned char>;
using Snapshot = std::unique_ptr<trace_kbuf_snapshot, decltype(&trace_kbuf_snapshot_free)>;

inline Snapshot live(const char *name) {
    return {trace_kbuf_snapshot_live(name), &trace_kbuf_snapshot_free};
}
inline Snapshot of_file(const std::string &path) {
    return {trace_kbuf_snapshot_file(path.c_str()), &trace_kbuf_snapshot_free};
}
inline Snapshot of_bytes(const Bytes &bytes) {
    return {trace_kbuf_snapshot_bytes(bytes.data(), bytes.size(), "bytes"), &trace_kbuf_snapshot_free};
}

inline uint32_t header(uint32_t values, uint32_t line = 100) {
    return (values << 16) | line;
}

// A record whose values all follow from `number`, so that a mixture of two is seen.
inline int write_numbered(uint32_t descriptor, uint32_t number) {
    return trace_kbuf_write_ints9(descriptor, header(9), number, number, ~number, number + 1, number + 2, number + 3,
                                  number + 4, number + 5, number + 6, number * 7);
}

inline bool is_numbered(const trace_kbuf_record &record) {
    const uint32_t number = record.identifier;
    const uint32_t expected[] = {number,     ~number,    number + 1, number + 2, number + 3,
                                 number + 4, number + 5, number + 6, number * 7};
    return record.header == header(9) && std::memcmp(record.values, expected, sizeof expected) == 0;
}

inline Bytes read_bytes(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void write_bytes(const std::string &path, const Bytes &bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline uint32_t word(const Bytes &bytes, size_t offset) {
    uint32_t value = 0;
    std::memcpy(&value, &bytes.at(offset), sizeof value);
    return value;
}

inline void set_word(Bytes &bytes, size_t offset, uint32_t value) {
    std::memcpy(&bytes.at(offset), &value, sizeof value);
}

inline size_t slot_at(uint32_t index) {
    return trace_kbuf::kHeaderBytes + index * sizeof(trace_kbuf::Slot);
}

// What the copy of a live buffer holds.
inline Bytes copy_of(const char *name) {
    Bytes bytes(trace_kbuf_copy(name, nullptr, 0));
    EXPECT_EQ(trace_kbuf_copy(name, bytes.data(), bytes.size()), bytes.size());
    return bytes;
}

struct Child {
    int status;          // as waitpid gives it
    std::string stderr_; // all it said
};

// Runs `body` in a child, which ends with its result.
inline Child run_child(const std::function<int()> &body) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t pid = ksl::test::fork_child();
    if (pid == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        _exit(body());
    }
    close(ends[1]);
    Child child{};
    char part[512];
    for (ssize_t got = read(ends[0], part, sizeof part); got > 0; got = read(ends[0], part, sizeof part)) {
        child.stderr_.append(part, static_cast<size_t>(got));
    }
    close(ends[0]);
    EXPECT_EQ(waitpid(pid, &child.status, 0), pid);
    return child;
}

// A folder of its own for each test, and no settings unless the test makes them.
class TraceTest : public ::testing::Test {
protected:
    TraceTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "trace_kbuf_test.XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        unsetenv("TRACE_KBUF_DIR");
        unsetenv("TRACE_KBUF_SIZE");
    }
    ~TraceTest() override {
        unsetenv("TRACE_KBUF_DIR");
        std::filesystem::remove_all(folder_);
    }

    void use_files() { setenv("TRACE_KBUF_DIR", folder_.c_str(), 1); }
    std::string path(const std::string &file) const { return folder_ + "/" + file; }

    uint32_t open(const char *name, uint32_t size = 4096) {
        uint32_t descriptor = 0;
        EXPECT_EQ(init_sized(&descriptor, name, size), 0);
        EXPECT_NE(descriptor, 0u);
        return descriptor;
    }

    // A file of one buffer with `count` numbered records, closed.
    std::string file_with(uint32_t count, uint32_t size = 4096) {
        use_files();
        uint32_t descriptor = open("FILE", size);
        for (uint32_t i = 0; i < count; ++i) {
            EXPECT_EQ(write_numbered(descriptor, i), 0);
        }
        EXPECT_EQ(trace_kbuf_free(&descriptor), 0);
        return path("FILE.kbuf");
    }

    std::string folder_;
};

} // namespace trace_files
