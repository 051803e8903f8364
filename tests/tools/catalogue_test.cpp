// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/catalogue_file.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace {

using namespace ksltrace;

TEST(Catalogue, KnowsTheTracePointsOfTheLibrary) {
    const Point *const entry = library_catalogue().find(0x02010051);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->identifier, 0x02010051U);
    EXPECT_EQ(entry->kind, Kind::entry);
    EXPECT_EQ(entry->name, "read_link_status_reg_entry");
    EXPECT_EQ(entry->text, "ksl_read_link_status_reg");
    ASSERT_EQ(entry->values.size(), 1U);
    EXPECT_EQ(entry->values[0].name, "chip");
    EXPECT_EQ(entry->values[0].type, ValueType::decimal);

    const Point *const failure = library_catalogue().find(0x01030001);
    ASSERT_NE(failure, nullptr);
    EXPECT_EQ(failure->kind, Kind::failure);
    ASSERT_EQ(failure->values.size(), 3U);
    EXPECT_EQ(failure->values[1].name, "offset");
    EXPECT_EQ(failure->values[1].type, ValueType::hex);
}

TEST(Catalogue, DoesNotKnowOtherIdentifiers) {
    EXPECT_EQ(library_catalogue().find(0), nullptr);
    EXPECT_EQ(library_catalogue().find(0x02010050), nullptr);
}

TEST(Catalogue, ReadsEveryValueType) {
    const Row row{1, Kind::step, "types", " a b:int  c:hex d:address e:byte ", "text"};
    const Catalogue catalogue({&row, 1});
    const std::vector<Value> &values = catalogue.find(1)->values;
    ASSERT_EQ(values.size(), 5U);
    EXPECT_EQ(values[0].type, ValueType::decimal);
    EXPECT_EQ(values[1].type, ValueType::signed_int);
    EXPECT_EQ(values[2].type, ValueType::hex);
    EXPECT_EQ(values[3].type, ValueType::address);
    EXPECT_EQ(values[4].type, ValueType::byte);
    EXPECT_EQ(values[4].name, "e");
}

TEST(Catalogue, KeepsTheFirstPointOfAnIdentifier) {
    const Row first{1, Kind::step, "first", "", "text"};
    const Row rows[] = {{1, Kind::step, "second", "", "text"}, {2, Kind::step, "third", "", "text"}};
    Catalogue catalogue({&first, 1});
    catalogue.add(rows);
    EXPECT_EQ(catalogue.find(1)->name, "first");
    EXPECT_EQ(catalogue.find(2)->name, "third");
}

TEST(Catalogue, RefusesATypeThatNobodyCanShow) {
    const Row row{1, Kind::step, "types", "a:float", "text"};
    EXPECT_THROW(Catalogue({&row, 1}), std::invalid_argument);
}

TEST(CatalogueFile, HasWhatTheTablesHave) {
    const std::string text = render_catalogue(library_catalogue());
    Catalogue read;
    add_catalogue_text(text, read);
    EXPECT_EQ(read.sorted().size(), library_rows().size());
    EXPECT_EQ(render_catalogue(read), text);
    ASSERT_NE(read.find(0x02010052), nullptr);
    EXPECT_EQ(read.find(0x02010052)->name, "read_link_status_reg_exit");
    EXPECT_EQ(read.find(0x02010052)->text, "ksl_read_link_status_reg");
    EXPECT_EQ(read.find(0x02010052)->kind, Kind::exit);
    EXPECT_EQ(read.find(0x02010052)->values[0].type, ValueType::address);
    EXPECT_EQ(read.find(0x02010052)->values[1].type, ValueType::signed_int);
}

TEST(CatalogueFile, OutlivesBeingMoved) {
    Catalogue read;
    add_catalogue_text(render_catalogue(library_catalogue()), read);
    const Catalogue moved = std::move(read);
    EXPECT_EQ(moved.find(0x01010001)->name, "lower_library_bound");
    EXPECT_EQ(moved.find(0x01010001)->text, "lower library opened");
}

std::string problem_of(const std::string &text) {
    Catalogue catalogue;
    try {
        add_catalogue_text(text, catalogue);
    } catch (const CatalogueError &error) {
        return error.what();
    }
    return "none";
}

std::string with_point(const std::string &point) {
    return R"({"schema": "ksl.trace-catalogue/1", "points": [)" + point + "]}";
}

TEST(CatalogueFile, ProblemsAreNamedWithTheirPlace) {
    EXPECT_EQ(problem_of("{]"), "line 1, column 2: not valid JSON: syntax error while parsing object key - unexpected "
                                "']'; expected string literal");
    EXPECT_EQ(problem_of("[]"), "line 1, column 1: the document must be an object");
    EXPECT_EQ(problem_of("{}"), "line 1, column 1: the document lacks the key \"schema\"");
    EXPECT_EQ(problem_of(R"({"schema": 1})"), "line 1, column 12: schema must be \"ksl.trace-catalogue/1\"");
    EXPECT_EQ(problem_of(R"({"schema": "ksl.trace-catalogue/2"})"),
              "line 1, column 12: schema must be \"ksl.trace-catalogue/1\"");
    EXPECT_EQ(problem_of(R"({"schema": "ksl.trace-catalogue/1"})"),
              "line 1, column 1: the document lacks the key \"points\"");
    EXPECT_EQ(problem_of("{\"schema\": \"ksl.trace-catalogue/1\",\n \"points\": 1}"),
              "line 2, column 12: points must be a list");
    EXPECT_EQ(problem_of("{\"schema\": \"ksl.trace-catalogue/1\",\n \"point\": []}"),
              "line 2, column 2: the document has the unknown key \"point\"");
    EXPECT_EQ(problem_of("{\"schema\": \"ksl.trace-catalogue/1\",\n \"schema\": 1}"),
              "line 2, column 2: the key \"schema\" is twice in one object");
}

// What is wrong with a point that has these members.
std::string words_about(const std::string &members) {
    const std::string problem = problem_of(with_point("{" + members + "}"));
    return problem.substr(problem.find(": ") + 2);
}

TEST(CatalogueFile, ProblemsOfPointsAreNamed) {
    EXPECT_EQ(problem_of(with_point("1")), "line 1, column 48: points[0] must be an object");
    EXPECT_EQ(words_about(""), "points[0] lacks the key \"identifier\"");
    EXPECT_EQ(words_about(R"("id": 1)"), "points[0] has the unknown key \"id\"");
    for (const char *const identifier :
         {R"("1")", R"("0x")", R"("0xg")", R"("0x123456789")", R"("0x1 ")", R"("-0x1")", "1"}) {
        EXPECT_EQ(words_about(R"("identifier": )" + std::string(identifier)),
                  "points[0].identifier must be a hexadecimal number of up to 32 bits, such as \"0x80000001\"");
    }
    const std::string begin = R"("identifier": "0x80000001", )";
    EXPECT_EQ(words_about(begin + R"("kind": "leap")"),
              R"(points[0].kind must be "entry", "exit", "failure", "step" or "elapsed")");
    for (const char *const name : {"1st", "", "a b", "a-b", "a\\n"}) {
        EXPECT_EQ(words_about(begin + R"("kind": "step", "name": ")" + name + "\""),
                  "points[0].name must be a name of letters, digits and \"_\" that does not begin with a digit");
    }
    const std::string named = begin + R"("kind": "step", "name": "a_1", )";
    EXPECT_EQ(words_about(named + R"("text": "")"), "points[0].text must be one line of text");
    for (const char *const mark : {"001B[2J", "0085", "009B", "061C", "200E", "202E", "2066", "2069"}) {
        EXPECT_EQ(words_about(named + R"("text": "a\u)" + mark + "\""), "points[0].text must be one line of text");
    }
    const std::string point = named + R"("text": "t", "values": )";
    EXPECT_EQ(words_about(point + "{}"), "points[0].values must be a list");
    EXPECT_EQ(words_about(point + "[1,2,3,4,5,6,7,8,9,0]"), "points[0].values has 10 elements, at most 9 are possible");
    EXPECT_EQ(words_about(point + R"([{"name": "v", "type": "int"}, {"name": "w", "type": "float"}])"),
              R"(points[0].values[1].type must be "decimal", "int", "hex", "address" or "byte")");
    EXPECT_EQ(words_about(point + R"([{"name": "v", "type": "int"}, {"name": "v", "type": "hex"}])"),
              R"(points[0].values[1].name is "v" as that of an earlier value)");
    EXPECT_EQ(words_about(point + R"([{"name": "v", "type": "int", "unit": "s"}])"),
              "points[0].values[0] has the unknown key \"unit\"");
    EXPECT_EQ(words_about(point + "[]}, {" + point + "[]"),
              "points[1].identifier names 0x80000001, which an earlier point names");
    EXPECT_EQ(problem_of(with_point("{" + point + "[]}")), "none");
}

// Each of these once ended the program, or filled the memory.
TEST(CatalogueFile, EndlessDocumentsAreRefused) {
    EXPECT_EQ(problem_of(std::string(160 << 10, '[')),
              "line 1, column 17: lists and objects are nested more than 16 deep");
    Catalogue catalogue;
    try {
        add_catalogue_file("/dev/zero", catalogue);
        ADD_FAILURE();
    } catch (const CatalogueError &error) {
        EXPECT_STREQ(error.what(), "/dev/zero is longer than 4 MiB, the most that is read");
    }
}

TEST(CatalogueFile, ThatCannotBeReadIsNamed) {
    Catalogue catalogue;
    for (const auto &[path, reason] : {std::pair{"/nowhere", "No such file or directory"}, {"/", "Is a directory"}}) {
        try {
            add_catalogue_file(path, catalogue);
            ADD_FAILURE() << path;
        } catch (const CatalogueError &error) {
            EXPECT_EQ(error.what(), std::string(path) + " cannot be read: " + reason);
        }
    }
}

} // namespace
