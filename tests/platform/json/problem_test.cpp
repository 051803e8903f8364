// SPDX-License-Identifier: Apache-2.0
#include "json/problem.h"

#include "support.h"

namespace json {
namespace {

TEST(PrintableText, HasNoControlCharacters) {
    EXPECT_EQ(printable("a\nb\x1B[2J\x7F\t"), "a?b?[2J??");
    EXPECT_EQ(printable("\xC2\x9B"
                        "2J\xC2\x80"),
              "?2J?");
    EXPECT_EQ(printable(""), "");
    // Marks that turn the direction of text, and their neighbours that do not.
    EXPECT_EQ(printable("\u061C\u200E\u200F\u202A\u202E\u2066\u2069"), "???????");
    EXPECT_EQ(printable("\u061B\u200D\u2010\u2029\u202F\u2065\u206A"), "\u061B\u200D\u2010\u2029\u202F\u2065\u206A");
}

TEST(PrintableText, IsUtf8) {
    EXPECT_EQ(printable("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xC2\xA0"),
              "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xC2\xA0");
    EXPECT_EQ(printable("\x80\xC3"), "??");
    EXPECT_EQ(printable("\xC3+\xE2\x82+\xF0\x9F\x98"), "?+??+???");
    EXPECT_EQ(printable("\xC0\x9B\xF5\xFF"), "????");
}

TEST(ShortenedText, EndsBetweenCharacters) {
    EXPECT_EQ(shortened("abc", 3), "abc");
    EXPECT_EQ(shortened("abcd", 3), "abc...");
    EXPECT_EQ(shortened("ab\xE2\x82\xAC", 4), "ab...");
    EXPECT_EQ(shortened("ab\xE2\x82\xAC", 5), "ab\xE2\x82\xAC");
}

TEST(QuotedText, IsShort) {
    EXPECT_EQ(in_quotes("a\nb"), "\"a?b\"");
    EXPECT_EQ(in_quotes(std::string(60, 'x')), '"' + std::string(60, 'x') + '"');
    EXPECT_EQ(in_quotes(std::string(61, 'x')), '"' + std::string(60, 'x') + "...\"");
}

TEST(UnusableInput, SaysWhyInOneLine) {
    EXPECT_STREQ(Unusable("a\nb").what(), "a?b");
}

} // namespace
} // namespace json
