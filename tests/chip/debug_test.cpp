// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "chip/trace_points.h"

#include <array>

namespace ksl::test {
namespace {

// The record of a dump of `bytes`.
Call dump(const Bytes &bytes) {
    const std::array<TracePoint, 8> by_length{
        points::status_bytes_1, points::status_bytes_2, points::status_bytes_3, points::status_bytes_4,
        points::status_bytes_5, points::status_bytes_6, points::status_bytes_7, points::status_bytes_8,
    };
    if (bytes.empty() || bytes.size() > 8) {
        return record(points::status_bytes_unsupported);
    }
    return record(by_length[bytes.size() - 1], std::vector<uint32_t>(bytes.begin(), bytes.end()));
}

// ---- Any register ----

class AnyRegister : public Opened {
protected:
    const Bytes content{0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8, 0x09};
    Output out;

    Bytes first(uint32_t length) const { return {content.begin(), content.begin() + length}; }
};

TEST_F(AnyRegister, IsReadAtItsLowBytes) {
    platform.registers[{0x34, 0x02}] = content;
    for (uint32_t length = 0; length <= 9; ++length) {
        SCOPED_TRACE(length);
        Output fresh;
        EXPECT_EQ(dbg_ksl_get_reg(0x105, 0x134, 0x102, length, fresh), 0);
        EXPECT_TRUE(fresh.holds(first(length)));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::get_reg_entry, 0x105, 0x134, 0x102, length),
                                       getreg(5, 0x34, 0x02, length),
                                       dump(first(length)),
                                       record(points::get_reg_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(AnyRegister, AFailedReadIsNotDumped) {
    platform.registers[{0x34, 0x02}] = content;
    for (const int32_t code : kFailureCodes) {
        for (const bool delivers : {false, true}) {
            platform.failing_reads_deliver = delivers;
            platform.failures[1] = code;
            Output fresh;
            EXPECT_EQ(dbg_ksl_get_reg(0x105, 0x134, 0x102, 4, fresh), code);
            EXPECT_TRUE(fresh.holds(delivers ? first(4) : Bytes{}));
            EXPECT_EQ(platform.take(), (Calls{
                                           stamp_start(),
                                           record(points::get_reg_entry, 0x105, 0x134, 0x102, 4),
                                           getreg(5, 0x34, 0x02, 4),
                                           record(points::get_reg_failed, 0x105, 0x134, 0x102, 4),
                                           record(points::get_reg_exit, code),
                                           stamp_end(),
                                       }));
        }
    }
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(dbg_ksl_get_reg(1, 2, 3, 4, out), -1);
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(platform.take(),
              (Calls{stamp_start(), record(points::get_reg_entry, 1, 2, 3, 4), lookup_missing("hwa_getreg"),
                     record(points::getreg_missing), record(points::get_reg_failed, 1, 2, 3, 4),
                     record(points::get_reg_exit, -1), stamp_end()}));
}

TEST_F(AnyRegister, IsDumpedAndThenWrittenAtItsLowBytes) {
    for (uint32_t length = 0; length <= 9; ++length) {
        SCOPED_TRACE(length);
        EXPECT_EQ(dbg_ksl_set_reg(0x105, 0x134, 0x102, length, content.data()), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_reg_entry, 0x105, 0x134, 0x102, length),
                                       dump(first(length)),
                                       setreg(5, 0x34, 0x02, first(length)),
                                       record(points::set_reg_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(AnyRegister, AFailedWriteIsDumpedToo) {
    for (const int32_t code : kFailureCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(dbg_ksl_set_reg(0x105, 0x134, 0x102, 4, content.data()), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_reg_entry, 0x105, 0x134, 0x102, 4),
                                       dump(first(4)),
                                       setreg(5, 0x34, 0x02, first(4)),
                                       record(points::set_reg_failed, 0x105, 0x134, 0x102, 4),
                                       record(points::set_reg_exit, code),
                                       stamp_end(),
                                   }));
    }
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(dbg_ksl_set_reg(1, 2, 3, 4, content.data()), -1);
    EXPECT_EQ(platform.take(),
              (Calls{stamp_start(), record(points::set_reg_entry, 1, 2, 3, 4), dump(first(4)),
                     lookup_missing("hwa_setreg"), record(points::setreg_missing),
                     record(points::set_reg_failed, 1, 2, 3, 4), record(points::set_reg_exit, -1), stamp_end()}));
}

// ---- The dump ----

struct Dumped {
    uint32_t page, offset, length;
};

const Dumped kDumped[] = {
    {0x00, 0x00, 1}, {0x01, 0x00, 6}, {0x02, 0x06, 4}, {0x08, 0x32, 3}, {0x32, 0x00, 1}, {0x32, 0x00, 1},
    {0x34, 0x00, 1}, {0x34, 0x01, 1}, {0x34, 0x02, 1}, {0x34, 0x07, 1}, {0x34, 0x08, 1},
};

class RegisterDump : public Opened {
protected:
    RegisterDump() {
        platform.on_get_multireg = [this](ksl_reg_request *list, uint32_t count) {
            requests.assign(list, list + count);
            batch = entry_point("hwa_get_multireg", {2, whole_address(list), count});
            for (uint32_t i = 0; i < count; ++i) {
                for (uint32_t byte = 0; byte < 8; ++byte) {
                    list[i].data[byte] = content(i, byte);
                }
            }
        };
    }

    static uint8_t content(uint32_t row, uint32_t byte) { return static_cast<uint8_t>(0x80 + row * 8 + byte); }

    static Calls dumps() {
        Calls calls;
        for (uint32_t i = 0; i < std::size(kDumped); ++i) {
            Bytes bytes;
            for (uint32_t byte = 0; byte < kDumped[i].length; ++byte) {
                bytes.push_back(content(i, byte));
            }
            calls +=
                {record(points::dump_reg_register, kDumped[i].page, kDumped[i].offset, kDumped[i].length), dump(bytes)};
        }
        return calls;
    }

    std::vector<ksl_reg_request> requests;
    Call batch;
};

TEST_F(RegisterDump, ReadsElevenRegistersInOneBatch) {
    EXPECT_EQ(dbg_ksl_dump_reg(0x102), 0);
    EXPECT_EQ(platform.take(), ((Calls{stamp_start(), record(points::dump_reg_entry, 0x102), batch} += dumps()) +=
                                {record(points::dump_reg_exit, 0), stamp_end()}));
    ASSERT_EQ(requests.size(), std::size(kDumped));
    for (size_t i = 0; i < requests.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(requests[i].page, kDumped[i].page);
        EXPECT_EQ(requests[i].offset, kDumped[i].offset);
        EXPECT_EQ(requests[i].length, kDumped[i].length);
        EXPECT_EQ(Bytes(requests[i].reserved, requests[i].reserved + 2), Bytes(2, 0));
        EXPECT_EQ(Bytes(requests[i].data, requests[i].data + 8), Bytes(8, 0));
    }
}

// The dump shows the places of the answer, not those of the request.
TEST_F(RegisterDump, TracesTheRegistersOfTheAnswer) {
    platform.on_get_multireg = [this](ksl_reg_request *list, uint32_t count) {
        batch = entry_point("hwa_get_multireg", {2, whole_address(list), count});
        list[10] = {0x77, 0x66, {}, 2, {0xA1, 0xA2}};
    };
    EXPECT_EQ(dbg_ksl_dump_reg(2), 0);
    const Calls calls = platform.take();
    ASSERT_GE(calls.size(), 4u);
    EXPECT_EQ((Calls{calls.end() - 4, calls.end()}),
              (Calls{record(points::dump_reg_register, 0x77, 0x66, 2), dump({0xA1, 0xA2}),
                     record(points::dump_reg_exit, 0), stamp_end()}));
}

TEST_F(RegisterDump, AFailedBatchDumpsNothing) {
    for (const int32_t code : kFailureCodes) {
        platform.result = code;
        EXPECT_EQ(dbg_ksl_dump_reg(2), code);
        EXPECT_EQ(platform.take(),
                  (Calls{stamp_start(), record(points::dump_reg_entry, 2), batch, record(points::dump_reg_failed, code),
                         record(points::dump_reg_exit, code), stamp_end()}));
    }
}

TEST_F(RegisterDump, WithoutTheBatchReadsOneAfterTheOther) {
    platform.missing_entry_points = {"hwa_get_multireg"};
    for (uint32_t i = 0; i < std::size(kDumped); ++i) {
        Bytes bytes;
        for (uint32_t byte = 0; byte < kDumped[i].length; ++byte) {
            bytes.push_back(content(i, byte));
        }
        platform.successive_reads.push_back(bytes);
    }
    Calls expected{stamp_start(), record(points::dump_reg_entry, 0x102), lookup_missing("hwa_get_multireg")};
    for (const Dumped &row : kDumped) {
        expected.push_back(getreg(2, row.page, row.offset, row.length));
    }
    expected += dumps();
    EXPECT_EQ(dbg_ksl_dump_reg(0x102), 0);
    EXPECT_EQ(platform.take(), expected += Calls({record(points::dump_reg_exit, 0), stamp_end()}));
}

// Only the last of the single reads decides: registers that failed before are dumped as zeros.
TEST_F(RegisterDump, WithoutTheBatchTheLastReadDecides) {
    platform.missing_entry_points = {"hwa_get_multireg"};
    platform.failures[3] = 5;
    EXPECT_EQ(dbg_ksl_dump_reg(2), 0);
    Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 3u + 11 + 22 + 2);
    EXPECT_EQ(calls[14 + 5].text, dump({0, 0, 0, 0}).text);

    platform.failures = {{11, -5}};
    EXPECT_EQ(dbg_ksl_dump_reg(2), -5);
    calls = platform.take();
    ASSERT_EQ(calls.size(), 3u + 11 + 3);
    EXPECT_EQ(calls[14].text, record(points::dump_reg_failed, -5).text);

    platform.missing_entry_points.insert("hwa_getreg");
    EXPECT_EQ(dbg_ksl_dump_reg(2), -1);
}

} // namespace
} // namespace ksl::test
