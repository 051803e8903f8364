// SPDX-License-Identifier: Apache-2.0
// What is asked of values, and how a wrong one is named.
#include "json/node.h"

#include "support.h"
#include "json/hex.h"

namespace json {
namespace {

using json_test::problem_of;
using testing::ElementsAre;
using testing::IsEmpty;

// The value of the key "a", of which `ask` asks something.
template <typename Ask>
std::string problem_with(const std::string &value, Ask ask) {
    const Value document = parse("{\"a\":\n " + value + "}");
    return problem_of([&] { ask(Node(document).required("a")); });
}

TEST(JsonNode, NamesThePlaceAndThePath) {
    const Value document = parse("{\"a\": [0,\n{\"b\": 5}]}");
    const Node element = Node(document).list("a").at(1);
    EXPECT_EQ(problem_of([&] { element.refuse("is odd"); }), "line 2, column 1: a[1] is odd");
    EXPECT_EQ(problem_of([&] { element.required("b").refuse("is odd"); }), "line 2, column 7: a[1].b is odd");
    EXPECT_EQ(problem_of([&] { element.required("c"); }), "line 2, column 1: a[1] lacks the key \"c\"");
    EXPECT_EQ(problem_of([&] { Node(document).required("c"); }), "line 1, column 1: the document lacks the key \"c\"");
}

TEST(JsonNode, RefusesUnknownKeys) {
    const Value document = parse("{\"a\": 1,\n \"\\u001Bb\": 2}");
    EXPECT_EQ(problem_of([&] { Node(document).only({"a"}); }),
              "line 2, column 2: the document has the unknown key \"?b\"");
    EXPECT_EQ(problem_of([&] {
                  Node(document).only({"a",
                                       "\x1B"
                                       "b",
                                       "c"});
              }),
              "no problem");
    EXPECT_EQ(problem_with("1", [](const Node &node) { node.only({}); }), "line 2, column 2: a must be an object");
}

TEST(JsonNode, ReadsNumbersWithinTheirLimits) {
    const Value document =
        parse(R"([3, 7, "0x5", "0x0007", 2, 8, -3, 5.0, null, "5", "0x", "0xg", "0x10000000000000005",
                                     18446744073709551621, true, [], {}])");
    const std::vector<Node> nodes = Node(document).list();
    EXPECT_EQ(nodes[0].number(3, 7), 3U);
    EXPECT_EQ(nodes[1].number(3, 7), 7U);
    EXPECT_EQ(nodes[2].number(3, 7), 5U);
    EXPECT_EQ(nodes[3].number(3, 7), 7U);
    for (size_t i = 4; i < nodes.size(); ++i) {
        EXPECT_THAT(problem_of([&] { nodes[i].number(3, 7); }), testing::EndsWith("must be a number from 3 to 7")) << i;
    }
}

TEST(JsonNode, RefusesValuesOfAnotherKind) {
    EXPECT_EQ(problem_with("1", [](const Node &node) { node.boolean(); }), "line 2, column 2: a must be true or false");
    EXPECT_EQ(problem_with("1", [](const Node &node) { node.text(); }), "line 2, column 2: a must be a string");
    EXPECT_EQ(problem_with("1", [](const Node &node) { node.list(); }), "line 2, column 2: a must be a list");
    EXPECT_EQ(problem_with("1", [](const Node &node) { node.line(); }), "line 2, column 2: a must be a string");
    EXPECT_EQ(problem_with("1", [](const Node &node) { node.one_of({"x"}); }), "line 2, column 2: a must be \"x\"");
}

TEST(JsonNode, RefusesWordsThatAreNoneOfTheChoice) {
    const auto choose = [](const Node &node) { EXPECT_EQ(node.one_of({"x", "y", "z"}), 1U); };
    EXPECT_EQ(problem_with("\"y\"", choose), "no problem");
    EXPECT_EQ(problem_with("\"Y\"", choose), "line 2, column 2: a must be \"x\", \"y\" or \"z\"");
    EXPECT_EQ(problem_with("\"\"",
                           [](const Node &node) {
                               node.one_of({"x", "y"});
                           }),
              "line 2, column 2: a must be \"x\" or \"y\"");
}

TEST(JsonNode, RefusesWhatATerminalWouldNotShowAsOneLine) {
    const auto line = [](const Node &node) { node.line(); };
    EXPECT_EQ(problem_with("\"north \xC3\xA4 \xE2\x82\xAC\"", line), "no problem");
    for (const char *const text : {"a\\nb", "\\u001B", "\\u007F", "\\u009B", "\\t", "\\u0000"}) {
        EXPECT_EQ(problem_with("\"" + std::string(text) + "\"", line), "line 2, column 2: a must be one line of text");
    }
}

TEST(JsonNode, RefusesListsThatAreTooLong) {
    EXPECT_EQ(problem_with("[1, 2]", [](const Node &node) { EXPECT_EQ(node.list(2).size(), 2U); }), "no problem");
    EXPECT_EQ(problem_with("[1, 2, 3]", [](const Node &node) { node.list(2); }),
              "line 2, column 2: a has 3 elements, at most 2 are possible");
    const Value document = parse("{}");
    EXPECT_THAT(Node(document).list("b"), IsEmpty());
}

TEST(JsonNode, RefusesANumberThatAnEarlierElementHas) {
    const Value document = parse("[{\"n\": 4}, {\"n\": 5},\n{\"n\": \"0x4\"}]");
    std::set<unsigned> seen;
    const std::vector<Node> nodes = Node(document).list();
    EXPECT_EQ(nodes[0].identity("n", 0, 9, seen), 4U);
    EXPECT_EQ(nodes[1].identity("n", 0, 9, seen), 5U);
    EXPECT_EQ(problem_of([&] { nodes[2].identity("n", 0, 9, seen); }),
              "line 2, column 7: [2].n names n 4 a second time");
}

TEST(HexBytes, ArePairsOfDigits) {
    EXPECT_THAT(hex_bytes("00 fF1a", ' '), ElementsAre(0x00, 0xFF, 0x1A));
    EXPECT_THAT(hex_bytes("02:00", ':'), ElementsAre(0x02, 0x00));
    for (const char *const text : {"", "0", "0g", " 00", "00 ", "00  00", "00:00", "000", "-1", "0x"}) {
        EXPECT_THAT(hex_bytes(text, ' '), IsEmpty()) << text;
    }
}

} // namespace
} // namespace json
