// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command_line/defaults.h"

#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>

namespace {

using namespace kslctl;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const HubVariables kNone{};

std::string complaint(const std::function<void()> &choose) {
    try {
        choose();
    } catch (const ArgumentError &error) {
        return error.what();
    }
    return "none";
}

TEST(Chips, AreNumbersOrAll) {
    EXPECT_EQ(parse_chips({"0-2,7", "1"}), (ChipChoice{{0, 1, 2, 7, 1}, false}));
    EXPECT_EQ(parse_chips({"all"}), (ChipChoice{{}, true}));
    EXPECT_EQ(complaint([] { parse_chips({"256"}); }), "\"256\" is no chip number; they go from 0 to 255");
    EXPECT_EQ(complaint([] { parse_chips({"0,all"}); }), "\"all\" is no chip number; they go from 0 to 255");
    EXPECT_EQ(complaint([] {
                  parse_chips({"all", "3"});
              }),
              "\"all\" means every chip that answers, so none is named next to it");
}

TEST(HubChoice, WithoutAnythingItIsChipZeroOfTheRealHub) {
    EXPECT_EQ(choose_hub({}, kNone), (HubChoice{{{0}, false}, false, {}}));
}

TEST(HubChoice, VariablesAreDefaults) {
    const HubChoice choice = choose_hub({}, {"0,2-3", "1"});
    EXPECT_EQ(choice.chips, (ChipChoice{{0, 2, 3}, false}));
    EXPECT_TRUE(choice.simulate);
    EXPECT_THAT(choice.variables, ElementsAre(Pair("KSL_CHIP", "0,2-3"), Pair("KSL_SIMULATE", "1")));

    EXPECT_TRUE(choose_hub({}, {"all", std::nullopt}).chips.all);
    EXPECT_FALSE(choose_hub({}, {std::nullopt, "0"}).simulate);
}

// Even a wrong value harms nobody who says what he wants.
TEST(HubChoice, TheCommandLineWins) {
    const HubVariables wrong{"x", "x"};
    const HubChoice real = choose_hub({ChipChoice{{5}, false}, false, true}, wrong);
    EXPECT_EQ(real.chips.numbers, (std::vector<uint32_t>{5}));
    EXPECT_FALSE(real.simulate);
    EXPECT_THAT(real.variables, IsEmpty());
    EXPECT_TRUE(choose_hub({ChipChoice(), true, false}, {"3", "0"}).simulate);
    EXPECT_FALSE(choose_hub({ChipChoice(), false, true}, {"3", "1"}).simulate);
    EXPECT_EQ(choose_hub({ChipChoice(), false, true}, {"3", "1"}).chips, ChipChoice());
}

TEST(HubChoice, WrongValuesNameTheirVariable) {
    EXPECT_EQ(complaint([] { choose_hub({}, {"3-1", std::nullopt}); }), "KSL_CHIP: the range \"3-1\" runs backwards");
    for (const char *const text : {"2", "yes", "01", " 1", "true"}) {
        EXPECT_EQ(complaint([&] {
                      choose_hub({}, {std::nullopt, text});
                  }),
                  std::string("KSL_SIMULATE: \"") + text + "\" is neither 1, for the simulated hub, nor 0");
    }
    EXPECT_EQ(complaint([] {
                  choose_hub({std::nullopt, true, true}, kNone);
              }),
              "--simulate and --no-simulate exclude each other");
}

TEST(HubChoice, AnEmptyVariableIsNotSet) {
    setenv("KSL_CHIP", "", 1);
    setenv("KSL_SIMULATE", "1", 1);
    const HubVariables variables = read_hub_variables();
    EXPECT_EQ(variables.chip, std::nullopt);
    EXPECT_EQ(variables.simulate, "1");
    unsetenv("KSL_CHIP");
    unsetenv("KSL_SIMULATE");
    EXPECT_EQ(read_hub_variables().simulate, std::nullopt);
}

// A proposed command line means the same hub and chip where it is run.
TEST(HubChoice, ProposedOptionsOverrideTheVariables) {
    EXPECT_EQ(options_for(false, 0, kNone), "");
    EXPECT_EQ(options_for(true, 3, kNone), " --simulate --chip 3");
    EXPECT_EQ(options_for(true, 0, {"1", "1"}), " --simulate --chip 0");
    EXPECT_EQ(options_for(false, 0, {std::nullopt, "1"}), " --no-simulate");
    EXPECT_EQ(options_for(false, 0, {std::nullopt, "0"}), "");
}

} // namespace
