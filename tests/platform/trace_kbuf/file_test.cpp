// SPDX-License-Identifier: Apache-2.0
// Buffers in files: shared, outliving their writers, made safely, and never in the program's way.
#include "trace_files.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/stat.h>

using namespace trace_files;

namespace {

using File = TraceTest;

TEST_F(File, LiesInTheFolderUnderTheBuffersName) {
    use_files();
    uint32_t descriptor = open("XKSL", 32768);
    write_numbered(descriptor, 1);
    struct stat status {};
    ASSERT_EQ(stat(path("XKSL.kbuf").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(status.st_size, 4096 + 32768);
    EXPECT_GE(status.st_blocks * 512, status.st_size);

    const Snapshot snapshot = of_file(path("XKSL.kbuf")); // while it is open
    EXPECT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
    ASSERT_EQ(snapshot->record_count, 1u);
    EXPECT_TRUE(is_numbered(snapshot->records[0]));
    EXPECT_EQ(live("XKSL")->record_count, 1u);

    trace_kbuf_free(&descriptor);
    EXPECT_EQ(of_file(path("XKSL.kbuf"))->record_count, 1u);
}

// The line of this process's map of memory that holds `address`, or that names `file` when there is no address.
std::string mapping(uint64_t address, const std::string &file) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const uint64_t start = std::stoull(line, nullptr, 16);
        const uint64_t end = std::stoull(line.substr(line.find('-') + 1), nullptr, 16);
        if (address != 0 ? start <= address && address < end : line.find(file) != std::string::npos) {
            return line;
        }
    }
    return {};
}

// A thread that still writes while another frees must find something at the ring's addresses.
TEST_F(File, IsReplacedByEmptyMemoryWhenFreed) {
    use_files();
    uint32_t descriptor = open("A");
    const std::string line = mapping(0, path("A.kbuf"));
    ASSERT_NE(line, "");
    trace_kbuf_free(&descriptor);
    EXPECT_EQ(mapping(0, path("A.kbuf")), "");
    EXPECT_NE(mapping(std::stoull(line, nullptr, 16), "").find(" rw-"), std::string::npos);
}

TEST_F(File, NamesAreMadeSafe) {
    use_files();
    const struct {
        const char *name, *file;
    } names[] = {{"../up", "%2E.%2Fup.kbuf"},   {"a b/c", "a%20b%2Fc.kbuf"}, {".hidden", "%2Ehidden.kbuf"},
                 {"v1.2-x_Y", "v1.2-x_Y.kbuf"}, {"100%", "100%25.kbuf"},     {"\xff", "%FF.kbuf"}};
    for (const auto &name : names) {
        uint32_t descriptor = open(name.name);
        write_numbered(descriptor, 5);
        trace_kbuf_free(&descriptor);
        EXPECT_EQ(of_file(path(name.file))->record_count, 1u) << name.file;
        EXPECT_STREQ(of_file(path(name.file))->name, name.name);
        char found[512];
        EXPECT_EQ(trace_kbuf_file_path(found, sizeof found, folder_.c_str(), name.name),
                  static_cast<int>(path(name.file).size()));
        EXPECT_EQ(found, path(name.file));
    }
    char room[4];
    EXPECT_EQ(trace_kbuf_file_path(room, sizeof room, "d", "n"), 8);
    EXPECT_STREQ(room, "d/n");
    EXPECT_EQ(trace_kbuf_file_path(room, sizeof room, "d", ""), -1);
    EXPECT_EQ(trace_kbuf_file_path(room, sizeof room, "d", nullptr), -1);
}

TEST_F(File, IsContinuedWhenOpenedAgain) {
    for (uint32_t round = 0; round < 50; ++round) {
        const std::string file = file_with(3);
        const Snapshot snapshot = of_file(file);
        const uint32_t written = 3 * (round + 1);
        ASSERT_EQ(snapshot->written, written);
        ASSERT_EQ(snapshot->record_count, std::min(written, 64u));
        ASSERT_EQ(snapshot->records[snapshot->record_count - 1].sequence, written - 1);
        for (size_t i = 1; i < snapshot->record_count; ++i) {
            ASSERT_EQ(snapshot->records[i].sequence, snapshot->records[i - 1].sequence + 1);
            ASSERT_GT(snapshot->records[i].time_ns, snapshot->records[i - 1].time_ns);
        }
    }
}

TEST_F(File, IsSharedByProcesses) {
    use_files();
    constexpr uint32_t each = 500;
    std::vector<pid_t> children;
    for (uint32_t c = 0; c < 4; ++c) {
        const pid_t pid = ksl::test::fork_child();
        if (pid == 0) {
            uint32_t descriptor = 0;
            bool good = init_sized(&descriptor, "SHARED", 64 * 2048) == 0;
            for (uint32_t i = 0; i < each; ++i) {
                good = good && write_numbered(descriptor, c * each + i) == 0;
            }
            _exit(good ? 0 : 1);
        }
        children.push_back(pid);
    }
    for (const pid_t pid : children) {
        int status = 1;
        waitpid(pid, &status, 0);
        EXPECT_EQ(status, 0);
    }
    const Snapshot snapshot = of_file(path("SHARED.kbuf"));
    ASSERT_EQ(snapshot->record_count, 4 * each);
    std::vector<uint32_t> next(4, 0);
    for (size_t i = 0; i < snapshot->record_count; ++i) {
        const trace_kbuf_record &record = snapshot->records[i];
        ASSERT_TRUE(is_numbered(record));
        ASSERT_EQ(record.identifier % each, next.at(record.identifier / each)++);
        ASSERT_EQ(record.writer, static_cast<uint32_t>(children[record.identifier / each]));
    }
}

TEST_F(File, OutlivesAKilledWriterAndIsReadMeanwhile) {
    use_files();
    const pid_t pid = ksl::test::fork_child();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // should the test itself be stopped
        uint32_t descriptor = 0;
        init_sized(&descriptor, "A", 1024);
        for (uint32_t i = 0;; ++i) {
            write_numbered(descriptor, i);
        }
    }
    size_t seen = 0;
    for (int i = 0; i < 200 || (seen < 200 && i < 10'000); ++i) {
        const Snapshot snapshot = of_file(path("A.kbuf"));
        seen += snapshot->record_count;
        if (snapshot->record_count > 0) {
            ASSERT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
        }
        for (size_t r = 0; r < snapshot->record_count; ++r) {
            ASSERT_TRUE(is_numbered(snapshot->records[r]));
        }
    }
    EXPECT_GE(seen, 200u);
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    const Snapshot snapshot = of_file(path("A.kbuf"));
    EXPECT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
    EXPECT_LE(snapshot->incomplete, 1u);
    ASSERT_GE(snapshot->record_count, 15u);
    for (size_t r = 0; r < snapshot->record_count; ++r) {
        ASSERT_TRUE(is_numbered(snapshot->records[r]));
    }
    // And the next process goes on where it stopped.
    uint32_t descriptor = open("A", 1024);
    write_numbered(descriptor, 7);
    trace_kbuf_free(&descriptor);
    EXPECT_EQ(of_file(path("A.kbuf"))->written, snapshot->written + 1);
}

TEST_F(File, HalfMadeFileIsFinished) {
    write_bytes(path("A.kbuf"), {});
    write_bytes(path("B.kbuf"), Bytes(4096 + 4096));
    write_bytes(path("C.kbuf"), Bytes(4096 + 8192)); // by a program that wanted more
    write_bytes(path("D.kbuf"), Bytes(4096 + 2048)); // and by one that wanted less
    use_files();
    const struct {
        const char *name;
        uint32_t size;
    } files[] = {{"A", 4096}, {"B", 4096}, {"C", 8192}, {"D", 4096}};
    for (const auto &file : files) {
        uint32_t descriptor = open(file.name);
        write_numbered(descriptor, 5);
        trace_kbuf_free(&descriptor);
        const Snapshot snapshot = of_file(path(std::string(file.name) + ".kbuf"));
        EXPECT_EQ(snapshot->record_count, 1u);
        EXPECT_EQ(snapshot->size, file.size);
    }
    EXPECT_EQ(read_bytes(path("D.kbuf.old")).size(), 4096u + 2048u);
}

// Files that are ours but of no use for going on.
TEST_F(File, IsMovedAsideWhenItIsTooSmallOrOfAnotherVersionOrDamaged) {
    using trace_kbuf::Description;
    const auto seal = [](Bytes &bytes) {
        set_word(bytes, offsetof(Description, checksum), trace_kbuf::description_checksum(bytes.data()));
    };
    const std::function<void(Bytes &)> changes[] = {
        [&](Bytes &bytes) {
            set_word(bytes, offsetof(Description, version), 1);
            seal(bytes);
        },
        [&](Bytes &bytes) {
            set_word(bytes, offsetof(Description, size), 8192);
            seal(bytes);
        },
        [](Bytes &bytes) { set_word(bytes, offsetof(Description, checksum), 1); },
        [](Bytes &bytes) { bytes.erase(bytes.end() - 64, bytes.end()); },
        [](Bytes &bytes) { bytes.erase(bytes.begin() + 100, bytes.end()); },
    };
    const std::string file = file_with(3);
    const Bytes good = read_bytes(file);
    for (const auto &change : changes) {
        Bytes bytes = good;
        change(bytes);
        write_bytes(file, bytes);
        const Child child = run_child([&] {
            uint32_t descriptor = open("FILE");
            return write_numbered(descriptor, 77);
        });
        EXPECT_EQ(child.status, 0);
        EXPECT_EQ(child.stderr_, "");
        EXPECT_EQ(read_bytes(file + ".old"), bytes);
        const Snapshot snapshot = of_file(file);
        ASSERT_EQ(snapshot->record_count, 1u);
        EXPECT_EQ(snapshot->records[0].identifier, 77u);
        EXPECT_EQ(snapshot->records[0].sequence, 0u);
    }
    uint32_t descriptor = open("FILE", 8192);
    trace_kbuf_free(&descriptor);
    EXPECT_EQ(of_file(file)->size, 8192u);
    EXPECT_EQ(of_file(file + ".old")->size, 4096u);
}

// A program that wants less must not take away what another one records.
TEST_F(File, IsContinuedByAProgramThatWantsLess) {
    const std::string file = file_with(3, 8192);
    uint32_t descriptor = open("FILE", 4096);
    write_numbered(descriptor, 3);
    EXPECT_EQ(live("FILE")->size, 8192u);
    EXPECT_EQ(live("FILE")->record_count, 4u);
    for (uint32_t i = 4; i < 200; ++i) {
        write_numbered(descriptor, i);
    }
    EXPECT_EQ(live("FILE")->record_count, 128u);
    trace_kbuf_free(&descriptor);
    EXPECT_EQ(of_file(file)->written, 200u);
    EXPECT_FALSE(std::filesystem::exists(file + ".old"));
}

} // namespace
