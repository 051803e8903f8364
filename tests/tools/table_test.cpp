// SPDX-License-Identifier: Apache-2.0
// Tables: their columns, and their halves on a low screen.
#include "support/table.h"

#include <gmock/gmock.h>

namespace {

using tools::Align;
using tools::Style;
using tools::Table;

Table numbers_to(int last) {
    Table table({{"n", Align::right}, {"text", Align::left}});
    for (int i = 0; i <= last; ++i) {
        table.add_row({std::to_string(i), i % 2 == 0 ? "even" : "-"});
    }
    return table;
}

// 25 lines with the heading, 8 columns wide.
Table all_ports() {
    return numbers_to(23);
}

constexpr size_t kTwice = 8 + 3 + 8;

bool is_in_halves(const Table &table, size_t rows, size_t columns) {
    const std::string text = table.render(Style(false, tools::ScreenSize{rows, columns}));
    return text.starts_with(" n  text    n  text\n");
}

TEST(Table, AlignsItsColumns) {
    EXPECT_EQ(numbers_to(10).render(Style(false)), " n  text\n"
                                                   " 0  even\n"
                                                   " 1  -\n"
                                                   " 2  even\n"
                                                   " 3  -\n"
                                                   " 4  even\n"
                                                   " 5  -\n"
                                                   " 6  even\n"
                                                   " 7  -\n"
                                                   " 8  even\n"
                                                   " 9  -\n"
                                                   "10  even\n");
}

TEST(Table, HasTwoHalvesOnALowScreen) {
    EXPECT_EQ(numbers_to(10).render(Style(false, tools::ScreenSize{16, 80})), " n  text    n  text\n"
                                                                              " 0  even    6  even\n"
                                                                              " 1  -       7  -\n"
                                                                              " 2  even    8  even\n"
                                                                              " 3  -       9  -\n"
                                                                              " 4  even   10  even\n"
                                                                              " 5  -\n");
}

TEST(Table, HasTwoHalvesOnlyWhereTheWholeHasNoRoomAndTheyHave) {
    EXPECT_FALSE(is_in_halves(all_ports(), 33, 80));
    EXPECT_TRUE(is_in_halves(all_ports(), 32, 80));
    EXPECT_TRUE(is_in_halves(all_ports(), 21, 80));
    EXPECT_FALSE(is_in_halves(all_ports(), 20, 80));
    EXPECT_TRUE(is_in_halves(all_ports(), 24, kTwice));
    EXPECT_FALSE(is_in_halves(all_ports(), 24, kTwice - 1));
}

TEST(Table, EmphasisesWhatIsWrongOrNotRead) {
    Table table({{"a", Align::left}, {"b", Align::left}});
    table.add_row({"1", "bad"}, {false, true});
    table.add_row({"?", "good"});
    EXPECT_EQ(table.render(Style(true)), "\x1b[1ma\x1b[0m  \x1b[1mb\x1b[0m\n"
                                         "1  \x1b[31mbad\x1b[0m\n"
                                         "\x1b[31m?\x1b[0m  good\n");
}

} // namespace
