// SPDX-License-Identifier: Apache-2.0
#include "mib_counters.h"
#include "output.h"
#include "scripted_test.h"

#include "forwarding/trace_points.h"

#include <cstring>

namespace ksl::test {
namespace {

// Contents that differ by page, offset and byte.
uint8_t content(uint32_t page, uint32_t offset, uint32_t byte) {
    return static_cast<uint8_t>(page * 31 + offset * 5 + byte * 67);
}

uint32_t content_word(uint32_t page, uint32_t offset, uint32_t byte) {
    uint32_t word = 0;
    for (uint32_t i = 0; i < 4; ++i) {
        word = word << 8 | content(page, offset, byte + i);
    }
    return word;
}

class Mib : public Opened {
protected:
    Mib() {
        std::memset(blocks, kUntouched, sizeof blocks);
        platform.on_get_multireg = [this](ksl_reg_request *list, uint32_t count) {
            address_of_list = list;
            requests.assign(list, list + count);
            for (uint32_t i = 0; i < count; ++i) {
                for (uint32_t byte = 0; byte < list[i].length; ++byte) {
                    list[i].data[byte] = content(list[i].page, list[i].offset, byte);
                }
            }
        };
    }

    // The block after the last one shows a write that goes too far.
    ksl_mib_port_block blocks[KSL_PORTS + 1];
    const void *address_of_list = nullptr;
    std::vector<ksl_reg_request> requests;

    Bytes bytes() const {
        const auto first = reinterpret_cast<const uint8_t *>(blocks);
        return {first, first + sizeof blocks};
    }

    // The blocks as they are once the given ports have been read into untouched ones.
    static Bytes filled(const std::vector<uint32_t> &ports) {
        Bytes expected(sizeof blocks, kUntouched);
        for (const uint32_t port : ports) {
            for (const RequestedCounter &row : kRequestedCounters) {
                for (uint32_t i = 0; i < row.length; ++i) {
                    expected[port * 96 + row.position + i] = content(0x50 + port, row.offset, i);
                }
            }
        }
        return expected;
    }

    Call batch(uint32_t chip) { return entry_point("hwa_get_multireg", {chip, whole_address(address_of_list), 22}); }

    Calls successful_read(uint32_t chip, uint32_t port) {
        Calls calls{stamp_start(), record(points::read_mib_counters_at_port_entry, chip, port), batch(chip & 0xFF)};
        for (const RequestedCounter &row : kRequestedCounters) {
            calls.push_back(record(points::read_mib_counters_at_port_counter, port,
                                   content_word(0x50 + port, row.offset, row.traced - row.position)));
        }
        return calls += {record(points::read_mib_counters_at_port_exit, 0), stamp_end()};
    }

    Calls failed_read(uint32_t chip, uint32_t port, int32_t code) {
        return {stamp_start(),
                record(points::read_mib_counters_at_port_entry, chip, port),
                batch(chip & 0xFF),
                record(points::read_mib_counters_at_port_read_failed, chip, address_of_list, 22, code),
                record(points::read_mib_counters_at_port_exit, code),
                stamp_end()};
    }

    Calls refused_output(uint32_t chip, uint32_t port) {
        return {stamp_start(), record(points::read_mib_counters_at_port_entry, chip, port),
                record(points::read_mib_counters_at_port_no_output), record(points::read_mib_counters_at_port_exit, -1),
                stamp_end()};
    }
};

TEST_F(Mib, APortIsReadInOneBatchOfClearedRequests) {
    EXPECT_EQ(ksl_read_MIB_counters_at_port(0x102, 5, blocks), 0);
    ASSERT_EQ(requests.size(), std::size(kRequestedCounters));
    for (size_t i = 0; i < requests.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(requests[i].page, 0x55);
        EXPECT_EQ(requests[i].offset, kRequestedCounters[i].offset);
        EXPECT_EQ(requests[i].length, kRequestedCounters[i].length);
        EXPECT_EQ(Bytes(requests[i].reserved, requests[i].reserved + 2), Bytes(2, 0));
        EXPECT_EQ(Bytes(requests[i].data, requests[i].data + 8), Bytes(8, 0));
    }
    EXPECT_EQ(platform.take(), successful_read(0x102, 5));
}

TEST_F(Mib, APortFillsItsOwnBlockAlone) {
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        SCOPED_TRACE(port);
        std::memset(blocks, kUntouched, sizeof blocks);
        EXPECT_EQ(ksl_read_MIB_counters_at_port(0, port, blocks), 0);
        EXPECT_EQ(bytes(), filled({port}));
        EXPECT_EQ(platform.take(), successful_read(0, port));
    }
}

TEST_F(Mib, TheFieldsOfABlockNameTheirRegisters) {
    EXPECT_EQ(ksl_read_MIB_counters_at_port(0, 0, blocks), 0);
    const ksl_mib_port_block &block = blocks[0];
    const std::map<uint32_t, const ksl_word *> fields{
        {0x7C, block.counter_7c},  {0x00, block.counter_00},  {0x18, &block.counter_18}, {0x88, &block.counter_88},
        {0x08, &block.counter_08}, {0x1C, &block.counter_1c}, {0x30, &block.counter_30}, {0x38, &block.counter_38},
        {0x50, &block.counter_50}, {0x70, &block.counter_70}, {0x74, &block.counter_74}, {0x78, &block.counter_78},
        {0x90, &block.counter_90}, {0x98, &block.counter_98}, {0x54, &block.counter_54}, {0x58, &block.counter_58},
        {0x5C, &block.counter_5c}, {0x60, &block.counter_60}, {0x64, &block.counter_64}, {0x68, &block.counter_68},
    };
    for (const auto &[offset, word] : fields) {
        const auto first = reinterpret_cast<const uint8_t *>(word);
        EXPECT_EQ(Bytes(first, first + 4), (Bytes{content(0x50, offset, 0), content(0x50, offset, 1),
                                                  content(0x50, offset, 2), content(0x50, offset, 3)}))
            << offset;
    }
}

TEST_F(Mib, AFailedBatchLeavesTheBlock) {
    for (const int32_t code : {9, -1, -7}) {
        platform.result = code;
        EXPECT_EQ(ksl_read_MIB_counters_at_port(0x102, 23, blocks), code);
        EXPECT_EQ(bytes(), filled({}));
        EXPECT_EQ(platform.take(), failed_read(0x102, 23, code));
    }
}

TEST_F(Mib, AMissingOutputIsRefusedFirst) {
    EXPECT_EQ(ksl_read_MIB_counters_at_port(1, 2, nullptr), -1);
    EXPECT_EQ(platform.take(), refused_output(1, 2));
    EXPECT_EQ(ksl_read_MIB_counters_at_port(1, 24, nullptr), -1);
    EXPECT_EQ(platform.take(), refused_output(1, 24));
}

TEST_F(Mib, APortAboveTheLastIsRefused) {
    for (const uint32_t port : {24u, 0x100u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_read_MIB_counters_at_port(1, port, blocks), -1);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_mib_counters_at_port_entry, 1, port),
                                          record(points::read_mib_counters_at_port_port_refused, port),
                                          record(points::read_mib_counters_at_port_exit, -1), stamp_end()}));
        EXPECT_EQ(bytes(), filled({}));
    }
}

TEST_F(Mib, WithoutTheBatchEveryCounterIsReadByItself) {
    platform.missing_entry_points = {"hwa_get_multireg"};
    for (const RequestedCounter &row : kRequestedCounters) {
        Bytes &bytes = platform.registers[{0x53, row.offset}];
        bytes.clear();
        for (uint32_t i = 0; i < row.length; ++i) {
            bytes.push_back(content(0x53, row.offset, i));
        }
    }
    EXPECT_EQ(ksl_read_MIB_counters_at_port(0, 3, blocks), 0);
    EXPECT_EQ(bytes(), filled({3}));
    const Calls calls = platform.take();
    EXPECT_EQ(calls[2].text, lookup_missing("hwa_get_multireg").text);
    for (size_t i = 0; i < std::size(kRequestedCounters); ++i) {
        EXPECT_EQ(calls[3 + i].text, getreg(0, 0x53, kRequestedCounters[i].offset, kRequestedCounters[i].length).text);
    }

    platform.missing_entry_points.insert("hwa_getreg");
    std::memset(blocks, kUntouched, sizeof blocks);
    EXPECT_EQ(ksl_read_MIB_counters_at_port(0, 3, blocks), -1);
    EXPECT_EQ(bytes(), filled({}));
}

// An answer is placed by its own offset and length, not by those of the request.
TEST_F(Mib, AnAnswerIsPlacedByItsOwnOffsetAndLength) {
    platform.on_get_multireg = [this](ksl_reg_request *list, uint32_t count) {
        address_of_list = list;
        for (uint32_t i = 0; i < count; ++i) {
            list[i].offset = 0xFC;
            list[i].data[0] = list[i].data[1] = list[i].data[2] = list[i].data[3] = 0x77;
        }
        list[2] = {0x50, 0x84, {}, 4, {1, 2, 3, 4, 5}};
        list[3] = {0x50, 0x10, {}, 4, {6, 7, 8, 9, 10}};
        list[4] = {0x50, 0x18, {}, 2, {11, 12, 13, 14}};
        list[5] = {0x50, 0x00, {}, 4, {15, 16, 17, 18, 19}};
        list[6] = {0x50, 0x1C, {}, 8, {20, 21, 22, 23, 24, 25, 26, 27}};
    };
    EXPECT_EQ(ksl_read_MIB_counters_at_port(0, 0, blocks), 0);
    Bytes expected = filled({});
    const auto place = [&](size_t position, const Bytes &what) {
        std::copy(what.begin(), what.end(), expected.begin() + static_cast<ptrdiff_t>(position));
    };
    place(28, {1, 2, 3, 4});
    place(32, {6, 7, 8, 9});
    place(16, {11, 12});
    place(8, {15, 16, 17, 18});
    place(36, {20, 21, 22, 23, 24, 25, 26, 27});
    EXPECT_EQ(bytes(), expected);

    Calls calls{stamp_start(), record(points::read_mib_counters_at_port_entry, 0, 0), batch(0)};
    const Call unplaced = record(points::read_mib_counters_at_port_unplaced);
    calls += {unplaced, unplaced};
    for (const uint32_t word : {0x01020304u, 0x06070809u, 0x0B0CEEEEu, 0xEEEEEEEEu, 0x14151617u}) {
        calls.push_back(record(points::read_mib_counters_at_port_counter, 0, word));
    }
    calls.insert(calls.end(), 15, unplaced);
    calls += {record(points::read_mib_counters_at_port_exit, 0), stamp_end()};
    EXPECT_EQ(platform.take(), calls);
}

// No register offset but those of the table has a place.
TEST_F(Mib, NoOtherOffsetHasAPlace) {
    std::set<uint32_t> placed{0x84, 0x10};
    for (const RequestedCounter &row : kRequestedCounters) {
        placed.insert(row.offset);
    }
    uint32_t offset = 0;
    platform.on_get_multireg = [&](ksl_reg_request *list, uint32_t count) {
        for (uint32_t i = 0; i < count; ++i) {
            list[i].offset = static_cast<uint8_t>(offset);
            list[i].length = 1;
        }
    };
    for (offset = 0; offset < 256; ++offset) {
        std::memset(blocks, kUntouched, sizeof blocks);
        ksl_read_MIB_counters_at_port(0, 0, blocks);
        EXPECT_EQ(bytes() != filled({}), placed.count(offset) == 1) << offset;
    }
}

// ---- All ports ----

TEST_F(Mib, AllPortsAreReadInTheirOrder) {
    EXPECT_EQ(ksl_read_MIB_counters(0x102, blocks), 0);
    Calls calls{record(points::read_mib_counters_entry, 0x102)};
    std::vector<uint32_t> all;
    for (uint32_t port = 0; port < 24; ++port) {
        calls += successful_read(0x102, port);
        all.push_back(port);
    }
    calls += {record(points::read_mib_counters_exit, 0), stamp_end()};
    EXPECT_EQ(platform.take(), calls);
    EXPECT_EQ(bytes(), filled(all));
}

TEST_F(Mib, AFailedPortHidesNoOtherAndOnlyTheLastOneDecides) {
    for (const uint32_t failing : {0u, 3u, 22u, 23u}) {
        SCOPED_TRACE(failing);
        std::memset(blocks, kUntouched, sizeof blocks);
        const auto answer = platform.on_get_multireg;
        platform.on_get_multireg = [&](ksl_reg_request *list, uint32_t count) {
            answer(list, count);
            platform.result = list[0].page == 0x50 + failing ? -6 : 0;
        };
        EXPECT_EQ(ksl_read_MIB_counters(1, blocks), failing == 23 ? -6 : 0);
        platform.on_get_multireg = answer;
        Calls calls{record(points::read_mib_counters_entry, 1)};
        std::vector<uint32_t> read;
        for (uint32_t port = 0; port < 24; ++port) {
            if (port == failing) {
                calls += failed_read(1, port, -6);
                calls.push_back(record(points::read_mib_counters_port_failed, 1, port, -6));
            } else {
                calls += successful_read(1, port);
                read.push_back(port);
            }
        }
        calls += {record(points::read_mib_counters_exit, failing == 23 ? -6 : 0), stamp_end()};
        EXPECT_EQ(platform.take(), calls);
        EXPECT_EQ(bytes(), filled(read));
    }
}

TEST_F(Mib, AMissingOutputFailsForEveryPort) {
    EXPECT_EQ(ksl_read_MIB_counters(1, nullptr), -1);
    Calls calls{record(points::read_mib_counters_entry, 1)};
    for (uint32_t port = 0; port < 24; ++port) {
        calls += refused_output(1, port);
        calls.push_back(record(points::read_mib_counters_port_failed, 1, port, -1));
    }
    calls += {record(points::read_mib_counters_exit, -1), stamp_end()};
    EXPECT_EQ(platform.take(), calls);
}

// Its run time begins with the last port's start.
TEST_F(Mib, TheRunTimeOfAllPortsIsMeasuredFromTheLastOne) {
    ksl_enable_time();
    platform.clock_step = 31;
    EXPECT_EQ(ksl_read_MIB_counters(0, blocks), 0);
    EXPECT_EQ(platform.take().back().text, record(points::elapsed_time, 62).text);
}

} // namespace
} // namespace ksl::test
