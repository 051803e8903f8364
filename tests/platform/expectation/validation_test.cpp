// SPDX-License-Identifier: Apache-2.0
// libksl with libkslcfg_file.so, and with the example of a compiled configuration library: which chips are as
// expected.
#include "expectation.h"
#include "files.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>

namespace {

// Keeps the library loaded, so that each validation need not load it again.
class KeptOpen {
public:
    KeptOpen() : handle(dlopen(CONFIGURATION_LIBRARY, RTLD_NOW | RTLD_GLOBAL)) { EXPECT_NE(handle, nullptr); }
    KeptOpen(const KeptOpen &) = delete;
    KeptOpen &operator=(const KeptOpen &) = delete;
    ~KeptOpen() { dlclose(handle); }

private:
    void *handle;
};

bool loaded(const char *path) {
    void *const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

class CfgFileValidation : public cfg_test::FileTest {
protected:
    // The lower library is found by its name as long as it is open under its path.
    CfgFileValidation() {
        void *const chip = dlopen(CHIP_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(chip, nullptr) << dlerror();
        ksl_init();
        dlclose(chip);
        pvids = static_cast<uint8_t(*)[2]>(
            static_cast<void *>(static_cast<uint8_t *>(dlsym(ksl_hwa_handle, "chip_pages")) + 0x34 * 256 + 0x10));
        vlans = static_cast<uint8_t(*)[8]>(dlsym(ksl_hwa_handle, "chip_vlans"));
    }
    ~CfgFileValidation() override {
        // It is still open once for each validation that compared nothing.
        for (int times = 0; times < 100 && loaded(CONFIGURATION_LIBRARY); ++times) {
            void *const handle = dlopen(CONFIGURATION_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
            dlclose(handle);
            dlclose(handle);
        }
        EXPECT_FALSE(loaded(CONFIGURATION_LIBRARY));
        ksl_cfg_handle = nullptr;
        ksl_terminate();
    }

    void set_pvid(unsigned port, unsigned vid, unsigned priority) {
        EXPECT_EQ(ksl_set_PVID(0, vid, priority, port), 0);
    }

    void set_vlan(unsigned vid, uint64_t entry) {
        for (unsigned i = 0; i < 8; ++i) {
            vlans[vid][i] = static_cast<uint8_t>(entry >> (56 - 8 * i));
        }
    }

    // Sets the PVIDs of the chip, and the entries of these VLANs.
    kslcfg::Expectation present(std::initializer_list<uint16_t> vids) {
        kslcfg::Expectation expectation;
        ksl_word words[KSL_PORTS];
        EXPECT_EQ(ksl_read_VLAN_PVID_regs(0, words), 0);
        for (unsigned port = 0; port < KSL_PORTS; ++port) {
            expectation.pvids[port] = kslcfg::pvid_from(&words[port]);
        }
        for (const uint16_t vid : vids) {
            uint8_t bytes[8];
            EXPECT_EQ(ksl_read_VLAN_map(0, vid, bytes), 0);
            expectation.vlans.push_back(kslcfg::vlan_entry_from(vid, bytes));
        }
        return expectation;
    }

    // The verdict on what could be read; -1 for anything else.
    int pvids_verdict(const char *path = CONFIGURATION_LIBRARY) {
        uint32_t verdict = 5;
        return ksl_validate_VLAN_PVID_set(0, path, &verdict) == 0 ? static_cast<int>(verdict) : -1;
    }
    int vlan_verdict(unsigned vid, const char *path = CONFIGURATION_LIBRARY) {
        uint32_t verdict = 5;
        return ksl_validate_VLAN_map(0, vid, path, &verdict) == 0 ? static_cast<int>(verdict) : -1;
    }

    void set_varied_pvids() {
        for (unsigned port = 0; port < KSL_PORTS; ++port) {
            set_pvid(port, 0x0A5 ^ port * 151, port);
        }
    }

    uint8_t (*pvids)[2];
    uint8_t (*vlans)[8];
};

constexpr uint64_t kValid = uint64_t{1} << 59;
constexpr uint64_t kEntry = kValid | 0x00155A5C3A5A5A5;

TEST_F(CfgFileValidation, FindsTheSavedChipAsExpected) {
    set_varied_pvids();
    set_vlan(1, kEntry);
    set_vlan(300, kEntry ^ 0x1111);
    set_vlan(4094, kEntry ^ 0x8000000);
    write(kslcfg::to_json(present({300, 1, 4094})));
    EXPECT_EQ(pvids_verdict(), 1);
    for (const unsigned vid : {1u, 300u, 4094u}) {
        EXPECT_EQ(vlan_verdict(vid), 1) << vid;
    }
    EXPECT_FALSE(loaded(CONFIGURATION_LIBRARY));
    EXPECT_EQ(ksl_cfg_handle, nullptr);
}

TEST_F(CfgFileValidation, SeesEveryBitOfEveryPvidButOne) {
    const KeptOpen kept_open;
    set_varied_pvids();
    write(kslcfg::to_json(present({})));
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        for (unsigned bit = 0; bit < 16; ++bit) {
            uint8_t &byte = pvids[port][1 - bit / 8];
            byte = static_cast<uint8_t>(byte ^ 1 << bit % 8);
            EXPECT_EQ(pvids_verdict(), bit == 12 ? 1 : 0) << port << " " << bit;
            byte = static_cast<uint8_t>(byte ^ 1 << bit % 8);
        }
    }
    EXPECT_EQ(pvids_verdict(), 1);
}

TEST_F(CfgFileValidation, SeesEveryComparedBitOfAnEntry) {
    const KeptOpen kept_open;
    set_vlan(77, kEntry);
    write(kslcfg::to_json(present({77})));
    for (unsigned bit = 0; bit < 64; ++bit) {
        set_vlan(77, kEntry ^ uint64_t{1} << bit);
        const bool compared = bit < 54 || bit == 59;
        EXPECT_EQ(vlan_verdict(77), compared ? 0 : 1) << bit;
    }
}

// Neither its neighbour's entry, nor the first, nor the last, nor one that is not valid on the chip either.
TEST_F(CfgFileValidation, NeverConfirmsAVlanThatIsNotStated) {
    for (unsigned vid = 0; vid < 4096; ++vid) {
        set_vlan(vid, kEntry);
    }
    set_vlan(20, 0);
    write(kslcfg::to_json(present({10, 11, 4000})));
    for (const unsigned vid : {10u, 11u, 4000u}) {
        EXPECT_EQ(vlan_verdict(vid), 1) << vid;
    }
    for (const unsigned vid : {1u, 9u, 12u, 20u, 3999u, 4001u, 4094u}) {
        EXPECT_EQ(vlan_verdict(vid), 0) << vid;
    }
}

TEST_F(CfgFileValidation, NeverConfirmsAnEntryThatIsStatedAsNotValid) {
    set_vlan(5, kEntry ^ kValid);
    kslcfg::Expectation expectation = present({5});
    EXPECT_FALSE(expectation.vlans[0].valid);
    write(kslcfg::to_json(expectation));
    EXPECT_EQ(vlan_verdict(5), 0);
    set_vlan(5, kEntry);
    EXPECT_EQ(vlan_verdict(5), 0);
}

TEST_F(CfgFileValidation, IsNotMisledByTheOrderOfRowsAndSections) {
    set_vlan(10, kValid | 1);
    set_vlan(11, kValid | 2);
    write(R"({
        "registers": [{"page": "0x08", "offset": "0x40", "bytes": "0800000000000007"}],
        "vlans": [{"vid": 11, "upper": [], "lower": [1]}, {"vid": 10, "upper": [], "lower": [0]}],
        "pvids": [{"ports": ["0-23"], "vid": 1}]
    })");
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        set_pvid(port, 1, 0);
    }
    EXPECT_EQ(vlan_verdict(10), 1);
    EXPECT_EQ(vlan_verdict(11), 1);
    EXPECT_EQ(pvids_verdict(), 1);
}

struct Unusable {
    const char *name;
    const char *text;
};

// The chip agrees with each file if its mistake is overlooked: PVIDs 0, VLAN 10 without a port.
constexpr Unusable kUnusable[] = {
    {"empty", ""},
    {"no JSON", "{\"pvids\": [{\"ports\": [\"0-23\"], \"vid\": 0}], \"vlans\": [{\"vid\": 10, \"upper\": []"},
    {"no PVIDs", "{\"vlans\": [{\"vid\": 10, \"upper\": [], \"lower\": []}]}"},
    {"a port missing", "{\"pvids\": [{\"ports\": [\"0-22\"], \"vid\": 0}], "
                       "\"vlans\": [{\"vid\": 10, \"upper\": [], \"lower\": []}]}"},
    {"unknown key", "{\"pvids\": [{\"ports\": [\"0-23\"], \"vid\": 0}], "
                    "\"vlans\": [{\"vid\": 10, \"upper\": [], \"lower\": []}], \"ports\": []}"},
    {"bad value", "{\"pvids\": [{\"ports\": [\"0-23\"], \"vid\": 4096}], "
                  "\"vlans\": [{\"vid\": 10, \"upper\": [], \"lower\": []}]}"},
    {"port twice", "{\"pvids\": [{\"ports\": [\"0-23\"], \"vid\": 0}, {\"ports\": [3], \"vid\": 0}], "
                   "\"vlans\": [{\"vid\": 10, \"upper\": [], \"lower\": []}]}"},
    {"VLAN twice", "{\"pvids\": [{\"ports\": [\"0-23\"], \"vid\": 0}], \"vlans\": ["
                   "{\"vid\": 10, \"upper\": [], \"lower\": []}, {\"vid\": 10, \"upper\": [1], \"lower\": []}]}"},
};

TEST_F(CfgFileValidation, NeverConfirmsAnythingForAFileThatCannotBeUsed) {
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        set_pvid(port, 0, 0);
    }
    set_vlan(10, kValid);
    const auto lines_of_two_validations = [this] {
        const std::string said = cfg_test::said_by([this] {
            EXPECT_EQ(pvids_verdict(), 0);
            EXPECT_EQ(vlan_verdict(10), 0);
        });
        return std::count(said.begin(), said.end(), '\n');
    };
    EXPECT_EQ(lines_of_two_validations(), 2) << "no file";
    for (const Unusable &unusable : kUnusable) {
        write(unusable.text);
        EXPECT_EQ(lines_of_two_validations(), 2) << unusable.name;
    }
    EXPECT_TRUE(loaded(CONFIGURATION_LIBRARY));

    // In the same process, with the library still loaded, the repaired file is used.
    write(kslcfg::to_json(present({10})));
    EXPECT_EQ(pvids_verdict(), 1);
    EXPECT_EQ(vlan_verdict(10), 1);
}

TEST_F(CfgFileValidation, AcceptsTheCompiledInExample) {
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        set_pvid(port, port < 12 ? 1 : port < 18 ? 100 : 300, port < 12 ? 0 : port < 18 ? 5 : 7);
    }
    set_vlan(1, kValid | uint64_t{0x4FC0001} << 27 | 0x0FC0000); // as the last entry that is stated
    set_vlan(100, kValid | uint64_t{0x003F000} << 27 | 0x103F000);
    set_vlan(300, kValid | uint64_t{0x4FC0001} << 27 | 0x0FC0000);
    EXPECT_EQ(pvids_verdict(EXAMPLE_LIBRARY), 1);
    EXPECT_EQ(vlan_verdict(100, EXAMPLE_LIBRARY), 1);
    EXPECT_EQ(vlan_verdict(300, EXAMPLE_LIBRARY), 1);
    EXPECT_FALSE(loaded(EXAMPLE_LIBRARY));
    EXPECT_EQ(vlan_verdict(1, EXAMPLE_LIBRARY), 0);

    // A file that states the same has the same result.
    write(R"({"pvids": [{"ports": ["0-11"], "vid": 1}, {"ports": ["12-17"], "vid": 100, "priority": 5},
                        {"ports": ["18-23"], "vid": 300, "priority": 7}],
              "vlans": [{"vid": 100, "upper": "0x003F000", "lower": "0x103F000"},
                        {"vid": 300, "upper": "0x4FC0001", "lower": "0x0FC0000"}]})");
    EXPECT_EQ(pvids_verdict(), 1);
    EXPECT_EQ(vlan_verdict(100), 1);
    EXPECT_EQ(vlan_verdict(300), 1);
    EXPECT_EQ(vlan_verdict(1), 0);

    set_pvid(17, 100, 4);
    set_vlan(300, kValid | uint64_t{0x4FC0001} << 27 | 0x0FC0001);
    EXPECT_EQ(pvids_verdict(EXAMPLE_LIBRARY), 0);
    EXPECT_EQ(vlan_verdict(300, EXAMPLE_LIBRARY), 0);
}

} // namespace
