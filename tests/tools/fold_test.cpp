// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/fold.h"

#include <gmock/gmock.h>

namespace {

using ksltrace::fold;

TEST(Fold, BreaksLongLinesAtBlanks) {
    EXPECT_EQ(fold("one two three four\nfive\n\nsix seven eight", 10, 2),
              "one two\n  three\n  four\nfive\n\nsix seven\n  eight");
}

TEST(Fold, LeavesWhatFits) {
    EXPECT_EQ(fold("one two 33\n", 10, 2), "one two 33\n");
    EXPECT_EQ(fold("  indented\n", 10, 2), "  indented\n");
    EXPECT_EQ(fold("one two three four", 0, 2), "one two three four");
    EXPECT_EQ(fold("", 10, 2), "");
}

TEST(Fold, LeavesLongWordsWhole) {
    EXPECT_EQ(fold("a-word-without-end and more\n", 10, 2), "a-word-without-end\n  and more\n");
    EXPECT_EQ(fold("  a-word-without-end and\n", 10, 2), "  a-word-without-end\n  and\n");
}

TEST(Fold, LeavesNoBlanksAtTheEndOfALine) {
    EXPECT_EQ(fold("one two    three", 9, 2), "one two\n  three");
}

TEST(Fold, CountsWhatIsVisible) {
    EXPECT_EQ(fold("\x1b[1mone\x1b[0m two 33\n", 10, 2), "\x1b[1mone\x1b[0m two 33\n");
    EXPECT_EQ(fold("µµµ µµµ µµ\n", 10, 2), "µµµ µµµ µµ\n");
    EXPECT_EQ(fold("µµµ µµµ µµµ\n", 10, 2), "µµµ µµµ\n  µµµ\n");
}

} // namespace
