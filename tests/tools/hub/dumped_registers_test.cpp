// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/any_register.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using ksltrace::Line;
using ksltrace::Point;

const Point kEntry{1, ksltrace::Kind::entry, "dump_reg_entry", "", {}};
const Point kRegister{2, ksltrace::Kind::step, "dump_reg_register", "", {}};
const Point kTwoBytes{3, ksltrace::Kind::step, "status_bytes_2", "", {}};
const Point kOther{4, ksltrace::Kind::step, "something_else", "", {}};

// A trace of the library that grows line by line.
class DumpedRegisters : public testing::Test {
public:
    DumpedRegisters &add(const Point &point, const std::vector<uint32_t> &values = {}, uint64_t lost_before = 0) {
        trace_kbuf_record &record = records_.emplace_back();
        record.value_count = static_cast<uint32_t>(values.size());
        std::copy(values.begin(), values.end(), record.values);
        points_.push_back(&point);
        lost_.push_back(lost_before);
        return *this;
    }

    DumpedRegisters &add_register(uint32_t page, uint32_t first_byte) {
        return add(kRegister, {page, 0x10, 2}).add(kTwoBytes, {first_byte, 0x64});
    }

    auto find() const {
        ksltrace::Trace trace;
        for (size_t i = 0; i < records_.size(); ++i) {
            Line line;
            line.record = &records_[i];
            line.point = points_[i];
            line.lost_before = lost_[i];
            trace.lines.push_back(line);
        }
        return kslctl::hub::dumped_registers(trace);
    }

private:
    std::vector<trace_kbuf_record> records_;
    std::vector<const Point *> points_;
    std::vector<uint64_t> lost_;
};

TEST_F(DumpedRegisters, AreInTheTraceInTheirOrder) {
    const auto found = add(kEntry).add_register(0x34, 0x20).add(kOther).add_register(0x35, 0x21).find();
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 2U);
    EXPECT_EQ((*found)[0].page, 0x34U);
    EXPECT_EQ((*found)[0].offset, 0x10U);
    EXPECT_EQ((*found)[0].length, 2U);
    EXPECT_EQ(*(*found)[0].bytes, (Bytes{0x20, 0x64}));
    EXPECT_EQ((*found)[1].page, 0x35U);
    EXPECT_EQ(*(*found)[1].bytes, (Bytes{0x21, 0x64}));
}

TEST_F(DumpedRegisters, OnlyTheLastDumpCounts) {
    const auto found = add(kEntry).add_register(1, 1).add(kEntry).add_register(2, 2).find();
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 1U);
    EXPECT_EQ(found->front().page, 2U);
}

TEST_F(DumpedRegisters, WithoutItsEntryThereIsNone) {
    EXPECT_FALSE(find());
    EXPECT_FALSE(add_register(1, 1).find());
}

TEST_F(DumpedRegisters, ADumpWithoutRegistersIsNone) {
    EXPECT_FALSE(add(kEntry).add(kOther).find());
}

TEST_F(DumpedRegisters, WhatIsLostWithinMakesTheDumpUseless) {
    EXPECT_FALSE(add(kEntry).add_register(1, 1).add(kRegister, {2, 0x10, 2}, 1).add(kTwoBytes, {1, 2}).find());
}

TEST_F(DumpedRegisters, WhatIsLostBetweenRegisterAndBytesMakesTheDumpUseless) {
    EXPECT_FALSE(add(kEntry).add(kRegister, {2, 0x10, 2}).add(kTwoBytes, {1, 2}, 1).find());
}

TEST_F(DumpedRegisters, WhatIsLostBeforeDoesNotMatter) {
    EXPECT_TRUE(add(kOther).add(kEntry, {}, 7).add_register(1, 1).find());
}

TEST_F(DumpedRegisters, EachNeedsItsBytes) {
    EXPECT_FALSE(add(kEntry).add(kRegister, {2, 0x10, 2}).find());
}

TEST_F(DumpedRegisters, EachNeedsAsManyBytesAsItHas) {
    EXPECT_FALSE(add(kEntry).add(kRegister, {2, 0x10, 3}).add(kTwoBytes, {1, 2}).find());
}

TEST_F(DumpedRegisters, BytesAreInTheNextRecord) {
    EXPECT_FALSE(add(kEntry).add(kRegister, {2, 0x10, 2}).add(kOther, {1, 2}).find());
}

using Dump = hub_test::HubTest;

TEST_F(Dump, ReadsElevenRegisters) {
    open();
    Failures failures;
    const Fact<std::vector<Reading>> found = dump_registers(0, failures);
    EXPECT_TRUE(failures.empty());
    ASSERT_TRUE(found.is_read());
    ASSERT_EQ(found->size(), 11U);
    EXPECT_EQ(found->at(1).page, 0x01U);
    EXPECT_EQ(found->at(1).length, 6U);
}

TEST_F(Dump, AFailureLeavesNone) {
    open("get_multireg code=17");
    Failures failures;
    const Fact<std::vector<Reading>> found = dump_registers(0, failures);
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0], (Failure{0, "dbg_ksl_dump_reg", "dumped registers", 17}));
    EXPECT_EQ(*found.failure(), failures[0]);
}

} // namespace
