// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/sources.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using namespace ksltrace;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

std::string folder_of(const char *setting) {
    setenv("TRACE_KBUF_DIR", setting, 1);
    return trace_folder();
}

TEST(TraceFolder, EndsBeforeWhatDiffersBetweenPrograms) {
    EXPECT_EQ(folder_of(""), "");
    EXPECT_EQ(folder_of("/var/traces"), "/var/traces");
    EXPECT_EQ(folder_of("/var/traces/%e-%p"), "/var/traces");
    EXPECT_EQ(folder_of("/var/traces/of-%e/%p"), "/var/traces");
    EXPECT_EQ(folder_of("/%p"), "/");
    EXPECT_EQ(folder_of("%e"), ".");
    EXPECT_EQ(folder_of("/var/100%%/%e"), "/var/100%");
    EXPECT_EQ(folder_of("/var/odd%"), "/var");
    unsetenv("TRACE_KBUF_DIR");
    EXPECT_EQ(trace_folder(), "");
}

class SourcesTest : public testing::Test {
protected:
    SourcesTest() {
        char name[] = "/tmp/ksl-sources-XXXXXX";
        folder_ = mkdtemp(name);
        setenv("TRACE_KBUF_DIR", folder_.c_str(), 1);
    }
    ~SourcesTest() override {
        fs::remove_all(folder_);
        unsetenv("TRACE_KBUF_DIR");
    }

    void make(const std::string &path) {
        fs::create_directories(fs::path(folder_ + "/" + path).parent_path());
        std::ofstream(folder_ + "/" + path) << "anything";
    }

    static std::vector<std::string> names_of(const Sources &sources) {
        std::vector<std::string> names;
        for (const SourceFile &file : sources.files) {
            names.push_back(file.name);
        }
        return names;
    }

    std::string folder_;
};

TEST_F(SourcesTest, FilesAreNamedAfterTheirPlace) {
    for (const char *const path :
         {"XKSL.kbuf", "kslctl/XKSL.kbuf", "service/412/XKSL.kbuf", "service/412/Own.kbuf", "kslctl/notes.txt"}) {
        make(path);
    }
    EXPECT_THAT(names_of(sources_of("")), ElementsAre("XKSL", "kslctl", "service/412/Own", "service/412"));
    EXPECT_THAT(names_of(sources_of(folder_ + "/service/412/")), ElementsAre("Own", "XKSL"));
}

TEST_F(SourcesTest, NamesSteerNoTerminal) {
    make("\x1b[2J\u009b\u202e/XKSL.kbuf");
    EXPECT_THAT(names_of(sources_of("")), ElementsAre("?[2J??"));
}

TEST_F(SourcesTest, ABufferInTheFolderItselfGoesBeforeThoseBelow) {
    make("below/XKSL.kbuf");
    Sources sources = sources_of("XKSL");
    ASSERT_EQ(sources.files.size(), 1U);
    EXPECT_EQ(sources.files[0].path, folder_ + "/below/XKSL.kbuf");
    EXPECT_FALSE(sources.is_merged());

    make("another/XKSL.kbuf");
    EXPECT_THAT(names_of(sources_of("XKSL")), ElementsAre("another", "below"));

    make("XKSL.kbuf");
    sources = sources_of("XKSL");
    ASSERT_EQ(sources.files.size(), 1U);
    EXPECT_EQ(sources.files[0].path, folder_ + "/XKSL.kbuf");
}

TEST_F(SourcesTest, PipesAreNotOpened) {
    ASSERT_EQ(mkfifo((folder_ + "/pipe.kbuf").c_str(), 0600), 0);
    const Sources sources = sources_of(folder_);
    EXPECT_THAT(sources.files, IsEmpty());
    EXPECT_THAT(sources.problems, ElementsAre(folder_ + "/pipe.kbuf is not a regular file"));
}

TEST_F(SourcesTest, BuffersHaveTheNamesOfTheirFiles) {
    make("XKSL.kbuf");
    make("kslctl/XKSL.kbuf");
    make("service/a.b-c_1.kbuf");
    make("notes.txt");
    // Other characters of a name are written in another way; nothing else is the name of a buffer.
    make("with%20blank.kbuf");
    make("odd name.kbuf");
    make("-x.kbuf");
    EXPECT_THAT(buffer_names(), ElementsAre("XKSL", "a.b-c_1"));
    setenv("TRACE_KBUF_DIR", (folder_ + "/service/%p").c_str(), 1);
    EXPECT_THAT(buffer_names(), ElementsAre("a.b-c_1"));
    unsetenv("TRACE_KBUF_DIR");
    EXPECT_THAT(buffer_names(), IsEmpty());
}

} // namespace
