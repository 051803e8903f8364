// SPDX-License-Identifier: Apache-2.0
// A damaged state is said to be damaged, and left as it is.
#include "library.h"
#include "state/state_file.h"

#include <cstddef>
#include <functional>
#include <gmock/gmock.h>
#include <sys/mman.h>

namespace hwa_test {
namespace {

using hwa::HubImage;
using hwa::to_bytes;

// A hub with chips 0 and 5. Chip 5 has two addresses, and ports 0 and 2 with links.
class Damage : public HubTest {
protected:
    Damage() {
        write_file(folder / "hub.json", R"({"name": "small hub", "chips": [{ "chip": 0 },
            { "chip": 5,
              "ports": [{ "port": 0, "link": true }, { "port": 2, "link": true }],
              "addresses": [{ "mac": "02:00:00:00:00:01", "port": 0, "static": true },
                            { "mac": "02:00:00:00:00:02", "port": 2 }] }]})");
        set("HWA_SIM_SCENARIO", folder / "hub.json");
        set("HWA_SIM_CLOCK", "1s");
        alarm(60); // should an access never return
    }
    ~Damage() override { alarm(0); }

    std::string path() const { return folder / "state/hub.state"; }

    void edit(const std::function<void(HubImage &)> &change) const {
        const int file = open(path().c_str(), O_RDWR | O_CLOEXEC);
        void *const memory = mmap(nullptr, sizeof(HubImage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        ASSERT_NE(memory, MAP_FAILED);
        change(*static_cast<HubImage *>(memory));
        munmap(memory, sizeof(HubImage));
    }

    // Everything that an access to chip 5 reads of the state is among these.
    static std::vector<int32_t> access(const Library &library) {
        std::array<std::array<uint8_t, 8>, 9000> entries{};
        uint32_t count = entries.size();
        std::array<uint8_t, 8> bytes{0x80};
        return {library.get(5, 1, 0x10, 4, bytes.data()), library.get_macs(5, entries.data(), &count),
                library.set(5, 9, 0, 1, bytes.data()), library.get(5, 0x41, 0x30, 2, bytes.data()), library.reset(5)};
    }

    // What is said of a damage of the state, in one line, when all accesses fail.
    std::string said_of(const std::function<void(HubImage &)> &damage) const {
        std::filesystem::remove_all(folder / "state");
        EXPECT_THAT(access(Library()), testing::Each(0));
        edit(damage);
        const std::string before = contents(path());
        StderrCapture capture;
        {
            const Library library;
            EXPECT_THAT(access(library), testing::Each(105));
            EXPECT_TRUE(contents(path()) == before) << "the damaged state was changed";
            std::filesystem::remove(path());
            EXPECT_THAT(access(library), testing::Each(0));
        }
        return capture.text();
    }

    std::string damaged(const std::string &part) const {
        return "simulated hub: unusable: the state " + path() + " is damaged (" + part +
               "); delete it, and the hub starts anew\n";
    }
};

uint32_t position_of(const HubImage &hub, const uint8_t &byte) {
    return static_cast<uint32_t>(&byte - reinterpret_cast<const uint8_t *>(&hub));
}

TEST_F(Damage, OfTheNotesOfAChange) {
    const auto said_of_note_at = [this](uint32_t position) {
        return said_of([&](HubImage &hub) {
            hub.notes[0] = {to_bytes<4>(position), 7};
            hub.notes[1] = {to_bytes<4>(position_of(hub, hub.chips[0].pages[9][9])), 7};
            hub.note_count = 2;
        });
    };
    const std::string sentence = damaged("the notes of a change");
    EXPECT_EQ(said_of_note_at(offsetof(HubImage, note_count)), sentence);
    EXPECT_EQ(said_of_note_at(0), sentence);
    EXPECT_EQ(said_of_note_at(offsetof(HubImage, chips) - 1), sentence);
    EXPECT_EQ(said_of_note_at(offsetof(HubImage, chips) + 2 * sizeof(hwa::ChipImage)), sentence);
    EXPECT_EQ(said_of_note_at(0xFFFFFFFF), sentence);
}

TEST_F(Damage, OfTheMarkOfAReset) {
    EXPECT_EQ(said_of([](HubImage &hub) { hub.resetting = 3; }), damaged("the mark of a reset"));
}

TEST_F(Damage, OfTheFirstBytes) {
    EXPECT_EQ(said_of([](HubImage &hub) { hub.magic[3] = 'x'; }), damaged("its first bytes"));
}

TEST_F(Damage, OfAChip) {
    const struct {
        const char *part;
        void (*damage)(hwa::ChipImage &);
    } rows[] = {
        {"what the scenario says of it", [](auto &chip) { chip.present = 0; }},
        {"what the scenario says of it", [](auto &chip) { chip.number = 6; }},
        {"what the scenario says of it", [](auto &chip) { chip.firmware[8] = 1; }},
        {"what the scenario says of it", [](auto &chip) { chip.seed[0] = 1; }},
        {"what the scenario says of it", [](auto &chip) { chip.rates[23][21][0] = 1; }},
        {"the addresses",
         [](auto &chip) {
             chip.address_count = {0xFF, 0xFF};
         }},
        {"the addresses",
         [](auto &chip) {
             chip.address_count = {0, 3};
         }},
        {"the addresses", [](auto &chip) { chip.addresses[1].raw[1] = 31; }},
        {"the addresses", [](auto &chip) { chip.addresses[1].silent = 1; }},
        {"the mode", [](auto &chip) { chip.managed = 2; }},
        {"the mode", [](auto &chip) { chip.forwarding = 2; }},
        {"the mode", [](auto &chip) { chip.was_reset = 2; }},
        {"a port", [](auto &chip) { chip.ports[23].partner = 2; }},
        {"a port", [](auto &chip) { chip.ports[23].link_changed = 0x80; }},
        {"a port", [](auto &chip) { chip.ports[0].since[0] = 1; }},
        {"a port", [](auto &chip) { chip.ports[0].active[7] = 1; }},
        {"a port", [](auto &chip) { chip.pages[0x17][0] |= 0x80; }},
        {"the walk of the address table", [](auto &chip) { chip.table_access.mode = 3; }},
        {"the walk of the address table", [](auto &chip) { chip.table_access.looks = 5; }},
        {"the walk of the address table",
         [](auto &chip) {
             chip.table_access.scan.index = {0, 3};
         }},
        {"the walk of the address table",
         [](auto &chip) {
             chip.table_access.scan.learned[23] = {0, 1};
         }},
        {"the walk of the address table", [](auto &chip) { chip.table_access.result.raw[1] = 31; }},
        {"the VLAN table", [](auto &chip) { chip.vlan.command[0] = 0x80; }},
        {"the VLAN table",
         [](auto &chip) {
             chip.vlan.address = {0, 0x2F, 0xFE};
             chip.vlan.entries[4094][0] = 0x10;
         }},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(said_of([&](HubImage &hub) { row.damage(hub.chips[1]); }),
                  damaged(std::string("chip 5: ") + row.part));
    }
}

TEST_F(Damage, OfOneChipLeavesTheOthersUsable) {
    StderrCapture capture; // a library knows stderr as it was when it was loaded
    const Library library;
    EXPECT_EQ(library.get(0, 0, 1), Bytes{3});
    edit([](HubImage &hub) { hub.chips[1].managed = 2; });
    EXPECT_EQ(library.get(0, 0, 1), Bytes{3});
    EXPECT_EQ(library.get(0, 0, 1, 5), Bytes());
    EXPECT_EQ(capture.text(), damaged("chip 5: the mode"));
}

TEST_F(Damage, IsNotWhatTheEndOfTimeLooksLike) {
    set("HWA_SIM_CLOCK", "4294967295s");
    const Library library;
    for (int i = 0; i < 4400; ++i) { // the time has 64 bits of microseconds
        // The link of port 2 goes and comes.
        ASSERT_EQ(library.set(0x12, 0, {static_cast<uint8_t>(i % 2 == 0 ? 0x08 : 0x31), 0}, 5), 0) << i;
    }
    EXPECT_EQ(library.get(1, 0x10, 4, 5), (Bytes{0, 0, 0, 5}));
}

} // namespace
} // namespace hwa_test
