// SPDX-License-Identifier: Apache-2.0
// From text to values: their places, what is refused, and the limits.
#include "json/value.h"

#include "support.h"

namespace json {
namespace {

std::string problem_with(std::string_view text) {
    return json_test::problem_of([text] { parse(text); });
}

const Object &members(const Value &value) {
    return std::get<Object>(value.content);
}

const List &elements(const Value &value) {
    return std::get<List>(value.content);
}

std::string place(const Value &value) {
    return std::to_string(value.place.line) + ":" + std::to_string(value.place.column);
}

TEST(ParseJson, KeepsEveryKindOfValue) {
    const Value document =
        parse(R"({"t": true, "n": 18446744073709551615, "s": "a\n\u00e4", "l": [], "o": {"x": null}, "f": -1})");
    const Object &found = members(document);
    ASSERT_EQ(found.size(), 6U);
    EXPECT_EQ(found[0].key, "t");
    EXPECT_EQ(std::get<bool>(found[0].value.content), true);
    EXPECT_EQ(std::get<uint64_t>(found[1].value.content), UINT64_MAX);
    EXPECT_EQ(std::get<std::string>(found[2].value.content), "a\n\xC3\xA4");
    EXPECT_TRUE(elements(found[3].value).empty());
    EXPECT_TRUE(std::holds_alternative<Other>(members(found[4].value)[0].value.content));
    EXPECT_TRUE(std::holds_alternative<Other>(found[5].value.content));
}

TEST(ParseJson, KnowsWhereValuesAndKeysBegin) {
    const Value document = parse("\n  {\"a\" : 17,\n\t\"b\\\"\\\\\": \"x, [y\" , \"c\":[1,true\n,{ } , 23]}");
    EXPECT_EQ(place(document), "2:3");
    const Object &found = members(document);
    EXPECT_EQ(found[0].place.column, 4U);
    EXPECT_EQ(place(found[0].value), "2:10");
    EXPECT_EQ(found[1].place.line, 3U);
    EXPECT_EQ(found[1].place.column, 2U);
    EXPECT_EQ(place(found[1].value), "3:11");
    EXPECT_EQ(found[2].place.column, 21U);
    EXPECT_EQ(place(found[2].value), "3:25");
    const List &list = elements(found[2].value);
    EXPECT_EQ(place(list[0]), "3:26");
    EXPECT_EQ(place(list[1]), "3:28");
    EXPECT_EQ(place(list[2]), "4:2");
    EXPECT_EQ(place(list[3]), "4:8");
}

TEST(ParseJson, KnowsWhereANumberBeginsWhateverFollows) {
    for (const char *const after : {"]", " ]", "\n]", "\r\n]", "\t]", ",7]", "\n,7]"}) {
        EXPECT_EQ(place(elements(parse("[\n 12" + std::string(after)))[0]), "2:2") << after;
    }
    EXPECT_EQ(place(parse("  5")), "1:3");
}

TEST(ParseJson, CountsCharactersNotBytes) {
    EXPECT_EQ(place(elements(parse("[\"\xC3\xA4\xE2\x82\xAC\", 1]"))[1]), "1:8");
}

struct Case {
    std::string_view text;
    const char *problem;
};

constexpr Case kNoJson[] = {
    {"", "line 1, column 1: not valid JSON: syntax error while parsing value - unexpected end of input; expected '[', "
         "'{', or a literal"},
    {"{\n\n", "line 3, column 1: not valid JSON: syntax error while parsing object key - unexpected end of input; "
              "expected string literal"},
    {"{]", "line 1, column 2: not valid JSON: syntax error while parsing object key - unexpected ']'; expected string "
           "literal"},
    {"{\"name\": \"a\"\n\"pvids\": []}", "line 2, column 7: not valid JSON: syntax error while parsing object - "
                                         "unexpected string literal; expected '}'"},
    {"{\n\"name\": \"a\nb\"}",
     "line 2, column 11: not valid JSON: syntax error while parsing value - invalid string: control character U+000A "
     "(LF) must be escaped to \\u000A or \\n; last read: '\"a<U+000A>'"},
    {"{\"name\": \"\x1B\"}", "line 1, column 11: not valid JSON: syntax error while parsing value - invalid string: "
                             "control character U+001B (ESC) must be escaped to \\u001B; last read: '\"<U+001B>'"},
    {"{\"name\": \"\x7F", "line 1, column 12: not valid JSON: syntax error while parsing value - invalid string: "
                          "missing closing quote; last read: '\"?'"},
    {"{}\n{}", "line 2, column 1: not valid JSON: syntax error while parsing value - unexpected '{'; expected end of "
               "input"},
    {"{\n\"a\": 1e999}", "line 2, column 6: not valid JSON: number overflow parsing '1e999'"},
    {"[\n -1e999\n]", "line 2, column 2: not valid JSON: number overflow parsing '-1e999'"},
};

TEST(ParseJson, NamesThePlaceOfWhatIsNoJson) {
    for (const Case &bad : kNoJson) {
        EXPECT_EQ(problem_with(bad.text), bad.problem) << bad.text;
    }
}

TEST(ParseJson, RefusesWhatFollowsTheDocument) {
    using namespace std::string_view_literals;
    EXPECT_EQ(problem_with("{}\n\0"sv), "line 2, column 1: not valid JSON: a NUL byte follows the document");
    EXPECT_EQ(problem_with("{} \0 {}"sv), "line 1, column 4: not valid JSON: a NUL byte follows the document");
    EXPECT_EQ(problem_with("5\0"sv), "line 1, column 2: not valid JSON: a NUL byte follows the document");
    EXPECT_EQ(problem_with("[\"a\0\"]"sv),
              "line 1, column 4: not valid JSON: syntax error while parsing value - invalid string: control character "
              "U+0000 (NUL) must be escaped to \\u0000; last read: '\"a<U+0000>'");
    EXPECT_EQ(problem_with("[\0]"sv).substr(0, 34), "line 1, column 2: not valid JSON: ");
    EXPECT_EQ(problem_with("{} \n\t\r "), "no problem");
}

TEST(ParseJson, RefusesWhatIsNotUtf8) {
    EXPECT_EQ(problem_with("{\"a\":\n\"\xFF\"}"),
              "line 2, column 2: not valid JSON: syntax error while parsing value - invalid string: ill-formed UTF-8 "
              "byte; last read: '\"?'");
    for (const char *const text : {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xC3"}) {
        EXPECT_NE(problem_with("\"" + std::string(text) + "\""), "no problem");
    }
    EXPECT_EQ(problem_with("\"\xF4\x8F\xBF\xBF\""), "no problem");
}

TEST(ParseJson, RefusesAKeyThatIsTwiceInOneObject) {
    EXPECT_EQ(problem_with("{\"a\": 1,\n\"b\": {\"a\": 2},\n \"a\": 3}"),
              "line 3, column 2: the key \"a\" is twice in one object");
    EXPECT_EQ(problem_with(R"({"a": 1, "\u0061": 2})"), "line 1, column 10: the key \"a\" is twice in one object");
}

TEST(ParseJson, LimitsTheNesting) {
    const std::string deepest(kDeepest, '[');
    EXPECT_EQ(problem_with(deepest + std::string(kDeepest, ']')), "no problem");
    EXPECT_EQ(problem_with(deepest + "\n["), "line 2, column 1: lists and objects are nested more than 16 deep");
    EXPECT_EQ(problem_with(std::string(160 << 10, '[')),
              "line 1, column 17: lists and objects are nested more than 16 deep");
    std::string objects;
    for (unsigned i = 0; i < 20000; ++i) {
        objects += "{\"a\":";
    }
    EXPECT_EQ(problem_with(objects), "line 1, column 81: lists and objects are nested more than 16 deep");
}

TEST(ParseJson, LimitsTheKeysOfAnObject) {
    std::string keys;
    for (unsigned i = 0; i < kMostKeys; ++i) {
        keys += "\"" + std::to_string(i) + "\": 0, ";
    }
    EXPECT_EQ(problem_with("{" + keys + "\n\"last\": 0}"), "line 2, column 1: an object has more than 64 keys");
    EXPECT_EQ(problem_with("{" + keys.substr(0, keys.size() - 2) + "}"), "no problem");
}

TEST(ParseJson, LimitsTheText) {
    EXPECT_EQ(problem_with("5" + std::string(kLongestText - 1, '\n')), "no problem");
    EXPECT_EQ(problem_with("5" + std::string(kLongestText, '\n')),
              "line 1, column 1: the document is longer than 4 MiB, the most that is read");
}

// However long it is, what a message quotes leaves room for the rest of the message.
TEST(ParseJson, QuotesALineAtMost) {
    const std::string longest(1 << 20, '7');
    for (const std::string &text :
         {"\"" + longest, "[" + longest + "e" + longest + "]", "{\"" + longest + "\": 1, \"" + longest + "\": 2}",
          "tru" + longest, "\"" + longest + "\xFF\""}) {
        EXPECT_NE(problem_with(text), "no problem");
        EXPECT_LE(problem_with(text).size(), 260U) << problem_with(text);
    }
}

TEST(CanonicalJson, IsTheSameForAnyLayoutAndOrder) {
    EXPECT_EQ(canonical(parse(" {\"b\": [1, \"0x1\"],\n\"a\": {}, \"B\": true}")),
              R"({"B":true,"a":{},"b":[1,"0x1"]})");
    EXPECT_EQ(canonical(parse(R"([false, null, [], "\u0041\n\"\\\/é"])")), "[false,null,[],\"A\\n\\\"\\\\/é\"]");
}

} // namespace
} // namespace json
