// SPDX-License-Identifier: Apache-2.0
// The shipped library under the real loader. Each test runs in a process of its own, in which no lower library is to
// be found until the test brings one.
#include "frame/trace.h"

#include <gtest/gtest.h>
#include <ksl/ksl.h>
#include <trace_kbuf_reader.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr char kFirst[] = "libhwa.so";
constexpr char kSecond[] = "libqrthwa.gen1.so";

bool loaded(const char *name) {
    void *const handle = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

bool in_global_scope(const char *symbol) {
    return dlsym(RTLD_DEFAULT, symbol) != nullptr;
}

// While it lives, the loader finds the library by its name.
class Present {
public:
    explicit Present(const std::string &name)
        : handle(dlopen((LOWER_LIBRARIES "/" + name).c_str(), RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(handle, nullptr) << dlerror();
    }
    ~Present() { dlclose(handle); }
    Present(const Present &) = delete;
    Present &operator=(const Present &) = delete;

private:
    void *handle;
};

std::vector<uint32_t> traced_points() {
    const std::unique_ptr<trace_kbuf_snapshot, void (*)(trace_kbuf_snapshot *)> snapshot(
        trace_kbuf_snapshot_live("XKSL"), trace_kbuf_snapshot_free);
    EXPECT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
    std::vector<uint32_t> points;
    for (size_t i = 0; i < snapshot->record_count; ++i) {
        points.push_back(snapshot->records[i].identifier);
    }
    return points;
}

int walked;

int walk() {
    walked = 0;
    __KSL_READ_ARL_TABLE(0, [](const uint8_t *) { ++walked; });
    return walked;
}

int32_t read_speed() {
    uint8_t word[4] = {};
    const int32_t result = ksl_read_port_speed_reg(0, word);
    EXPECT_EQ(word[0], result == 0 ? 0x5A : 0x00);
    return result;
}

namespace points = ksl::points;

TEST(Loader, LoadsAndRunsWithoutALowerLibrary) {
    EXPECT_FALSE(loaded(kFirst));
    EXPECT_FALSE(loaded(kSecond));
    EXPECT_FALSE(in_global_scope("hwa_getreg"));
    EXPECT_EQ(read_speed(), -1);
    EXPECT_EQ(walk(), 0);
    ksl_init();
    EXPECT_EQ(ksl_hwa_handle, nullptr);
    EXPECT_EQ(read_speed(), -1);
    EXPECT_EQ(walk(), 0);
    const std::vector<uint32_t> traced = traced_points();
    ASSERT_GE(traced.size(), 2u);
    EXPECT_EQ(traced[0], points::first_lower_library_missing.identifier);
    EXPECT_EQ(traced[1], points::second_lower_library_missing.identifier);
    ksl_terminate();
}

TEST(Loader, OpensTheFirstLibraryForTheWholeProcess) {
    {
        const Present first(kFirst);
        const Present second(kSecond);
        EXPECT_FALSE(in_global_scope("hwa_getreg"));
        ksl_init();
    }
    EXPECT_TRUE(loaded(kFirst));
    EXPECT_FALSE(loaded(kSecond));
    EXPECT_EQ(traced_points(), std::vector<uint32_t>{points::lower_library_bound.identifier});
    EXPECT_EQ(read_speed(), 0);
    ksl_terminate();
    EXPECT_FALSE(loaded(kFirst));
    EXPECT_EQ(read_speed(), -1);
}

TEST(Loader, OpensTheSecondLibraryWhereTheFirstIsAbsent) {
    {
        const Present second(kSecond);
        ksl_init();
    }
    EXPECT_TRUE(loaded(kSecond));
    EXPECT_EQ(traced_points(), (std::vector<uint32_t>{points::first_lower_library_missing.identifier,
                                                      points::lower_library_bound.identifier}));
    EXPECT_EQ(read_speed(), 0);
    ksl_terminate();
    EXPECT_FALSE(loaded(kSecond));
}

// The walk calls hwa_getreg by its name alone, so it runs only where the library was opened for the whole process.
TEST(Loader, BindsTheWalkAtItsFirstUse) {
    EXPECT_EQ(walk(), 0);
    {
        const Present first(kFirst);
        ksl_init();
    }
    EXPECT_EQ(walk(), 2);
    ksl_terminate();
    // What the walk is bound to stays loaded, so that the binding cannot go stale.
    EXPECT_TRUE(loaded(kFirst));
    EXPECT_EQ(walk(), 2);
}

TEST(Loader, TheWalkOutlivesTheLibraryItWasBoundTo) {
    {
        const Present first(kFirst);
        ksl_init();
    }
    EXPECT_EQ(walk(), 2);
    ksl_terminate();
    {
        const Present second(kSecond);
        ksl_init();
    }
    EXPECT_EQ(walk(), 2);
    ksl_terminate();
}

TEST(Loader, OpensTheLibraryAgainAfterTerminate) {
    for (int round = 0; round < 3; ++round) {
        {
            const Present first(kFirst);
            ksl_init();
        }
        EXPECT_EQ(read_speed(), 0);
        ksl_terminate();
        EXPECT_FALSE(loaded(kFirst));
    }
}

size_t open_files() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

// The work areas of all but the last are the only loss.
TEST(Loader, ARepeatedInitOpensNothingAgain) {
    {
        const Present first(kFirst);
        ksl_init();
    }
    const size_t files = open_files();
    std::vector<void *> lost;
    for (int round = 0; round < 3; ++round) {
        lost.push_back(ksl_scratch_buffer);
        ksl_init();
        EXPECT_EQ(open_files(), files);
    }
    ksl_terminate();
    EXPECT_FALSE(loaded(kFirst));
    for (void *block : lost) {
        free(block);
    }
}

} // namespace
