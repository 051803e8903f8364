// SPDX-License-Identifier: Apache-2.0
// The one block that the library loses: the work area of a ksl_init() that another one follows. The leak sanitizer
// looks for it, and for any other.
#include <gtest/gtest.h>
#include <ksl/ksl.h>

#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <sanitizer/lsan_interface.h>
#include <string>

namespace {

// While it lives, the loader finds the lower library by its name.
class LowerLibrary {
public:
    LowerLibrary() : handle(dlopen(LOWER_LIBRARIES "/libhwa.so", RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(handle, nullptr) << dlerror();
    }
    ~LowerLibrary() { dlclose(handle); }
    LowerLibrary(const LowerLibrary &) = delete;
    LowerLibrary &operator=(const LowerLibrary &) = delete;

private:
    void *handle;
};

// What the sanitizer finds lost; empty where that is nothing.
std::string lost() {
    testing::internal::CaptureStderr();
    const bool found = __lsan_do_recoverable_leak_check() != 0;
    const std::string report = testing::internal::GetCapturedStderr();
    return found ? report : "";
}

// Operations that succeed, and some that fail.
void work() {
    ksl_enable_time();
    uint8_t bytes[8];
    ksl_read_bist_status_reg(0, bytes);
    ksl_read_bist_status_reg(0, nullptr);
    uint32_t count = 1;
    ksl_arl_entry entry;
    ksl_read_ARL_table(0, 1, &entry, &count);
    __KSL_READ_ARL_TABLE(0, [](const uint8_t *) {});
    uint32_t verdict = 0;
    ksl_validate_VLAN_map(0, 10, "/nowhere.so", &verdict);
    ksl_disable_time();
}

// Remembers the address of a block where the sanitizer does not see it.
class Hidden {
public:
    explicit Hidden(const void *block) : turned(~reinterpret_cast<uintptr_t>(block)) {}
    bool is(const void *block) const { return turned == ~reinterpret_cast<uintptr_t>(block); }
    void give_back() const { free(reinterpret_cast<void *>(~turned)); }

private:
    uintptr_t turned;
};

TEST(WorkArea, IsNotLostByInitAndTerminate) {
    for (int round = 0; round < 3; ++round) {
        const LowerLibrary lower;
        ksl_init();
        work();
        ksl_terminate();
        // It keeps the address of what it has freed.
        ksl_scratch_buffer = nullptr;
        EXPECT_EQ(lost(), "");
    }
}

TEST(WorkArea, OfTheFirstInitIsLostByTheSecondAndNothingElseIs) {
    const LowerLibrary lower;
    ksl_init();
    const Hidden first(ksl_scratch_buffer);
    work();
    ksl_init();
    work();
    EXPECT_FALSE(first.is(ksl_scratch_buffer));
    EXPECT_NE(lost().find("SUMMARY: AddressSanitizer: 131072 byte(s) leaked in 1 allocation(s)"), std::string::npos);
    // Given back here, so that what follows is clean.
    first.give_back();
    EXPECT_EQ(lost(), "");
    ksl_terminate();
    ksl_scratch_buffer = nullptr;
    EXPECT_EQ(lost(), "");
}

} // namespace
