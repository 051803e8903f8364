// SPDX-License-Identifier: Apache-2.0
#include "problem.h"
#include "scenario/faults.h"

#include <gmock/gmock.h>

namespace hwa {
namespace {

using std::chrono::microseconds;

std::string problem_of(const std::string &text) {
    try {
        Faults faults(text);
    } catch (const Unusable &problem) {
        return problem.what();
    }
    return "none";
}

Access reading(uint32_t chip, uint32_t page, uint32_t offset) {
    return {Entry::getreg, chip, page, offset};
}

constexpr Entry kAllEntries[] = {Entry::getreg,      Entry::get_multireg,    Entry::setreg,       Entry::getmacs,
                                 Entry::engpowercmd, Entry::setswitchconfig, Entry::setmacfilter, Entry::resetswitch};

TEST(Faults, WithoutRulesNothingHappens) {
    for (const char *text : {"", " ", ";", " ; \n;"}) {
        Faults faults(text);
        const Effects effects = faults.meet(reading(0, 1, 0x10));
        EXPECT_FALSE(effects.code);
        EXPECT_EQ(effects.delay.count(), 0);
        EXPECT_FALSE(effects.short_length);
        EXPECT_FALSE(effects.garble);
        EXPECT_EQ(effects.rules, "");
    }
}

TEST(Faults, EachEntryPointIsMetByItsNameAlone) {
    const char *const names[] = {"getreg",      "get_multireg",    "setreg",       "getmacs",
                                 "engpowercmd", "setswitchconfig", "setmacfilter", "resetswitch"};
    for (size_t named = 0; named < std::size(names); ++named) {
        EXPECT_STREQ(name_of(kAllEntries[named]), names[named]);
        for (const std::string prefix : {"", "hwa_"}) {
            Faults faults(prefix + names[named] + " code=9");
            for (size_t met = 0; met < std::size(kAllEntries); ++met) {
                EXPECT_EQ(faults.meet({kAllEntries[met], {}, {}, {}}).code.has_value(), named == met);
            }
        }
    }
    for (const char *text : {"code=9", "any code=9"}) {
        Faults faults(text);
        for (const Entry entry : kAllEntries) {
            EXPECT_EQ(faults.meet({entry, {}, {}, {}}).code, 9);
        }
    }
}

TEST(Faults, ConditionsMustAllHold) {
    Faults faults("chip=1 page=0x34 offset=16 code=5");
    EXPECT_EQ(faults.meet(reading(1, 0x34, 0x10)).code, 5);
    EXPECT_FALSE(faults.meet(reading(0, 0x34, 0x10)).code);
    EXPECT_FALSE(faults.meet(reading(1, 0x35, 0x10)).code);
    EXPECT_FALSE(faults.meet(reading(1, 0x34, 0x11)).code);
    EXPECT_FALSE(faults.meet({Entry::getmacs, 1, {}, {}}).code);
    EXPECT_FALSE(faults.meet({Entry::engpowercmd, {}, {}, {}}).code);
}

TEST(Faults, PortMeansTheRegistersOfThePort) {
    struct Place {
        uint32_t port, page, offset;
    };
    const Place places[] = {
        {0, 0x10, 0x00},  {0, 0x10, 0xFF}, {23, 0x27, 0x30}, {0, 0x00, 0xD0},  {5, 0x00, 0xD5},  {23, 0x00, 0xE7},
        {0, 0x34, 0x10},  {0, 0x34, 0x11}, {1, 0x34, 0x12},  {23, 0x34, 0x3E}, {23, 0x34, 0x3F}, {0, 0x41, 0x30},
        {23, 0x41, 0x5E}, {0, 0x41, 0x70}, {23, 0x41, 0x9F}, {0, 0x50, 0x00},  {23, 0x67, 0xFF},
    };
    for (const Place &place : places) {
        for (uint32_t port = 0; port < 24; ++port) {
            Faults faults("port=" + std::to_string(port) + " code=1");
            EXPECT_EQ(faults.meet(reading(0, place.page, place.offset)).code.has_value(), port == place.port)
                << place.page << " " << place.offset << " port " << port;
        }
    }
    const std::pair<uint32_t, uint32_t> nobodys[] = {
        {0x0F, 0x00}, {0x28, 0x00}, {0x00, 0xCF}, {0x00, 0xE8}, {0x34, 0x0F}, {0x34, 0x40}, {0x41, 0x2F},
        {0x41, 0x60}, {0x41, 0x6F}, {0x41, 0xA0}, {0x4F, 0x00}, {0x68, 0x00}, {0x01, 0x10},
    };
    for (const auto &[page, offset] : nobodys) {
        for (uint32_t port = 0; port < 24; ++port) {
            EXPECT_FALSE(Faults("port=" + std::to_string(port) + " code=1").meet(reading(0, page, offset)).code);
        }
    }
}

// The codes of six accesses in a row; 0 where the rule lets the access through.
std::vector<int> codes(const std::string &text) {
    Faults faults(text);
    std::vector<int> codes;
    for (int i = 0; i < 6; ++i) {
        codes.push_back(faults.meet(reading(0, 1, 0x10)).code.value_or(0));
    }
    return codes;
}

TEST(Faults, TellWhenAndHowOften) {
    using testing::ElementsAre;
    EXPECT_THAT(codes("code=7"), ElementsAre(7, 7, 7, 7, 7, 7));
    EXPECT_THAT(codes("code=7 always"), ElementsAre(7, 7, 7, 7, 7, 7));
    EXPECT_THAT(codes("code=7 once"), ElementsAre(7, 0, 0, 0, 0, 0));
    EXPECT_THAT(codes("nth=3 code=7 once"), ElementsAre(0, 0, 7, 0, 0, 0));
    EXPECT_THAT(codes("nth=3 code=7"), ElementsAre(0, 0, 7, 7, 7, 7));
    EXPECT_THAT(codes("once nth=2 code=1; once nth=4 code=2"), ElementsAre(0, 1, 0, 2, 0, 0));
}

TEST(Faults, OnlyMatchingAccessesAreCounted) {
    Faults faults("page=2 nth=2 code=7 once");
    EXPECT_FALSE(faults.meet(reading(0, 2, 0)).code);
    EXPECT_FALSE(faults.meet(reading(0, 1, 0)).code);
    EXPECT_FALSE(faults.meet(reading(0, 1, 0)).code);
    EXPECT_EQ(faults.meet(reading(0, 2, 0)).code, 7);
    EXPECT_FALSE(faults.meet(reading(0, 2, 0)).code);
}

TEST(Faults, EffectsOfSeveralRulesAddUp) {
    Faults faults("delay=20ms; getreg delay=5us; setreg code=1; getreg code=-7 delay=2s; getreg code=8;"
                  "short=4; short=2; short=3; garble");
    const Effects effects = faults.meet(reading(0, 1, 0x10));
    EXPECT_EQ(effects.code, -7);
    EXPECT_EQ(effects.delay, microseconds(2'020'005));
    EXPECT_EQ(effects.short_length, 2U);
    EXPECT_TRUE(effects.garble);
    EXPECT_EQ(effects.rules, "1,2,4,5,6,7,8,9");
}

TEST(Faults, CodesCoverTheWholeRange) {
    EXPECT_EQ(Faults("code=0x7fffffff").meet(reading(0, 0, 0)).code, 2147483647);
    EXPECT_EQ(Faults("code=-2147483648").meet(reading(0, 0, 0)).code, -2147483647 - 1);
}

TEST(Faults, MistakesAreNamed) {
    const std::pair<std::string, std::string> table[] = {
        {"getreg code=5; getrex code=1",
         R"("getrex" in the rule "getrex code=1" is neither an entry point nor a word of the fault grammar)"},
        {"getreg setreg code=1", R"("setreg" in the rule "getreg setreg code=1" is a second entry point)"},
        {"any getreg code=1", R"("getreg" in the rule "any getreg code=1" is a second entry point)"},
        {"getreg colour=1", R"("colour=1" in the rule "getreg colour=1" is no condition and no effect)"},
        {"page=256 code=1", R"("page=256" in the rule "page=256 code=1" needs a number from 0 to 255)"},
        {"page=0x code=1", R"("page=0x" in the rule "page=0x code=1" needs a number from 0 to 255)"},
        {"page= code=1", R"("page=" in the rule "page= code=1" needs a number from 0 to 255)"},
        {"page=1a code=1", R"("page=1a" in the rule "page=1a code=1" needs a number from 0 to 255)"},
        {"page=-1 code=1", R"("page=-1" in the rule "page=-1 code=1" needs a number from 0 to 255)"},
        {"offset=256 code=1", R"("offset=256" in the rule "offset=256 code=1" needs a number from 0 to 255)"},
        {"port=24 code=1", R"("port=24" in the rule "port=24 code=1" needs a number from 0 to 23)"},
        {"chip=4294967296 code=1",
         R"("chip=4294967296" in the rule "chip=4294967296 code=1" needs a number from 0 to 4294967295)"},
        {"nth=0 code=1", R"("nth=0" in the rule "nth=0 code=1" needs a number from 1 to 4294967295)"},
        {"code=2147483648",
         R"("code=2147483648" in the rule "code=2147483648" needs a number from -2147483648 to 2147483647)"},
        {"code=0", R"("code=0" in the rule "code=0" would be a success)"},
        {"page=1 page=2 code=1", R"("page=2" in the rule "page=1 page=2 code=1" is given a second time)"},
        {"once once code=1", R"("once" in the rule "once once code=1" is given twice)"},
        {"once always code=1", R"("once" in the rule "once always code=1" and "always" contradict each other)"},
        {"delay=20", R"("delay=20" in the rule "delay=20" needs a unit: us, ms or s)"},
        {"delay=ms", R"("delay=ms" in the rule "delay=ms" needs a number from 0 to 4294967)"},
        {"delay=4295s", R"("delay=4295s" in the rule "delay=4295s" needs a number from 0 to 4294)"},
        {"short=-1", R"("short=-1" in the rule "short=-1" needs a number from 0 to 4294967295)"},
        {"getreg page=1", R"(the rule "getreg page=1" has no effect: give it code, delay, short or garble)"},
        {"code=1 garble", R"("code" in the rule "code=1 garble" leaves no data to shorten or garble)"},
        {"code=1 short=2", R"("code" in the rule "code=1 short=2" leaves no data to shorten or garble)"},
        {"getmacs page=0 code=1", R"("page" in the rule "getmacs page=0 code=1" is nothing that getmacs has)"},
        {"getmacs offset=0 code=1", R"("offset" in the rule "getmacs offset=0 code=1" is nothing that getmacs has)"},
        {"resetswitch port=0 code=1",
         R"("port" in the rule "resetswitch port=0 code=1" is nothing that resetswitch has)"},
        {"resetswitch garble", R"("garble" in the rule "resetswitch garble" needs data, and resetswitch has none)"},
        {"setmacfilter short=1", R"("short" in the rule "setmacfilter short=1" needs data, and setmacfilter has none)"},
    };
    for (const auto &[text, problem] : table) {
        EXPECT_EQ(problem_of(text), problem);
    }
}

} // namespace
} // namespace hwa
