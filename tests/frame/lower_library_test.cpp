// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include <array>

namespace ksl::test {
namespace {

using LowerLibrary = Opened;

uint64_t whole(const void *pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

TEST_F(LowerLibrary, GetregPassesLowBytesAndTheWholeLength) {
    platform.registers[{0x01, 0xFF}] = {0xAB, 0xCD};
    uint8_t bytes[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(__hwa_getreg(0x1FF, 0x101, 0x1FF, 2, bytes), 0);
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0xAB, 0xCD, 0xEE, 0xEE}));
    EXPECT_EQ(platform.take(), (Calls{getreg(0xFF, 0x01, 0xFF, 2)}));

    std::array<uint8_t, 0x104> many{};
    EXPECT_EQ(__hwa_getreg(0, 0, 0, 0x104, many.data()), 0);
    EXPECT_EQ(platform.take(), (Calls{getreg(0, 0, 0, 0x104)}));
}

TEST_F(LowerLibrary, SetregPassesLowBytesAndTheWholeLength) {
    const uint8_t bytes[3] = {0x12, 0x34, 0x56};
    EXPECT_EQ(__hwa_setreg(0x1FF, 0x101, 0x1FF, 3, bytes), 0);
    EXPECT_EQ(platform.take(), (Calls{setreg(0xFF, 0x01, 0xFF, {0x12, 0x34, 0x56})}));

    const std::array<uint8_t, 0x104> many{};
    EXPECT_EQ(__hwa_setreg(0, 0, 0, 0x104, many.data()), 0);
    EXPECT_EQ(platform.take(), (Calls{setreg(0, 0, 0, Bytes(many.begin(), many.end()))}));
}

TEST_F(LowerLibrary, TheOthersPassTheirArguments) {
    uint8_t first[8] = {};
    uint8_t second[8] = {};
    uint32_t number = 5;
    ksl_reg_request request{};

    __hwa_getmacs(0x1FF, first, &number);
    EXPECT_EQ(platform.take(), (Calls{entry_point("hwa_getmacs", {0xFF, whole(first), whole(&number)})}));
    __hwa_engpowercmd(first, 0x12345678, second, &number);
    EXPECT_EQ(platform.take(),
              (Calls{entry_point("hwa_engpowercmd", {whole(first), 0x12345678, whole(second), whole(&number)})}));
    __hwa_setswitchconfig(0x1FF, 0x12345678);
    EXPECT_EQ(platform.take(), (Calls{entry_point("hwa_setswitchconfig", {0xFF, 0x12345678})}));
    __hwa_setmacfilter(0x1FF, 0x12345678);
    EXPECT_EQ(platform.take(), (Calls{entry_point("hwa_setmacfilter", {0xFF, 0x12345678})}));
    __hwa_reset_switch_chip(0x123456FF);
    EXPECT_EQ(platform.take(), (Calls{entry_point("hwa_resetswitch", {0x123456FF})}));
    __hwa_get_multireg(0x1FF, &request, 0x12345678);
    EXPECT_EQ(platform.take(), (Calls{entry_point("hwa_get_multireg", {0xFF, whole(&request), 0x12345678})}));
}

// Every shim with its entry point and the record that this is missing.
struct Shim {
    const char *entry_point;
    TracePoint missing;
    int32_t (*call)();
};

uint8_t some_bytes[8];
uint32_t some_number;

const Shim kShims[] = {
    {"hwa_getreg", points::getreg_missing, [] { return __hwa_getreg(0, 0, 0, 1, some_bytes); }},
    {"hwa_setreg", points::setreg_missing, [] { return __hwa_setreg(0, 0, 0, 1, some_bytes); }},
    {"hwa_getmacs", points::getmacs_missing, [] { return __hwa_getmacs(0, some_bytes, &some_number); }},
    {"hwa_engpowercmd", points::engpowercmd_missing,
     [] { return __hwa_engpowercmd(some_bytes, 1, some_bytes, &some_number); }},
    {"hwa_setswitchconfig", points::setswitchconfig_missing, [] { return __hwa_setswitchconfig(0, 0); }},
    {"hwa_setmacfilter", points::setmacfilter_missing, [] { return __hwa_setmacfilter(0, 0); }},
    {"hwa_resetswitch", points::resetswitch_missing, [] { return __hwa_reset_switch_chip(0); }},
};

TEST_F(LowerLibrary, AMissingEntryPointIsTracedByItsOwnRecord) {
    for (const Shim &shim : kShims) {
        SCOPED_TRACE(shim.entry_point);
        platform.missing_entry_points = {shim.entry_point};
        EXPECT_EQ(shim.call(), -1);
        EXPECT_EQ(platform.take(), (Calls{lookup_missing(shim.entry_point), record(shim.missing)}));
    }
}

TEST_F(LowerLibrary, CodesOfTheLowerLibraryAreReturnedUnchanged) {
    for (const int32_t code : {1, -1, 77, -2147483647 - 1, 2147483647}) {
        platform.result = code;
        for (const Shim &shim : kShims) {
            SCOPED_TRACE(shim.entry_point);
            platform.failures[1] = code;
            EXPECT_EQ(shim.call(), code);
            EXPECT_EQ(platform.take().size(), 1u);
        }
    }
}

TEST_F(LowerLibrary, EveryCallLooksItsEntryPointUpAgain) {
    for (const Shim &shim : kShims) {
        SCOPED_TRACE(shim.entry_point);
        platform.missing_entry_points = {};
        EXPECT_EQ(shim.call(), 0);
        platform.missing_entry_points = {shim.entry_point};
        EXPECT_EQ(shim.call(), -1);
        platform.missing_entry_points = {};
        EXPECT_EQ(shim.call(), 0);
    }
}

TEST_F(LowerLibrary, LookupsUseTheHandleEvenWhenItIsNull) {
    ksl_terminate();
    ASSERT_EQ(ksl_hwa_handle, nullptr);
    platform.take();
    EXPECT_EQ(__hwa_getreg(1, 2, 3, 1, some_bytes), 0);
    EXPECT_EQ(platform.take(), (Calls{getreg(1, 2, 3, 1)}));
    ksl_init();
    platform.take();
}

class MultiReadFallback : public LowerLibrary {
protected:
    MultiReadFallback() { platform.missing_entry_points = {"hwa_get_multireg"}; }
};

TEST_F(MultiReadFallback, ReadsOneAfterTheOther) {
    platform.registers[{0x20, 0x00}] = {1, 2, 3, 4, 5, 6, 7, 8};
    platform.registers[{0x20, 0x50}] = {0xA1, 0xA2, 0xA3, 0xA4};
    ksl_reg_request requests[2] = {
        {0x20, 0x00, {0xEE, 0xEE}, 8, {}},
        {0x20, 0x50, {0xEE, 0xEE}, 4, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
    };
    EXPECT_EQ(__hwa_get_multireg(0x102, requests, 2), 0);
    EXPECT_EQ(platform.take(),
              (Calls{lookup_missing("hwa_get_multireg"), getreg(2, 0x20, 0x00, 8), getreg(2, 0x20, 0x50, 4)}));
    EXPECT_EQ(Bytes(requests[0].data, requests[0].data + 8), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(Bytes(requests[1].data, requests[1].data + 8), (Bytes{0xA1, 0xA2, 0xA3, 0xA4, 0xEE, 0xEE, 0xEE, 0xEE}));
    for (const ksl_reg_request &request : requests) {
        EXPECT_EQ(request.page, 0x20);
        EXPECT_EQ(request.reserved[0], 0xEE);
        EXPECT_EQ(request.reserved[1], 0xEE);
    }
}

TEST_F(MultiReadFallback, ReturnsTheLastResultAndZerosForAFailedRead) {
    platform.registers[{0, 0}] = {0x11, 0x12};
    platform.registers[{0, 2}] = {0x21, 0x22, 0x23};
    platform.registers[{0, 5}] = {0x31};
    platform.failures[2] = 9;
    ksl_reg_request requests[3] = {{0, 0, {}, 2, {}}, {0, 2, {}, 3, {7, 7, 7, 7}}, {0, 5, {}, 1, {}}};
    EXPECT_EQ(__hwa_get_multireg(0, requests, 3), 0);
    EXPECT_EQ(Bytes(requests[0].data, requests[0].data + 2), (Bytes{0x11, 0x12}));
    EXPECT_EQ(Bytes(requests[1].data, requests[1].data + 4), (Bytes{0, 0, 0, 7}));
    EXPECT_EQ(requests[2].data[0], 0x31);
    EXPECT_EQ(platform.take().size(), 4u);

    platform.failures = {{3, -5}};
    EXPECT_EQ(__hwa_get_multireg(0, requests, 3), -5);
}

TEST_F(MultiReadFallback, KeepsTheBytesOfAFailedRead) {
    platform.registers[{0, 0}] = {0x11, 0x12};
    platform.failures[1] = 9;
    platform.failing_reads_deliver = true;
    ksl_reg_request request{0, 0, {}, 2, {}};
    EXPECT_EQ(__hwa_get_multireg(0, &request, 1), 9);
    EXPECT_EQ(Bytes(request.data, request.data + 2), (Bytes{0x11, 0x12}));
}

TEST_F(MultiReadFallback, SucceedsWithoutRequests) {
    EXPECT_EQ(__hwa_get_multireg(0, nullptr, 0), 0);
    EXPECT_EQ(platform.take(), (Calls{lookup_missing("hwa_get_multireg")}));
}

TEST_F(MultiReadFallback, WithoutGetregTracesEveryRead) {
    platform.missing_entry_points.insert("hwa_getreg");
    ksl_reg_request requests[2] = {{0, 0, {}, 2, {7, 7, 7}}, {0, 0, {}, 1, {7, 7}}};
    EXPECT_EQ(__hwa_get_multireg(0, requests, 2), -1);
    const Calls one_read{lookup_missing("hwa_getreg"), record(points::getreg_missing)};
    EXPECT_EQ(platform.take(), ((Calls{lookup_missing("hwa_get_multireg")} += one_read) += one_read));
    EXPECT_EQ(Bytes(requests[0].data, requests[0].data + 3), (Bytes{0, 0, 7}));
    EXPECT_EQ(Bytes(requests[1].data, requests[1].data + 2), (Bytes{0, 7}));
}

TEST_F(LowerLibrary, TheBatchIsUsedIfItExists) {
    platform.result = 3;
    platform.on_get_multireg = [](ksl_reg_request *requests, uint32_t) { requests[0].data[0] = 0x55; };
    ksl_reg_request request{0, 0, {}, 1, {}};
    EXPECT_EQ(__hwa_get_multireg(0, &request, 1), 3);
    EXPECT_EQ(request.data[0], 0x55);
    EXPECT_EQ(platform.take().size(), 1u);
}

} // namespace
} // namespace ksl::test
