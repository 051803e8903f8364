// SPDX-License-Identifier: Apache-2.0
// The links that follow from PHY control, port control and the partners, as the registers show them.
#include "chip/ports.h"

#include "model.h"

#include <gmock/gmock.h>

namespace hwa {
namespace {

using hwa_test::Bytes;
using testing::ElementsAre;

constexpr PortImage partner(bool there, bool fast, bool full) {
    return {.partner = there,
            .partner_fast = fast,
            .partner_full_duplex = full,
            .test_failed = 0,
            .link_changed = 0,
            .since = {},
            .active = {}};
}
constexpr PortImage kNobody = partner(false, true, true);
constexpr PortImage kFast = partner(true, true, true);
constexpr PortImage kFastHalf = partner(true, true, false);
constexpr PortImage kSlow = partner(true, false, true);
constexpr PortImage kSlowHalf = partner(true, false, false);

class Ports : public hwa_test::ModelTest {
protected:
    // "down", or speed and duplex. All registers that show the link have to agree.
    std::string link(size_t port) {
        const auto bit = [&](uint8_t offset) {
            const Bytes word = read(1, offset, 4);
            return (word[3 - port / 8] >> port % 8 & 1) != 0;
        };
        const bool fast = bit(0x18);
        const bool full = bit(0x1C);
        EXPECT_THAT(read(static_cast<uint8_t>(0x10 + port), 0x30, 2), ElementsAre(0, fast ? 2 : 0)) << port;
        if (!bit(0x10)) {
            EXPECT_FALSE(fast) << port;
            EXPECT_FALSE(full) << port;
            return "down";
        }
        return std::string(fast ? "100" : "10") + (full ? " full" : " half");
    }

    bool changed(size_t port) {
        const Bytes word = read(1, 0x14, 4);
        return (word[3 - port / 8] >> port % 8 & 1) != 0;
    }

    void write_phy(size_t port, unsigned value) {
        write(static_cast<uint8_t>(0x10 + port), 0, {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)});
    }

    Bytes phy(size_t port) { return read(static_cast<uint8_t>(0x10 + port), 0, 2); }
};

TEST_F(Ports, EachHasControlRegistersOfItsOwn) {
    for (size_t port = 0; port < kPorts; ++port) {
        set_port(port, kFast);
    }
    const auto expect_others_up = [&](size_t port) {
        for (size_t other = 0; other < kPorts; ++other) {
            EXPECT_EQ(link(other), other == port ? "down" : "100 full") << port << " " << other;
        }
    };
    for (size_t port = 0; port < kPorts; ++port) {
        EXPECT_THAT(phy(port), ElementsAre(0x31, 0x00));
        write_phy(port, 0x4000);
        expect_others_up(port);
        write_phy(port, 0x3000);
        EXPECT_EQ(link(port), "100 full");
        write(0, static_cast<uint8_t>(0xD0 + port), {0x03});
        expect_others_up(port);
        write(0, static_cast<uint8_t>(0xD0 + port), {0x00});
        EXPECT_EQ(link(port), "100 full");
    }
    // Other registers belong to no port.
    for (const uint8_t page : Bytes{0x0F, 0x28}) {
        write(page, 0, {0x40, 0x00});
    }
    for (const uint8_t offset : Bytes{0xCF, 0xE8}) {
        write(0, offset, {0xFF});
    }
    expect_others_up(kPorts);
}

TEST_F(Ports, AutoNegotiationTakesThePartnersBest) {
    for (const unsigned control : {0x1000U, 0x3000U, 0x3100U, 0x1100U, 0x11FFU}) {
        write_phy(7, control);
        const std::pair<PortImage, std::string> table[] = {{kNobody, "down"},
                                                           {kFast, "100 full"},
                                                           {kFastHalf, "100 half"},
                                                           {kSlow, "10 full"},
                                                           {kSlowHalf, "10 half"}};
        for (const auto &[other, expected] : table) {
            set_port(7, other);
            EXPECT_EQ(link(7), expected) << control;
        }
    }
}

TEST_F(Ports, AForcedSpeedNeedsAPartnerThatCanDoIt) {
    struct Row {
        unsigned control;
        std::string with_fast;
        std::string with_slow;
    };
    const Row table[] = {
        {0x0000, "10 half", "10 half"},
        {0x0100, "10 full", "10 full"},
        {0x2000, "100 half", "down"},
        {0x2100, "100 full", "down"},
    };
    for (const Row &row : table) {
        write_phy(7, row.control);
        for (const PortImage &other : {kFast, kFastHalf}) {
            set_port(7, other);
            EXPECT_EQ(link(7), row.with_fast) << row.control;
        }
        for (const PortImage &other : {kSlow, kSlowHalf}) {
            set_port(7, other);
            EXPECT_EQ(link(7), row.with_slow) << row.control;
        }
        set_port(7, kNobody);
        EXPECT_EQ(link(7), "down") << row.control;
    }
}

TEST_F(Ports, LoopbackPowerDownAndIsolationCutThePartnerOff) {
    set_port(7, kFast);
    for (unsigned bit = 0; bit < 16; ++bit) {
        if (bit == 15 || bit == 9) {
            continue;
        }
        const bool cuts_off = bit == 14 || bit == 11 || bit == 10;
        write_phy(7, 0x1000U | 1U << bit);
        EXPECT_EQ(link(7), cuts_off ? "down" : "100 full") << bit;
        EXPECT_THAT(phy(7), ElementsAre((0x10U | 1U << bit >> 8) & 0xFF, 1U << bit & 0xFF)) << bit;
    }
}

TEST_F(Ports, EitherDirectionOffMeansNoLink) {
    set_port(7, kFast);
    for (unsigned control = 0; control < 256; ++control) {
        write(0, 0xD7, {static_cast<uint8_t>(control)});
        EXPECT_EQ(link(7), (control & 3) != 0 ? "down" : "100 full") << control;
        EXPECT_THAT(read(0, 0xD7, 1), ElementsAre(control));
    }
}

TEST_F(Ports, AFailedSelfTestMeansNoLink) {
    PortImage port = kFast;
    port.test_failed = 1;
    set_port(7, port);
    EXPECT_EQ(link(7), "down");
}

TEST_F(Ports, AResetOfThePhyBringsItsPowerOnValue) {
    set_port(7, kFast);
    write_phy(7, 0x0000);
    for (const Bytes &reset : {Bytes{0x80, 0x00}, Bytes{0xFF, 0xFF}, Bytes{0xC9}}) {
        write_phy(7, 0x0800);
        write(0x17, 0, reset);
        EXPECT_THAT(phy(7), ElementsAre(0x31, 0x00));
        EXPECT_EQ(link(7), "100 full");
    }
}

TEST_F(Ports, RestartingAutoNegotiationClearsItsBit) {
    set_port(7, kFast);
    write_phy(7, 0x13FF);
    EXPECT_THAT(phy(7), ElementsAre(0x11, 0xFF));
    write_phy(7, 0x0200);
    EXPECT_THAT(phy(7), ElementsAre(0x00, 0x00));
    EXPECT_EQ(link(7), "10 half");
}

TEST_F(Ports, WhatChangesOrInterruptsALinkIsAChange) {
    set_port(7, kFast);
    const auto expect = [&](const std::string &what, bool change, auto &&act) {
        changed(7);
        act();
        EXPECT_EQ(changed(7), change) << what;
        EXPECT_FALSE(changed(7)) << what;
    };
    expect("the same again", false, [&] { write_phy(7, 0x3100); });
    expect("another bit", false, [&] { write_phy(7, 0x3180); });
    expect("forced to 10", true, [&] { write_phy(7, 0x0000); });
    expect("to full duplex", true, [&] { write_phy(7, 0x0100); });
    expect("a restart of nothing", false, [&] { write_phy(7, 0x0300); });
    expect("down", true, [&] { write(0, 0xD7, {0x03}); });
    expect("down in a second way", false, [&] { write_phy(7, 0x4000); });
    expect("a reset without a link", false, [&] { write_phy(7, 0x8000); });
    expect("up", true, [&] { write(0, 0xD7, {0x00}); });
    expect("a restart", true, [&] { write_phy(7, 0x3300); });
    expect("a reset that changes nothing", true, [&] { write_phy(7, 0x8000); });
    expect("another register of the page", false, [&] { write(0x17, 2, {0xFF, 0xFF}); });
    write(0, 0xCC, {0, 0, 0, 0, 3, 3, 3, 3});
    EXPECT_THAT(read(1, 0x14, 4), ElementsAre(0, 0, 0, 0x03)); // of the ports 0 to 3 two had a link
    write_phy(7, 0x4000);
    EXPECT_THAT(read(1, 0x14, 4), ElementsAre(0, 0, 0, 0x80));
}

TEST_F(Ports, TheSpeedIndicationCannotBeWritten) {
    set_port(7, kFast);
    write(0x17, 0x30, {0xFF, 0xFD});
    EXPECT_THAT(read(0x17, 0x2F, 4), ElementsAre(0, 0, 2, 0));
    for (const uint8_t page : Bytes{0x0F, 0x28}) {
        write(page, 0x30, {0xAB, 0xCD});
        EXPECT_THAT(read(page, 0x30, 2), ElementsAre(0xAB, 0xCD));
    }
}

// A scenario with all that a hub shows makes a hub that shows the same.
TEST(ShownPorts, CanBeStated) {
    const auto hub = [](const std::string &port) {
        return parse_scenario(R"({"name":"n","chips":[{"chip":0,"ports":[{"port":7,)" + port + "}]}]}");
    };
    for (const PortImage &other : {kNobody, kFast, kFastHalf, kSlow, kSlowHalf}) {
        for (const unsigned phy : {0x3100U, 0x1000U, 0x0000U, 0x0100U, 0x2000U, 0x2100U, 0x4000U, 0x0800U}) {
            for (const unsigned control : {0U, 3U}) {
                const std::string registers =
                    R"("phy_control":)" + std::to_string(phy) + R"(,"port_control":)" + std::to_string(control);
                Scenario before = hub(R"("link":false,)" + registers);
                before.chips[0].ports[7] = other;
                const Link link = link_of(before.chips[0], 7);
                const std::string shown = std::string(R"("link":)") + (link.up ? "true" : "false") + R"(,"speed":)" +
                                          (link.fast ? "100" : "10") + R"(,"duplex":")" +
                                          (link.full_duplex ? "full" : "half") + R"(",)" + registers;
                EXPECT_EQ(link_of(hub(shown).chips[0], 7), link) << shown;
            }
        }
    }
}

TEST_F(Ports, AResetOfTheSwitchBringsTheScenarioBack) {
    write_phy(0, 0x4000);
    write(0, 0xD1, {0x03});
    reset();
    EXPECT_THAT(phy(0), ElementsAre(0x31, 0x00));
    EXPECT_THAT(read(0, 0xD1, 1), ElementsAre(0));
    EXPECT_EQ(link(0), "100 full");
    EXPECT_EQ(link(1), "10 full");
}

} // namespace
} // namespace hwa
