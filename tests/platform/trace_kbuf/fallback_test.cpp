// SPDX-License-Identifier: Apache-2.0
// Where there is no using a file: the program goes on in memory, the library says why once, and what was in the way is
// not touched.
#include "fresh_library.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace trace_files;

namespace {

class Fallback : public TraceTest {
protected:
    void expect_memory(
        const std::string &reason, const char *name = "FILE", const std::function<void()> &when_loaded = [] {}) {
        const char *directory = getenv("TRACE_KBUF_DIR");
        setenv("TRACE_KBUF_SIZE", "4096", 1);
        const Child child = run_child([&] {
            const FreshLibrary library;
            when_loaded();
            for (int i = 0; i < 3; ++i) {
                const uint32_t descriptor = library.open(name, 4096);
                if (library.write(descriptor, 1) != 0 || library.live(name)->record_count != 1 ||
                    library.free(descriptor) != 0) {
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
    write_bytes(path("file"), {1});
    setenv("TRACE_KBUF_DIR", path("file/deeper").c_str(), 1);
    expect_memory("Not a directory");
    setenv("TRACE_KBUF_DIR", "/proc/none/deeper", 1);
    expect_memory("No such file or directory");
}

TEST_F(Fallback, WhenTheFolderIsAFile) {
    write_bytes(path("file"), {1});
    setenv("TRACE_KBUF_DIR", path("file").c_str(), 1);
    expect_memory("Not a directory");
}

TEST_F(Fallback, WhenTheFolderIsNotWritable) {
    setenv("TRACE_KBUF_DIR", "/proc", 1);
    expect_memory(geteuid() == 0 ? "No such file or directory" : "its folder belongs to another user");
    if (geteuid() != 0) {
        use_files();
        chmod(folder_.c_str(), 0500);
        expect_memory("Permission denied");
        chmod(folder_.c_str(), 0700);
    }
}

TEST_F(Fallback, WhenOthersMayWriteIntoTheFolder) {
    use_files();
    for (const mode_t mode : {0777U, 01777U, 0720U, 0702U}) {
        ASSERT_EQ(chmod(folder_.c_str(), mode), 0);
        expect_memory("its folder may be written by other users");
        EXPECT_FALSE(std::filesystem::exists(path("FILE.kbuf")));
    }
}

TEST_F(Fallback, WhenTheFolderBelongsToAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give folders away";
    }
    use_files();
    ASSERT_EQ(chown(folder_.c_str(), 12345, 12345), 0);
    expect_memory("its folder belongs to another user");
}

TEST_F(Fallback, WhenOthersMayWriteIntoTheFile) {
    const std::string file = file_with(1);
    const Bytes before = read_bytes(file);
    for (const mode_t mode : {0666U, 0620U, 0602U}) {
        ASSERT_EQ(chmod(file.c_str(), mode), 0);
        expect_memory("it may be written by other users");
        EXPECT_EQ(read_bytes(file), before);
    }
    ASSERT_EQ(chmod(file.c_str(), 0644), 0); // others may read
    uint32_t descriptor = open("FILE");
    write_numbered(descriptor, 2);
    trace_kbuf_free(&descriptor);
    EXPECT_EQ(of_file(file)->record_count, 2u);
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
    expect_memory("File too large", "FILE", [] {
        const rlimit little{4096, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &little);
    });
    EXPECT_FALSE(std::filesystem::exists(path("FILE.kbuf")));
}

TEST_F(Fallback, WhenTheNameOfTheFolderIsTooLong) {
    setenv("TRACE_KBUF_DIR", std::string(5000, 'x').c_str(), 1);
    const Child child = run_child([] {
        const FreshLibrary library;
        return library.write(library.open("FILE", 4096), 1) == 0 ? 0 : 1;
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_NE(child.stderr_.find("the name of the folder is too long; recording in memory instead\n"),
              std::string::npos)
        << child.stderr_;
}

} // namespace
