// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"

namespace ksl::test {
namespace {

const Bytes kA{0x08, 0, 0, 0x0A, 0, 0, 0, 0xA0};
const Bytes kB{0x08, 0, 0, 0x0B, 0, 0, 0, 0xB0};
const Bytes kC{0x08, 0, 0, 0x0C, 0, 0, 0, 0xC0};

ksl_cfg_record entry_record(const Bytes &entry) {
    return setting(0x08, 0x38, entry);
}

// An address record as it is written to the register, with bits above the VLAN's number.
ksl_cfg_record address_record(uint32_t vid) {
    return setting(0x08, 0x32, {0x00, static_cast<uint8_t>(0x20 | vid >> 8), static_cast<uint8_t>(vid)});
}

class MapValidation : public Configured {
protected:
    void hardware(const Bytes &entry) { platform.registers[{0x08, 0x38}] = entry; }

    uint32_t verdict_now() {
        EXPECT_EQ(ksl_validate_VLAN_map(0, 10, kConfigurationPath, &verdict), 0);
        EXPECT_TRUE(closed());
        platform.take();
        return verdict;
    }

    // Every record of the point that the last run wrote.
    Calls taken(TracePoint point) {
        Calls some;
        std::copy_if(platform.calls.begin(), platform.calls.end(), std::back_inserter(some),
                     [&](const Call &call) { return call.identifier == point.identifier; });
        return some;
    }
};

TEST_F(MapValidation, ComparesAndTracesBothEntries) {
    const Bytes found{0xF8, 0xC1, 0x02, 0x03, 0xA4, 0x05, 0x06, 0x07};
    const Bytes expected_entry{0x0F, 0x01, 0x02, 0x03, 0xA4, 0x05, 0x06, 0x07};
    hardware(found);
    expect({setting(0x34, 0x10, {1, 2}), entry_record(expected_entry), address_record(0x123)});
    uint32_t when_read = 5;
    uint32_t at_close = 5;
    const void *handle_at_close = nullptr;
    platform.on_call = [&](const std::string &text) {
        if (text == record(points::validate_VLAN_map_found, 1, 0x03, 0x010203, 0x14, 0x4050607).text) {
            when_read = verdict;
        } else if (text == close.text) {
            at_close = verdict;
            handle_at_close = ksl_cfg_handle;
        }
    };
    EXPECT_EQ(ksl_validate_VLAN_map(0x102, 0x123, kConfigurationPath, &verdict), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_EQ(when_read, 0u);
    EXPECT_EQ(at_close, 1u);
    EXPECT_EQ(handle_at_close, kConfigurationHandle);
    EXPECT_EQ(ksl_cfg_handle, nullptr);

    const Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 22u) << calls;
    const uint32_t buffer = slots(calls[14])[0];
    EXPECT_EQ(calls, (Calls{
                         stamp_start(),
                         record(points::validate_VLAN_map_entry, 0x123, address(kConfigurationPath)),
                         open,
                         record(points::configuration_opened),
                         look_up,
                         record(points::validate_VLAN_map_asking),
                         ask,
                         record(points::validate_VLAN_map_vid_found, 0x123),
                         record(points::validate_VLAN_map_expected, 1, 0x1C, 0x010203, 0x14, 0x4050607),
                         stamp_start(),
                         record(points::read_VLAN_map_entry, 0x102, 0x123),
                         setreg(2, 0x08, 0x32, {0x00, 0x21, 0x23}),
                         setreg(2, 0x08, 0x30, {0x81, 0x00, 0x00}),
                         getreg(2, 0x08, 0x38, 8),
                         record(points::read_VLAN_map_buffer, buffer, buffer + 3),
                         record(points::read_VLAN_map_fields, 1, 0x03, 0x010203, 0x14, 0x4050607),
                         record(points::read_VLAN_map_exit, 0),
                         stamp_end(),
                         record(points::validate_VLAN_map_found, 1, 0x03, 0x010203, 0x14, 0x4050607),
                         close,
                         record(points::validate_VLAN_map_exit, 1, 0),
                         stamp_end(),
                     }));
}

TEST_F(MapValidation, AMismatchClosesTheLibraryToo) {
    hardware(kA);
    expect({entry_record(kB), address_record(10)});
    EXPECT_EQ(ksl_validate_VLAN_map(0, 10, kConfigurationPath, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_TRUE(closed());
    const Calls calls = platform.take();
    EXPECT_EQ(Calls(calls.end() - 4, calls.end()), (Calls{
                                                       record(points::validate_VLAN_map_found, 1, 0, 0x0A, 0, 0xA0),
                                                       close,
                                                       record(points::validate_VLAN_map_exit, 0, 0),
                                                       stamp_end(),
                                                   }));
}

// Each of the 64 bits differs once, on either side.
TEST_F(MapValidation, ComparesTheValidBitAndThePortMapsOnly) {
    const Bytes entry{0x08, 0x15, 0x55, 0x55, 0x51, 0x55, 0x55, 0x55};
    for (uint32_t bit = 0; bit < 64; ++bit) {
        SCOPED_TRACE(bit);
        Bytes other = entry;
        other[7 - bit / 8] ^= static_cast<uint8_t>(1u << bit % 8);
        const uint32_t same = bit >= 60 || (bit >= 54 && bit <= 58) ? 1 : 0;
        hardware(entry);
        expect({entry_record(other)});
        EXPECT_EQ(verdict_now(), same);
        hardware(other);
        expect({entry_record(entry)});
        EXPECT_EQ(verdict_now(), same);
        expect({entry_record(other)});
        EXPECT_EQ(verdict_now(), bit == 59 ? 0u : 1u);
    }
}

TEST_F(MapValidation, EntriesThatAreNotValidNeverMatch) {
    EXPECT_EQ(verdict_now(), 0u);
    hardware({0xF7, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    expect({entry_record({0xF7, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})});
    EXPECT_EQ(verdict_now(), 0u);
}

struct Scan {
    const char *name;
    std::vector<ksl_cfg_record> records;
    // The fourth byte of the expected entry, by which the entries differ.
    uint32_t entry;
    bool vid_found;
};

TEST_F(MapValidation, ExpectsTheLastEntryBeforeTheFirstAddressOfTheVlan) {
    const Scan rows[] = {
        {"entry, address, entry", {entry_record(kA), address_record(10), entry_record(kB)}, 0x0A, true},
        {"entry, entry, address", {entry_record(kA), entry_record(kB), address_record(10)}, 0x0B, true},
        {"no address of the VLAN",
         {entry_record(kA), address_record(11), entry_record(kB), address_record(12)},
         0x0B,
         false},
        {"no address at all", {entry_record(kA), entry_record(kB), entry_record(kC)}, 0x0C, false},
        {"the first address counts",
         {entry_record(kA), address_record(10), entry_record(kB), address_record(10)},
         0x0A,
         true},
        {"an address before all entries", {address_record(10), entry_record(kA)}, 0, true},
        {"the one after another VLAN's",
         {entry_record(kA), address_record(9), entry_record(kB), address_record(10), entry_record(kC)},
         0x0B,
         true},
        {"nothing", {}, 0, false},
        {"only the low 12 bits of an address",
         {entry_record(kA), setting(0x08, 0x32, {0xFF, 0xF0, 0x0A}), entry_record(kB)},
         0x0A,
         true},
        {"the 12th bit of an address",
         {entry_record(kA), setting(0x08, 0x32, {0x00, 0x08, 0x0A}), entry_record(kB)},
         0x0B,
         false},
        {"the fourth byte is not part of an address",
         {entry_record(kA), setting(0x08, 0x32, {0x00, 0x20, 0x0A, 0xFF}), entry_record(kB)},
         0x0A,
         true},
        {"what follows the end", {entry_record(kA), kEndOfList, entry_record(kB)}, 0x0A, false},
        {"an address after the end", {entry_record(kA), kEndOfList, address_record(10)}, 0x0A, false},
        {"other pages",
         {entry_record(kA), setting(0x07, 0x38, kB), setting(0x09, 0x38, kB), setting(0x07, 0x32, {0, 0, 10}),
          setting(0x09, 0x32, {0, 0, 10}), setting(0x34, 0x38, kB)},
         0x0A,
         false},
        {"other offsets",
         {entry_record(kA), setting(0x08, 0x37, kB), setting(0x08, 0x39, kB), setting(0x08, 0x31, {0, 0, 10}),
          setting(0x08, 0x33, {0, 0, 10}), setting(0x08, 0x30, {0x81, 0, 0})},
         0x0A,
         false},
    };
    for (const Scan &row : rows) {
        SCOPED_TRACE(row.name);
        expect(row.records);
        EXPECT_EQ(ksl_validate_VLAN_map(0, 10, kConfigurationPath, &verdict), 0);
        const uint32_t valid = row.entry == 0 ? 0 : 1;
        EXPECT_EQ(taken(points::validate_VLAN_map_expected),
                  (Calls{record(points::validate_VLAN_map_expected, valid, 0, row.entry, 0, row.entry << 4)}));
        EXPECT_EQ(taken(points::validate_VLAN_map_vid_found),
                  row.vid_found ? Calls{record(points::validate_VLAN_map_vid_found, 10)} : Calls{});
        platform.take();
    }
}

TEST_F(MapValidation, TheReadRefusesANumberThatIsNoVlan) {
    expect({entry_record(kA), address_record(0), entry_record(kB), address_record(4095)});
    hardware(kA);
    for (const uint32_t vid : {0u, 4095u, 4096u, 0x1000Au, 0xFFFFFFFFu}) {
        SCOPED_TRACE(vid);
        verdict = 5;
        EXPECT_EQ(ksl_validate_VLAN_map(0, vid, kConfigurationPath, &verdict), -1);
        EXPECT_EQ(verdict, 0u);
        EXPECT_TRUE(stays_open());
        // The whole number, not its low 12 bits, is compared with a record's 12 bits.
        EXPECT_EQ(traced(points::validate_VLAN_map_vid_found), vid == 0 || vid == 4095);
        const Calls calls = platform.take();
        EXPECT_EQ(Calls(calls.end() - 6, calls.end()), (Calls{
                                                           record(points::validate_VLAN_map_expected, 1, 0,
                                                                  vid == 0 ? 0x0A : 0x0B, 0, vid == 0 ? 0xA0 : 0xB0),
                                                           stamp_start(),
                                                           record(points::read_VLAN_map_entry, 0, vid),
                                                           record(points::validate_VLAN_map_unread),
                                                           record(points::validate_VLAN_map_exit, 0, -1),
                                                           stamp_end(),
                                                       }));
    }
}

} // namespace
} // namespace ksl::test
