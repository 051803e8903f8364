// SPDX-License-Identifier: Apache-2.0
// Validations of the shipped library with real configuration libraries. The loader says which of them stay loaded.
#include <gtest/gtest.h>
#include <ksl/ksl.h>

#include <dlfcn.h>

namespace {

constexpr char kSettings[] = CONFIGURATION_LIBRARIES "/libsettings.so";
constexpr char kSilent[] = CONFIGURATION_LIBRARIES "/libsilent.so";
constexpr char kAbsent[] = CONFIGURATION_LIBRARIES "/libabsent.so";

constexpr uint32_t kLikeTheChip = 10;
constexpr uint32_t kUnlikeTheChip = 11;
constexpr uint32_t kNoVlan = 4095;

bool loaded(const char *path) {
    void *const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

// How often the library was opened and not closed. Closes it completely.
int left_open(const char *path) {
    void *const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    int times = 0;
    if (handle != nullptr) {
        dlclose(handle);
        while (loaded(path) && dlclose(handle) == 0) {
            ++times;
        }
    }
    return times;
}

// Through the program's own handle: a look-up in the default scope would keep the library loaded in which it finds
// something.
bool in_global_scope(const char *symbol) {
    void *const program = dlopen(nullptr, RTLD_NOW);
    const bool found = dlsym(program, symbol) != nullptr;
    dlclose(program);
    return found;
}

class ConfigurationLibrary : public testing::Test {
protected:
    // The loader finds the lower library by its name while it is open under its path.
    ConfigurationLibrary() {
        void *const lower = dlopen(LOWER_LIBRARIES "/libhwa.so", RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(lower, nullptr) << dlerror();
        ksl_init();
        EXPECT_NE(ksl_hwa_handle, nullptr);
        dlclose(lower);
        EXPECT_EQ(ksl_cfg_handle, nullptr);
    }

    ~ConfigurationLibrary() override {
        left_open(kSettings);
        left_open(kSilent);
        ksl_cfg_handle = nullptr;
        ksl_terminate();
    }

    int32_t validate_pvids(const char *path) { return ksl_validate_VLAN_PVID_set(0, path, &verdict); }
    int32_t validate_map(uint32_t vid, const char *path) { return ksl_validate_VLAN_map(0, vid, path, &verdict); }

    uint32_t verdict = 5;
};

TEST_F(ConfigurationLibrary, IsUnloadedAfterAMatch) {
    EXPECT_EQ(validate_pvids(kSettings), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_FALSE(loaded(kSettings));
    EXPECT_EQ(ksl_cfg_handle, nullptr);
    EXPECT_EQ(validate_map(kLikeTheChip, kSettings), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_FALSE(loaded(kSettings));
    EXPECT_EQ(ksl_cfg_handle, nullptr);
}

TEST_F(ConfigurationLibrary, IsUnloadedAfterAMismatch) {
    EXPECT_EQ(validate_map(kUnlikeTheChip, kSettings), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_FALSE(loaded(kSettings));
    EXPECT_EQ(ksl_cfg_handle, nullptr);
}

TEST_F(ConfigurationLibrary, IsNotLoadedIfThereIsNone) {
    for (const char *const path : {static_cast<const char *>(nullptr), kAbsent}) {
        const int32_t result = path == nullptr ? -1 : 0;
        EXPECT_EQ(validate_pvids(path), result);
        EXPECT_EQ(verdict, 0u);
        EXPECT_EQ(validate_map(kLikeTheChip, path), result);
        EXPECT_EQ(verdict, 0u);
        EXPECT_EQ(ksl_cfg_handle, nullptr);
    }
}

TEST_F(ConfigurationLibrary, StaysLoadedWithoutTheEntryPoint) {
    EXPECT_EQ(validate_pvids(kSilent), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_TRUE(loaded(kSilent));
    void *const handle = ksl_cfg_handle;
    EXPECT_NE(handle, nullptr);
    // The next validation opens its own library, closes that one and forgets the other.
    EXPECT_EQ(validate_pvids(kSettings), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_FALSE(loaded(kSettings));
    EXPECT_EQ(ksl_cfg_handle, nullptr);
    EXPECT_EQ(validate_map(kLikeTheChip, kSilent), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(ksl_cfg_handle, handle);
    EXPECT_EQ(left_open(kSilent), 2);
}

TEST_F(ConfigurationLibrary, StaysLoadedForTheWholeProcessAfterAFailedRead) {
    EXPECT_FALSE(in_global_scope("__ksl_get_cfg"));
    EXPECT_EQ(validate_map(kNoVlan, kSettings), -1);
    EXPECT_EQ(verdict, 0u);
    EXPECT_TRUE(loaded(kSettings));
    EXPECT_NE(ksl_cfg_handle, nullptr);
    EXPECT_TRUE(in_global_scope("__ksl_get_cfg"));
    EXPECT_EQ(left_open(kSettings), 1);

    // Without a lower library no register is read.
    ksl_terminate();
    EXPECT_EQ(validate_pvids(kSettings), -1);
    EXPECT_EQ(validate_map(kLikeTheChip, kSettings), -1);
    EXPECT_EQ(verdict, 0u);
    EXPECT_NE(ksl_cfg_handle, nullptr);
    EXPECT_EQ(left_open(kSettings), 2);
    ksl_init();
}

TEST_F(ConfigurationLibrary, IsClosedOnceByTheValidationThatComparedAndNeverByTheEndOfTheLibrary) {
    EXPECT_EQ(validate_map(kNoVlan, kSettings), -1);
    EXPECT_EQ(validate_map(kNoVlan, kSettings), -1);
    EXPECT_EQ(validate_map(kLikeTheChip, kSettings), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_EQ(ksl_cfg_handle, nullptr);
    EXPECT_EQ(validate_map(kNoVlan, kSettings), -1);
    void *const handle = ksl_cfg_handle;
    EXPECT_NE(handle, nullptr);
    ksl_terminate();
    EXPECT_EQ(ksl_cfg_handle, handle);
    EXPECT_EQ(left_open(kSettings), 3);
    ksl_init();
}

} // namespace
