// SPDX-License-Identifier: Apache-2.0
#include "chip/registers.h"

#include "model.h"

#include <gmock/gmock.h>

#include <ksl/registers.h>

namespace hwa {
namespace {

using testing::ElementsAre;

class Registers : public hwa_test::ModelTest {};

TEST_F(Registers, StatusFollowsFromThePorts) {
    EXPECT_THAT(read(0, 0x00, 1), ElementsAre(0x03));
    EXPECT_THAT(read(1, 0x00, 6), ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_THAT(read(1, 0x10, 4), ElementsAre(0x00, 0x80, 0x02, 0x03)); // ports 0, 1, 9, 23
    EXPECT_THAT(read(1, 0x18, 4), ElementsAre(0x00, 0x00, 0x02, 0x01)); // 100 Mb/s: 0 and 9, not 10 without a link
    EXPECT_THAT(read(1, 0x1C, 4), ElementsAre(0x00, 0x00, 0x00, 0x03)); // full duplex: 0 and 1
}

TEST_F(Registers, EachPortHasItsBitInEveryWord) {
    for (size_t port = 0; port < kPorts; ++port) {
        set_port(port, {});
    }
    for (size_t port = 0; port < kPorts; ++port) {
        const std::array<uint8_t, 4> word = to_bytes<4>(uint64_t{1} << port);
        const std::array<uint8_t, 4> none{};
        const auto expect = [&](const PortImage &image, bool link, bool changed, bool fast, bool full, bool failed) {
            set_port(port, image);
            EXPECT_THAT(read(1, 0x10, 4), testing::ElementsAreArray(link ? word : none)) << port;
            EXPECT_THAT(read(1, 0x14, 4), testing::ElementsAreArray(changed ? word : none)) << port;
            EXPECT_THAT(read(1, 0x18, 4), testing::ElementsAreArray(fast ? word : none)) << port;
            EXPECT_THAT(read(1, 0x1C, 4), testing::ElementsAreArray(full ? word : none)) << port;
            const uint64_t failures = uint64_t{1} << 47 | uint64_t{1} << port;
            EXPECT_THAT(read(1, 0x00, 6), testing::ElementsAreArray(to_bytes<6>(failed ? failures : 0))) << port;
        };
        expect({.partner = 1,
                .partner_fast = 0,
                .partner_full_duplex = 0,
                .test_failed = 0,
                .link_changed = 0,
                .since = {},
                .active = {}},
               1, 0, 0, 0, 0);
        expect({.partner = 1,
                .partner_fast = 1,
                .partner_full_duplex = 0,
                .test_failed = 0,
                .link_changed = 0,
                .since = {},
                .active = {}},
               1, 0, 1, 0, 0);
        expect({.partner = 1,
                .partner_fast = 0,
                .partner_full_duplex = 1,
                .test_failed = 0,
                .link_changed = 0,
                .since = {},
                .active = {}},
               1, 0, 0, 1, 0);
        expect({.partner = 0,
                .partner_fast = 1,
                .partner_full_duplex = 1,
                .test_failed = 0,
                .link_changed = 1,
                .since = {},
                .active = {}},
               0, 1, 0, 0, 0);
        expect({.partner = 0,
                .partner_fast = 0,
                .partner_full_duplex = 0,
                .test_failed = 1,
                .link_changed = 0,
                .since = {},
                .active = {}},
               0, 0, 0, 0, 1);
        set_port(port, {});
    }
}

TEST_F(Registers, ModeAndSelfTestOfAFaultyChip) {
    EXPECT_THAT(read(0, 0x00, 1, 5), ElementsAre(0x02));
    EXPECT_THAT(read(1, 0x00, 6, 5), ElementsAre(0x80, 0, 0, 0x10, 0x00, 0x04));
    EXPECT_THAT(read(1, 0x10, 4, 5), ElementsAre(0, 0, 0, 0));
}

TEST_F(Registers, LinkChangesAreForgottenWhenTheyAreRead) {
    EXPECT_THAT(read(1, 0x14, 4), ElementsAre(0x00, 0x80, 0x02, 0x03));
    EXPECT_THAT(read(1, 0x14, 4), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(read(1, 0x10, 4), ElementsAre(0x00, 0x80, 0x02, 0x03));
}

TEST_F(Registers, OnlyTheLinkChangesThatWereReadAreForgotten) {
    EXPECT_THAT(read(1, 0x12, 4), ElementsAre(0x02, 0x03, 0x00, 0x80)); // two bytes of either word
    EXPECT_THAT(read(1, 0x17, 1), ElementsAre(0x03));
    EXPECT_THAT(read(1, 0x14, 4), ElementsAre(0x00, 0x00, 0x02, 0x00));
}

TEST_F(Registers, AReadCrossesFromOneRegisterIntoTheNext) {
    EXPECT_THAT(read(1, 0x10, 8), ElementsAre(0x00, 0x80, 0x02, 0x03, 0x00, 0x80, 0x02, 0x03));
    EXPECT_THAT(read(1, 0x14, 4), ElementsAre(0, 0, 0, 0));
    write(1, 0x0F, {0x5A});
    write(1, 0x20, {0xA5});
    EXPECT_THAT(read(1, 0x0F, 2), ElementsAre(0x5A, 0x00));
    EXPECT_THAT(read(1, 0x1F, 2), ElementsAre(0x03, 0xA5));
}

TEST_F(Registers, StatusCannotBeWritten) {
    write(0, 0x00, {0x00});
    write(1, 0x00, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    for (const uint8_t offset : std::array<uint8_t, 4>{0x10, 0x14, 0x18, 0x1C}) {
        write(1, offset, {0xFF, 0xFF, 0xFF, 0xFF});
    }
    EXPECT_THAT(read(0, 0x00, 1), ElementsAre(0x03));
    EXPECT_THAT(read(1, 0x00, 6), ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_THAT(read(1, 0x10, 4), ElementsAre(0x00, 0x80, 0x02, 0x03));
    EXPECT_THAT(read(1, 0x14, 4), ElementsAre(0x00, 0x80, 0x02, 0x03));
    EXPECT_THAT(read(1, 0x18, 4), ElementsAre(0x00, 0x00, 0x02, 0x01));
    EXPECT_THAT(read(1, 0x1C, 4), ElementsAre(0x00, 0x00, 0x00, 0x03));
}

TEST_F(Registers, AWriteAcrossAStatusRegisterReachesTheBytesNextToIt) {
    write(1, 0x0E, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_THAT(read(1, 0x0E, 4), ElementsAre(1, 2, 0x00, 0x80));
    write(0, 0x00, {0x00, 0x77});
    EXPECT_THAT(read(0, 0x00, 2), ElementsAre(0x03, 0x77));
}

TEST_F(Registers, OtherRegistersKeepTheirBytes) {
    EXPECT_THAT(read(0x34, 0x0F, 8), ElementsAre(0, 0, 1, 0, 2, 0, 3, 0));
    write(0x34, 0x12, {0x20, 0x64});
    EXPECT_THAT(read(0x34, 0x10, 6), ElementsAre(0, 1, 0x20, 0x64, 0, 3));
    write(0xFF, 0xF8, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_THAT(read(0xFF, 0xF8, 8), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(read(0xFF, 0xF8, 8, 5), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(read(0xFE, 0xF8, 8), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(RegisterPlaces, AreWithinThePage) {
    EXPECT_FALSE(is_register(0, 0));
    EXPECT_TRUE(is_register(0, 1));
    EXPECT_TRUE(is_register(0, 8));
    EXPECT_FALSE(is_register(0, 9));
    EXPECT_FALSE(is_register(0, 0xFFFFFFFF));
    EXPECT_TRUE(is_register(0xF8, 8));
    EXPECT_FALSE(is_register(0xF9, 8));
    EXPECT_TRUE(is_register(0xFF, 1));
    EXPECT_FALSE(is_register(0xFF, 2));
}

TEST(RegisterPlaces, ThatAScenarioStatesByAKey) {
    const auto key_of = [](unsigned page, unsigned offset) -> std::string {
        if (page == 0 && offset == 0) {
            return "mode";
        }
        if (page == 1 && (offset < 6 || (offset >= 0x10 && offset < 0x20))) {
            return "ports";
        }
        if (page >= 0x10 && page < 0x10 + 24 && (offset < 2 || offset == 0x30 || offset == 0x31)) {
            return "ports";
        }
        if ((page == 5 && offset >= 0x20 && offset < 0x2E) || (page == 0x41 && offset >= 0x30 && offset < 0x60)) {
            return "addresses";
        }
        if (page == 8 && ((offset >= 0x30 && offset < 0x35) || (offset >= 0x38 && offset < 0x40))) {
            return "vlan";
        }
        return "none";
    };
    for (unsigned page = 0; page < 256; ++page) {
        for (unsigned offset = 0; offset < 256; ++offset) {
            const char *const key = scenario_key_of(static_cast<uint8_t>(page), static_cast<uint8_t>(offset));
            ASSERT_EQ(key != nullptr ? key : "none", key_of(page, offset)) << page << " " << offset;
        }
    }
}

// A number as the manual page writes it for all ports: "0x10 + 2p".
std::string on_each_port(unsigned first, unsigned step) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = {'0', 'x', kDigits[first >> 4], kDigits[first & 0xF]};
    if (step != 0) {
        text += " + " + (step == 1 ? "" : std::to_string(step)) + "p";
    }
    return text;
}

TEST(RegisterTable, IsInTheManualPage) {
    const std::string page = hwa_test::contents(MANUAL_PAGE);
    const auto expect_row = [&](const std::string &text, const ksl_register &place) {
        const std::string row = "\n|[ " + text + "\n:[ " + on_each_port(place.page, place.page_step) + "\n:[ " +
                                on_each_port(place.offset, place.offset_step) + "\n:[ " + std::to_string(place.length) +
                                "\n:[ ";
        EXPECT_THAT(page, testing::HasSubstr(row)) << text;
    };
#define ROW(name, text, page, page_step, offset, offset_step, length) expect_row(text, ksl_##name##_register);
    KSL_REGISTERS(ROW)
#undef ROW
}

} // namespace
} // namespace hwa
