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
    add_catalogue_text("file", text, read);
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
    add_catalogue_text("file", render_catalogue(library_catalogue()), read);
    const Catalogue moved = std::move(read);
    EXPECT_EQ(moved.find(0x01010001)->name, "lower_library_bound");
    EXPECT_EQ(moved.find(0x01010001)->text, "lower library opened");
}

std::string problem_of(const std::string &text) {
    Catalogue catalogue;
    try {
        add_catalogue_text("f.json", text, catalogue);
    } catch (const CatalogueError &error) {
        return error.what();
    }
    return "none";
}

std::string with_point(const std::string &point) {
    return R"({"schema": "ksl.trace-catalogue/1", "points": [)" + point + "]}";
}

TEST(CatalogueFile, ProblemsAreNamedWithTheirPlace) {
    EXPECT_EQ(
        problem_of("{]"),
        "f.json: not valid JSON: parse error at line 1, column 2: syntax error while parsing object key - unexpected "
        "']'; expected string literal");
    EXPECT_EQ(problem_of("[1e999]"), "f.json: not valid JSON: number overflow parsing '1e999'");
    EXPECT_EQ(problem_of("[]"), "f.json: \"schema\" is missing");
    EXPECT_EQ(problem_of(R"({"schema": 1})"), "f.json: \"schema\" is no text");
    EXPECT_EQ(problem_of(R"({"schema": "ksl.trace-catalogue/2"})"),
              "f.json: \"schema\" is not \"ksl.trace-catalogue/1\"");
    EXPECT_EQ(problem_of(R"({"schema": "ksl.trace-catalogue/1"})"), "f.json: \"points\" is missing");
    EXPECT_EQ(problem_of(R"({"schema": "ksl.trace-catalogue/1", "points": 1})"), "f.json: \"points\" is no list");
    EXPECT_EQ(problem_of(with_point("1")), "f.json: points[0]: \"identifier\" is missing");
    for (const char *const identifier : {"1", "0x", "0xg", "0x123456789", "0x1 ", "-0x1"}) {
        EXPECT_EQ(problem_of(with_point(R"({"identifier": ")" + std::string(identifier) + R"("})")),
                  "f.json: points[0]: \"" + std::string(identifier) + "\" is no identifier; one looks like 0x80000001");
    }
    const std::string begin = R"({"identifier": "0x80000001", )";
    EXPECT_EQ(problem_of(with_point(begin + R"("kind": "leap"})")),
              "f.json: points[0]: there is no kind \"leap\"; it is entry, exit, failure, step or elapsed");
    EXPECT_EQ(problem_of(with_point(begin + R"("kind": "step", "name": "1st"})")),
              "f.json: points[0]: \"1st\" is no name: letters, digits and _ are, with no digit first");
    const std::string point = begin + R"("kind": "step", "name": "a_1", "text": "t", "values": )";
    EXPECT_EQ(problem_of(with_point(point + "{}}")), "f.json: points[0]: \"values\" is no list of up to 9 values");
    EXPECT_EQ(problem_of(with_point(point + "[1,2,3,4,5,6,7,8,9,0]}")),
              "f.json: points[0]: \"values\" is no list of up to 9 values");
    EXPECT_EQ(problem_of(with_point(point + R"([{"name": "v", "type": "int"}, {"name": "v", "type": "float"}]})")),
              "f.json: points[0].values[1]: there is no type \"float\"; it is decimal, int, hex, address or byte");
    EXPECT_EQ(problem_of(with_point(point + "[]}, " + point + "[]}")),
              "f.json: points[1]: the identifier 0x80000001 is there twice");
    EXPECT_EQ(problem_of(with_point(point + "[]}")), "none");
}

TEST(CatalogueFile, ThatCannotBeReadIsNamed) {
    Catalogue catalogue;
    for (const auto &[path, reason] : {std::pair{"/nowhere", "No such file or directory"}, {"/", "Is a directory"}}) {
        try {
            add_catalogue_file(path, catalogue);
            ADD_FAILURE() << path;
        } catch (const CatalogueError &error) {
            EXPECT_EQ(error.what(), std::string("the catalogue ") + path + " cannot be read: " + reason);
        }
    }
}

} // namespace
