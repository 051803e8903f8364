// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/catalogue.h"

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

TEST(Catalogue, RefusesATypeThatNobodyCanShow) {
    const Row row{1, Kind::step, "types", "a:float", "text"};
    EXPECT_THROW(Catalogue({&row, 1}), std::invalid_argument);
}

} // namespace
