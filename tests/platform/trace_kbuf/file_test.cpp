// SPDX-License-Identifier: Apache-2.0
// Buffers in files: shared, outliving their writers, made safely, and never in the program's way.
#include "trace_files.h"

#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
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
        char told[512];
        EXPECT_EQ(trace_kbuf_file_path(told, sizeof told, folder_.c_str(), name.name),
                  static_cast<int>(path(name.file).size()));
        EXPECT_EQ(told, path(name.file));
    }
    char room[4];
    EXPECT_EQ(trace_kbuf_file_path(room, sizeof room, "d", "n"), 8);
    EXPECT_STREQ(room, "d/n");
    EXPECT_EQ(trace_kbuf_file_path(room, sizeof room, "d", ""), -1);
    EXPECT_EQ(trace_kbuf_file_path(room, sizeof room, "d", nullptr), -1);
}

TEST_F(File, AMissingFolderIsMade) {
    setenv("TRACE_KBUF_DIR", path("new").c_str(), 1);
    uint32_t descriptor = open("A");
    trace_kbuf_free(&descriptor);
    struct stat status {};
    ASSERT_EQ(stat(path("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_EQ(of_file(path("new/A.kbuf"))->status, TRACE_KBUF_WHOLE);
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
            bool good = trace_kbuf_init_buffer(&descriptor, "SHARED", 64 * 2048) == 0;
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
        trace_kbuf_init_buffer(&descriptor, "A", 1024);
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
    use_files();
    for (const char *name : {"A", "B"}) {
        uint32_t descriptor = open(name);
        write_numbered(descriptor, 5);
        trace_kbuf_free(&descriptor);
        EXPECT_EQ(of_file(path(std::string(name) + ".kbuf"))->record_count, 1u);
    }
}

// Files that are ours but of no use for going on.
TEST_F(File, IsMovedAsideWhenItIsOfAnotherSizeOrVersionOrDamaged) {
    using trace_kbuf::Description;
    const auto seal = [](Bytes &bytes) {
        set_word(bytes, offsetof(Description, checksum), trace_kbuf::description_checksum(bytes.data()));
    };
    const std::function<void(Bytes &)> changes[] = {
        [&](Bytes &bytes) {
            set_word(bytes, offsetof(Description, version), 2);
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
    // Asked for in another size.
    uint32_t descriptor = open("FILE", 8192);
    trace_kbuf_free(&descriptor);
    EXPECT_EQ(of_file(file)->size, 8192u);
    EXPECT_EQ(of_file(file + ".old")->size, 4096u);
}

// Everything below: the program goes on in memory, says why once, and what was in the way is not touched.
class Fallback : public TraceTest {
protected:
    void expect_memory(const std::string &reason, const char *name = "FILE") {
        const char *directory = getenv("TRACE_KBUF_DIR");
        const Child child = run_child([&] {
            for (int i = 0; i < 3; ++i) {
                uint32_t descriptor = 0;
                if (trace_kbuf_init_buffer(&descriptor, name, 4096) != 0 || write_numbered(descriptor, 1) != 0 ||
                    live(name)->record_count != 1 || trace_kbuf_free(&descriptor) != 0) {
                    return 1;
                }
            }
            return 0;
        });
        EXPECT_EQ(child.status, 0);
        EXPECT_EQ(child.stderr_, "trace_kbuf: cannot keep buffer \"" + std::string(name) + "\" in " + directory + "/" +
                                     name + ".kbuf: " + reason + "; recording in memory instead\n");
    }
};

TEST_F(Fallback, WhenTheFolderCannotBeMade) {
    setenv("TRACE_KBUF_DIR", path("missing/deeper").c_str(), 1);
    expect_memory("No such file or directory");
}

TEST_F(Fallback, WhenTheFolderIsAFile) {
    write_bytes(path("file"), {1});
    setenv("TRACE_KBUF_DIR", path("file").c_str(), 1);
    expect_memory("Not a directory");
}

TEST_F(Fallback, WhenTheFolderIsNotWritable) {
    setenv("TRACE_KBUF_DIR", "/proc", 1);
    expect_memory("No such file or directory");
    if (geteuid() != 0) {
        use_files();
        chmod(folder_.c_str(), 0500);
        expect_memory("Permission denied");
        chmod(folder_.c_str(), 0700);
    }
}

TEST_F(Fallback, WhenTheFileIsASymbolicLink) {
    use_files();
    write_bytes(path("target"), {});
    ASSERT_EQ(symlink(path("target").c_str(), path("FILE.kbuf").c_str()), 0);
    expect_memory("it is a symbolic link");
    EXPECT_TRUE(read_bytes(path("target")).empty());
}

TEST_F(Fallback, WhenTheFileHasASecondName) {
    use_files();
    write_bytes(path("target"), {});
    ASSERT_EQ(link(path("target").c_str(), path("FILE.kbuf").c_str()), 0);
    expect_memory("it has a second name elsewhere");
    EXPECT_TRUE(read_bytes(path("target")).empty());
}

TEST_F(Fallback, WhenTheFileIsNoFile) {
    use_files();
    ASSERT_EQ(mkfifo(path("FILE.kbuf").c_str(), 0600), 0);
    expect_memory("it is not a regular file");
}

TEST_F(Fallback, WhenTheFileBelongsToAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    const std::string file = file_with(1);
    const Bytes before = read_bytes(file);
    ASSERT_EQ(chown(file.c_str(), 12345, 12345), 0);
    expect_memory("it belongs to another user");
    EXPECT_EQ(read_bytes(file), before);
}

TEST_F(Fallback, WhenTheFileIsSomethingElse) {
    use_files();
    const Bytes text(9000, 'x');
    write_bytes(path("FILE.kbuf"), text);
    expect_memory("it is not a trace file of this buffer");
    EXPECT_EQ(read_bytes(path("FILE.kbuf")), text);
    write_bytes(path("FILE.kbuf"), {'x'});
    expect_memory("it is not a trace file of this buffer");
}

TEST_F(Fallback, WhenTheFileIsAnotherBuffers) {
    const std::string file = file_with(1);
    ASSERT_EQ(rename(file.c_str(), path("OTHER.kbuf").c_str()), 0);
    expect_memory("it is not a trace file of this buffer", "OTHER");
    EXPECT_EQ(of_file(path("OTHER.kbuf"))->record_count, 1u);
}

TEST_F(Fallback, WhenTheFileIsOfAnotherKindOfMachine) {
    using trace_kbuf::Description;
    const std::string file = file_with(1);
    const Bytes good = read_bytes(file);
    Bytes other_order = good;
    set_word(other_order, offsetof(Description, byte_order), 0x04030201);
    Bytes other_words = good;
    set_word(other_words, offsetof(Description, word_bits), 16);
    set_word(other_words, offsetof(Description, checksum), trace_kbuf::description_checksum(other_words.data()));
    for (const Bytes &bytes : {other_order, other_words}) {
        write_bytes(file, bytes);
        expect_memory("it was written on another kind of machine; remove it or choose another TRACE_KBUF_DIR");
        EXPECT_EQ(read_bytes(file), bytes);
    }
}

TEST_F(Fallback, WhenTheFileStaysLocked) {
    const std::string file = file_with(1);
    const int holder = ::open(file.c_str(), O_RDWR);
    ASSERT_EQ(flock(holder, LOCK_EX), 0);
    expect_memory("another process keeps it locked");
    close(holder);
}

TEST_F(Fallback, WhenTheFileMayNotGrowSoLarge) {
    use_files();
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit little{4096, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &little), 0);
    expect_memory("File too large");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_FALSE(std::filesystem::exists(path("FILE.kbuf")));
}

TEST_F(Fallback, WhenTheDiskIsFull) {
    // A disk of one page, in a view of the file system that ends with the child.
    use_files();
    const auto mount_disk = [&] {
        return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=4k") == 0;
    };
    if (run_child([&] { return mount_disk() ? 0 : 1; }).status != 0) {
        GTEST_SKIP() << "needs the right to mount, and a root that is a mount point";
    }
    const Child child = run_child([&] {
        if (!mount_disk()) {
            return 2;
        }
        uint32_t descriptor = 0;
        trace_kbuf_init_buffer(&descriptor, "FILE", 65536);
        for (uint32_t i = 0; i < 2000; ++i) {
            write_numbered(descriptor, i);
        }
        if (std::filesystem::exists(path("FILE.kbuf"))) {
            return 3;
        }
        return live("FILE")->record_count == 1024 ? 0 : 4;
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_NE(child.stderr_.find("FILE.kbuf: No space left on device; recording in memory instead"), std::string::npos)
        << child.stderr_;
}

} // namespace
