// SPDX-License-Identifier: Apache-2.0
// libkslcfg_file.so under the real loader.
#include "expectation.h"
#include "files.h"

#include <cstring>
#include <dlfcn.h>

namespace {

using EntryPoint = decltype(&__ksl_get_cfg);

bool loaded() {
    void *const handle = dlopen(CONFIGURATION_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

// Two of these differ near the end of their lists only.
std::string expecting_vid(unsigned vid) {
    return R"({"pvids": [{"ports": ["0-22"], "vid": 1}, {"ports": [23], "vid": )" + std::to_string(vid) + "}]}\n";
}

// The value in the list of records.
unsigned vid_of_port_23(const ksl_cfg_record *records) {
    return static_cast<unsigned>(records[23].value[0] << 8 | records[23].value[1]);
}

class CfgFileLibrary : public cfg_test::FileTest {
protected:
    CfgFileLibrary() : handle(dlopen(CONFIGURATION_LIBRARY, RTLD_NOW | RTLD_GLOBAL)) {
        EXPECT_NE(handle, nullptr) << dlerror();
    }
    ~CfgFileLibrary() override {
        if (handle != nullptr) {
            dlclose(handle);
        }
        EXPECT_FALSE(loaded());
    }

    // As libksl looks it up.
    EntryPoint look_up() { return reinterpret_cast<EntryPoint>(dlsym(handle, "__ksl_get_cfg")); }

    const ksl_cfg_record *ask() {
        const EntryPoint entry_point = look_up();
        const ksl_cfg_record *records = nullptr;
        EXPECT_NE(entry_point, nullptr);
        EXPECT_EQ(entry_point(&records), 0);
        return records;
    }

    void *handle;
};

TEST_F(CfgFileLibrary, HandsOutTheRecordsOfItsFile) {
    const std::string text = R"({"pvids": [{"ports": [0, "2-23"], "vid": 10, "priority": 2}, {"ports": [1], "vid": 9}],
        "vlans": [{"vid": 10, "upper": [1], "lower": ["0-26"]}, {"vid": 9, "upper": [], "lower": []}],
        "registers": [{"page": 0, "offset": 0, "bytes": "03"}]})";
    write(text);
    const std::vector<ksl_cfg_record> expected = kslcfg::records(kslcfg::parse(text));
    const ksl_cfg_record *records = nullptr;
    EXPECT_EQ(cfg_test::said_by([&] { records = ask(); }), "");
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(std::memcmp(records, expected.data(), expected.size() * sizeof expected.front()), 0);
}

TEST_F(CfgFileLibrary, HasNoEntryPointWithoutAFileAndSaysWhy) {
    const char *const kUnnamed =
        "libkslcfg_file.so: KSL_CFG_FILE must name the JSON file of the expected configuration\n";
    unsetenv("KSL_CFG_FILE");
    EXPECT_EQ(cfg_test::said_by([&] { EXPECT_EQ(look_up(), nullptr); }), kUnnamed);
    setenv("KSL_CFG_FILE", "", 1);
    EXPECT_EQ(cfg_test::said_by([&] { EXPECT_EQ(look_up(), nullptr); }), kUnnamed);
    setenv("KSL_CFG_FILE", file.c_str(), 1);
    EXPECT_EQ(cfg_test::said_by([&] { EXPECT_EQ(look_up(), nullptr); }),
              "libkslcfg_file.so: " + file + " cannot be read: No such file or directory\n");
    setenv("KSL_CFG_FILE", folder.c_str(), 1);
    EXPECT_EQ(cfg_test::said_by([&] { EXPECT_EQ(look_up(), nullptr); }),
              "libkslcfg_file.so: " + folder + " is not a regular file\n");
}

TEST_F(CfgFileLibrary, HasNoEntryPointForAWrongFileAndSaysWhyEachTime) {
    write("{\n\"pvids\": [\n{\"ports\": [\"0-23\"], \"vid\": 5000}]}");
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(cfg_test::said_by([&] { EXPECT_EQ(look_up(), nullptr); }),
                  "libkslcfg_file.so: " + file + ", line 3, column 28: pvids[0].vid must be a number from 0 to 4095\n");
    }
}

TEST_F(CfgFileLibrary, ReadsItsFileAtEachLookUp) {
    write(expecting_vid(7));
    EXPECT_EQ(vid_of_port_23(ask()), 7u);
    write(expecting_vid(8));
    EXPECT_EQ(vid_of_port_23(ask()), 8u);
    write("{}");
    EXPECT_NE(cfg_test::said_by([&] { EXPECT_EQ(look_up(), nullptr); }), "");
    write(expecting_vid(9));
    EXPECT_EQ(vid_of_port_23(ask()), 9u);
}

TEST_F(CfgFileLibrary, KeepsEveryListOnceWhileItIsLoaded) {
    write(expecting_vid(7));
    const ksl_cfg_record *const seven = ask();
    EXPECT_EQ(ask(), seven);
    write(expecting_vid(8));
    const ksl_cfg_record *const eight = ask();
    EXPECT_NE(eight, seven);
    write(expecting_vid(9));
    const ksl_cfg_record *const nine = ask();
    write(expecting_vid(7));
    EXPECT_EQ(ask(), seven);
    write(expecting_vid(8));
    EXPECT_EQ(ask(), eight);
    EXPECT_EQ(ask(), eight);
    EXPECT_EQ(vid_of_port_23(seven), 7u);
    EXPECT_EQ(vid_of_port_23(eight), 8u);
    EXPECT_EQ(vid_of_port_23(nine), 9u);
}

TEST_F(CfgFileLibrary, IsUnloadedWhenItIsClosed) {
    write(expecting_vid(7));
    ask();
    EXPECT_TRUE(loaded());
    dlclose(handle);
    handle = nullptr;
    EXPECT_FALSE(loaded());
}

} // namespace
