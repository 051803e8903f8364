// SPDX-License-Identifier: Apache-2.0
// What TRACE_KBUF_DIR and TRACE_KBUF_SIZE may say.
#include "fresh_library.h"

#include <sys/prctl.h>
#include <sys/stat.h>

using namespace trace_files;

namespace {

class Settings : public TraceTest {
protected:
    // The size of a new buffer whose caller asks for `wanted`, in memory unless use_files() says otherwise.
    uint32_t size_for(uint32_t wanted) {
        uint32_t descriptor = 0;
        EXPECT_EQ(trace_kbuf_init_buffer(&descriptor, "SIZE", wanted), 0);
        const uint32_t size = live("SIZE")->size;
        EXPECT_EQ(trace_kbuf_free(&descriptor), 0);
        std::filesystem::remove(path("SIZE.kbuf"));
        return size;
    }

    // Where a buffer's file goes, below the test's folder.
    void expect_file(const std::string &folder, const std::string &where) {
        setenv("TRACE_KBUF_DIR", path(folder).c_str(), 1);
        uint32_t descriptor = open("A");
        write_numbered(descriptor, 1);
        EXPECT_EQ(trace_kbuf_free(&descriptor), 0);
        EXPECT_EQ(of_file(path(where + "/A.kbuf"))->record_count, 1u) << folder;
        std::filesystem::remove(path(where + "/A.kbuf"));
    }

    static std::string program() {
        std::ifstream file("/proc/self/comm");
        std::string name;
        std::getline(file, name);
        return name;
    }
};

TEST_F(Settings, AFileHasRoomForAHistory) {
    EXPECT_EQ(size_for(32768), 32768u) << "memory is what the caller asks for";
    use_files();
    EXPECT_EQ(size_for(32768), 1u << 20);
    EXPECT_EQ(size_for((1 << 20) + 1), 1u << 21);
}

TEST_F(Settings, TheSizeIsWhatTheEnvironmentSays) {
    const struct {
        const char *text;
        uint32_t size;
    } sizes[] = {{"128", 128},    {"129", 256},     {"4096", 4096},        {"4K", 4096},     {"100K", 1 << 17},
                 {"1M", 1 << 20}, {"16M", 1 << 24}, {"16777216", 1 << 24}, {"0004096", 4096}};
    for (const bool in_file : {false, true}) {
        if (in_file) {
            use_files();
        }
        for (const auto &size : sizes) {
            setenv("TRACE_KBUF_SIZE", size.text, 1);
            EXPECT_EQ(size_for(32768), size.size) << size.text;
        }
        setenv("TRACE_KBUF_SIZE", "", 1);
        EXPECT_EQ(size_for(32768), in_file ? 1u << 20 : 32768u);
    }
}

TEST_F(Settings, ASizeThatIsNoneIsSaidOnce) {
    for (const char *text : {"127", "0", "16777217", "17M", "16385K", "99999999999999999999", "1G", "1MB", "4k",
                             " 4096", "-1", "+4096", "0x1000", "4096 ", "much"}) {
        setenv("TRACE_KBUF_SIZE", text, 1);
        const Child child = run_child([] {
            const FreshLibrary library;
            for (const char *name : {"A", "B"}) {
                const uint32_t descriptor = library.open(name, 4096);
                if (library.write(descriptor, 1) != 0 || library.live(name)->size != 4096) {
                    return 1;
                }
            }
            return 0;
        });
        EXPECT_EQ(child.status, 0) << text;
        EXPECT_EQ(child.stderr_, std::string("trace_kbuf: TRACE_KBUF_SIZE is \"") + text +
                                     "\"; give a number of bytes from 128 to 16777216, such as 1048576, 1024K or 1M; "
                                     "going on as if it were not set\n");
    }
}

TEST_F(Settings, MissingFoldersAreMadeForTheUserAlone) {
    const mode_t before = umask(0);
    expect_file("a/b//c/", "a/b/c");
    umask(before);
    for (const char *folder : {"a", "a/b", "a/b/c"}) {
        struct stat status {};
        ASSERT_EQ(stat(path(folder).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0700u) << folder;
    }
}

TEST_F(Settings, AFolderMayBeNamedAfterProgramAndProcess) {
    const std::string pid = std::to_string(getpid());
    expect_file("%e", program());
    expect_file("x-%p", "x-" + pid);
    expect_file("%e/%p", program() + "/" + pid);
    expect_file("%%e%%%p", "%e%" + pid);
    expect_file("a%zb%", "ab"); // dropped, as by the kernel
}

TEST_F(Settings, AProgramsNameStaysOneFolder) {
    const std::string before = program();
    for (const auto &[name, folder] : {std::pair{"../../up", "..!..!up"}, {"..", "!."}, {".", "!"}, {"a b", "a b"}}) {
        prctl(PR_SET_NAME, name);
        expect_file("%e", folder);
    }
    prctl(PR_SET_NAME, before.c_str());
}

TEST_F(Settings, EachProcessHasAFolderOfItsOwn) {
    setenv("TRACE_KBUF_DIR", path("%p").c_str(), 1);
    for (int i = 0; i < 3; ++i) {
        const Child child = run_child([this] {
            uint32_t descriptor = open("A");
            return write_numbered(descriptor, 1);
        });
        EXPECT_EQ(child.status, 0);
    }
    std::vector<std::filesystem::path> folders;
    for (const auto &entry : std::filesystem::directory_iterator(folder_)) {
        EXPECT_EQ(of_file(entry.path().string() + "/A.kbuf")->record_count, 1u);
        folders.push_back(entry.path());
    }
    EXPECT_EQ(folders.size(), 3u);
}

} // namespace
