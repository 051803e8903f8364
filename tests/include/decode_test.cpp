// SPDX-License-Identifier: Apache-2.0
// The decoders at each bit of their bytes. There are no more bytes than a decoder may read, so that the sanitizers
// notice one that reads more.
#include "face.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

// A register in which one bit is set: bit 0 is the lowest of the last byte.
Bytes one_bit(uint32_t length, uint32_t bit) {
    Bytes bytes(length);
    bytes[length - 1 - bit / 8] = static_cast<uint8_t>(1 << bit % 8);
    return bytes;
}

// The same with that bit alone clear.
Bytes all_but(uint32_t length, uint32_t bit) {
    Bytes bytes = one_bit(length, bit);
    for (uint8_t &byte : bytes) {
        byte = static_cast<uint8_t>(~byte);
    }
    return bytes;
}

using Decoder = std::function<uint32_t(const Bytes &)>;

// It gives the `width` bits from `lowest` on, and nothing of the others.
void expect_field(const Decoder &decode, uint32_t length, uint32_t lowest, uint32_t width) {
    const auto ones = static_cast<uint32_t>((uint64_t{1} << width) - 1);
    EXPECT_EQ(decode(Bytes(length, 0x00)), 0u);
    EXPECT_EQ(decode(Bytes(length, 0xFF)), ones);
    for (uint32_t bit = 0; bit < 8 * length; ++bit) {
        const uint32_t expected = bit >= lowest && bit < lowest + width ? 1u << (bit - lowest) : 0;
        EXPECT_EQ(decode(one_bit(length, bit)), expected) << "bit " << bit;
        EXPECT_EQ(decode(all_but(length, bit)), ones ^ expected) << "bit " << bit;
    }
}

class Decoders : public testing::TestWithParam<const face *> {
protected:
    const face &decode = *GetParam();

    // A decoder that takes bytes alone.
    static Decoder of(uint32_t (*function)(const void *)) {
        return [function](const Bytes &bytes) { return function(bytes.data()); };
    }

    Decoder of_vlan_entry(uint32_t ksl_vlan_entry::*field) const {
        return [this, field](const Bytes &bytes) { return decode.decode_vlan_entry(bytes.data()).*field; };
    }

    Decoder of_arl_entry(uint32_t ksl_arl_entry::*field) const {
        return [this, field](const Bytes &bytes) { return decode.decode_arl_entry(bytes.data()).*field; };
    }
};

TEST_P(Decoders, ARegisterHasItsBits) {
    for (uint32_t length = 1; length <= 8; ++length) {
        for (uint32_t bit = 0; bit < 8 * length; ++bit) {
            SCOPED_TRACE(testing::Message() << "bit " << bit << " of " << length << " bytes");
            expect_field([&](const Bytes &bytes) { return decode.register_bit(bytes.data(), length, bit); }, length,
                         bit, 1);
        }
    }
}

TEST_P(Decoders, ByteAfterByteIsFound) {
    for (uint32_t index = 0; index < 8; ++index) {
        expect_field([&](const Bytes &bytes) { return decode.byte(bytes.data(), index); }, 8, 56 - 8 * index, 8);
    }
}

TEST_P(Decoders, ARegisterIsANumber) {
    expect_field(of(decode.value16), 2, 0, 16);
    expect_field(of(decode.value32), 4, 0, 32);
    EXPECT_EQ(decode.value16(Bytes{0x12, 0x34}.data()), 0x1234u);
    EXPECT_EQ(decode.value32(Bytes{0xFE, 0xDC, 0xBA, 0x98}.data()), 0xFEDCBA98u);
}

TEST_P(Decoders, APortHasItsBit) {
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        expect_field([&](const Bytes &bytes) { return decode.port_bit(bytes.data(), port); }, 4, port, 1);
    }
}

TEST_P(Decoders, AnAgeTimeHasTwentyBits) {
    expect_field(of(decode.age_time), 4, 0, 20);
}

TEST_P(Decoders, APvidHasAVlanAndAPriority) {
    expect_field(of(decode.pvid_vid), 2, 0, 12);
    expect_field(of(decode.pvid_priority), 2, 13, 3);
    EXPECT_EQ(decode.pvid_vid(Bytes{0xE1, 0x2C}.data()), 300u);
    EXPECT_EQ(decode.pvid_priority(Bytes{0xE1, 0x2C}.data()), 7u);
}

TEST_P(Decoders, AnEntryOfTheVlanTableHasFourFields) {
    expect_field(of_vlan_entry(&ksl_vlan_entry::valid), 8, 59, 1);
    expect_field(of_vlan_entry(&ksl_vlan_entry::field), 8, 54, 5);
    expect_field(of_vlan_entry(&ksl_vlan_entry::upper_map), 8, 27, 27);
    expect_field(of_vlan_entry(&ksl_vlan_entry::lower_map), 8, 0, 27);
}

TEST_P(Decoders, AnEntryOfTheAddressTableHasAPortAFlagAndAnAddress) {
    expect_field(of_arl_entry(&ksl_arl_entry::port), 8, 48, 5);
    expect_field(of_arl_entry(&ksl_arl_entry::flag55), 8, 55, 1);
    // The first byte of the address is the highest.
    for (uint32_t i = 0; i < 6; ++i) {
        expect_field([&](const Bytes &bytes) { return decode.decode_arl_entry(bytes.data()).mac[i]; }, 8, 40 - 8 * i,
                     8);
    }
    const ksl_arl_entry entry = decode.decode_arl_entry(Bytes(8, 0xFF).data());
    EXPECT_TRUE(std::all_of(std::begin(entry.unused), std::end(entry.unused), [](uint8_t byte) { return byte == 0; }));
}

TEST_P(Decoders, ASearchResultHasAVlan) {
    expect_field(of(decode.arl_vid), 2, 0, 12);
}

INSTANTIATE_TEST_SUITE_P(Languages, Decoders, testing::Values(&face_c11, &face_cxx17),
                         [](const auto &language) { return language.param == &face_c11 ? "C11" : "Cxx17"; });

} // namespace
