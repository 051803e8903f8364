// SPDX-License-Identifier: Apache-2.0
#include "json/file.h"

#include "support.h"
#include "json/node.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace json {
namespace {

class JsonFile : public testing::Test {
protected:
    JsonFile() {
        folder = testing::TempDir() + "/json-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) {
            std::abort();
        }
        file = folder + "/file.json";
    }
    ~JsonFile() override { std::filesystem::remove_all(folder); }

    void write(const std::string &text) { std::ofstream(file, std::ios::binary) << text; }

    static std::string problem_with(const std::string &path, Files files) {
        return json_test::problem_of([&] { read_file(path, files, parse); });
    }

    std::string folder;
    std::string file;
};

TEST_F(JsonFile, IsRead) {
    write("[1]");
    EXPECT_EQ(std::get<List>(read_file(file, Files::regular, parse).content).size(), 1U);
    EXPECT_EQ(text_of_file(file, Files::any), "[1]");
}

TEST_F(JsonFile, IsNamedInFrontOfWhatIsWrong) {
    write("[1,\n ]");
    EXPECT_EQ(problem_with(file, Files::any).substr(0, file.size() + 20), file + ", line 2, column 2: ");
    EXPECT_EQ(problem_with(folder + "/none", Files::any), folder + "/none cannot be read: No such file or directory");
    EXPECT_EQ(problem_with(file + "/x", Files::regular), file + "/x cannot be read: Not a directory");
    EXPECT_EQ(problem_with(folder, Files::any), folder + " cannot be read: Is a directory");
    EXPECT_EQ(problem_with(folder, Files::regular), folder + " is not a regular file");
}

TEST_F(JsonFile, MayBeAPipeUnlessItHasToBeRegular) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(problem_with(file, Files::regular), file + " is not a regular file");
    std::thread writer([this] { write("[1, 2]"); });
    EXPECT_EQ(text_of_file(file, Files::any), "[1, 2]");
    writer.join();
}

TEST_F(JsonFile, IsNotAPipeIntoWhichNobodyWrites) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    alarm(60); // should it wait for ever
    EXPECT_EQ(json_test::problem_of([&] { text_of_file(file, Files::any, std::chrono::milliseconds(10)); }),
              file + " is a pipe into which nobody writes; name a file, or write into it at once");
    alarm(0);
}

TEST_F(JsonFile, MayBeAPipeWhoseWriterComesLateAndIsSlow) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    std::thread writer([this] {
        const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(50)); };
        pause();
        std::ofstream pipe(file, std::ios::binary);
        for (const char *part : {"[1", ", 2", "]"}) {
            pause();
            pipe << part << std::flush;
        }
    });
    EXPECT_EQ(text_of_file(file, Files::any, std::chrono::minutes(1)), "[1, 2]");
    writer.join();
}

TEST_F(JsonFile, MayBeAnEmptyPipe) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    std::thread writer([this] { write(""); });
    EXPECT_EQ(text_of_file(file, Files::any, std::chrono::minutes(1)), "");
    writer.join();
}

TEST_F(JsonFile, HasFourMebibytesAtMost) {
    write("5" + std::string(kLongestText - 1, '\n'));
    EXPECT_EQ(problem_with(file, Files::regular), "no problem");
    write("5" + std::string(kLongestText, '\n'));
    EXPECT_EQ(problem_with(file, Files::regular), file + " is longer than 4 MiB, the most that is read");
    EXPECT_EQ(problem_with("/dev/zero", Files::any), "/dev/zero is longer than 4 MiB, the most that is read");
}

TEST_F(JsonFile, IsClosedAgain) {
    const auto next_free = [] {
        const int number = dup(STDERR_FILENO);
        close(number);
        return number;
    };
    const int before = next_free();
    write("{}");
    EXPECT_EQ(problem_with(file, Files::any), "no problem");
    EXPECT_NE(problem_with(folder, Files::any), "no problem");
    EXPECT_NE(problem_with(folder, Files::regular), "no problem");
    EXPECT_EQ(next_free(), before);
}

} // namespace
} // namespace json
