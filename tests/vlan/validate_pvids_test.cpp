// SPDX-License-Identifier: Apache-2.0
#include "configuration.h"

namespace ksl::test {
namespace {

constexpr uint8_t kPage = 0x34;

constexpr uint8_t offset_of(uint32_t port) {
    return static_cast<uint8_t>(0x10 + 2 * port);
}

class PvidValidation : public Configured {
protected:
    void hardware(uint32_t port, const Bytes &bytes) { platform.registers[{kPage, offset_of(port)}] = bytes; }

    // Runs the validation and forgets its calls.
    uint32_t verdict_now() {
        EXPECT_EQ(ksl_validate_VLAN_PVID_set(0, kConfigurationPath, &verdict), 0);
        EXPECT_TRUE(closed());
        platform.take();
        return verdict;
    }

    // The records of one trace point.
    Calls only(const Calls &calls, TracePoint point) {
        Calls some;
        std::copy_if(calls.begin(), calls.end(), std::back_inserter(some),
                     [&](const Call &call) { return call.identifier == point.identifier; });
        return some;
    }
};

// Port 5 differs in its VLAN, port 6 in its priority; port 0 and 23 match, the others are zero on both sides.
TEST_F(PvidValidation, ComparesAndTracesEveryPort) {
    hardware(0, {0x20, 0x01});
    hardware(5, {0x4A, 0xBC});
    hardware(6, {0xE0, 0x07});
    hardware(23, {0xFF, 0xFF});
    expect({setting(kPage, offset_of(0), {0x20, 0x01}), setting(kPage, offset_of(5), {0x4D, 0xEF}),
            setting(kPage, offset_of(6), {0xA0, 0x07}), setting(kPage, offset_of(23), {0xFF, 0xFF})});
    EXPECT_EQ(ksl_validate_VLAN_PVID_set(0x102, kConfigurationPath, &verdict), 0);
    EXPECT_EQ(verdict, 0u);
    EXPECT_EQ(ksl_cfg_handle, nullptr);

    const Calls calls = platform.take();
    ASSERT_GT(calls.size(), 13u) << calls;
    const uint32_t table = slots(calls[13])[1];
    Calls expected{
        stamp_start(),
        record(points::validate_VLAN_PVID_set_entry, 0x102u, kConfigurationPath, &verdict),
        open,
        record(points::configuration_opened),
        look_up,
        record(points::validate_VLAN_PVID_set_asking),
        ask,
        record(points::validate_VLAN_PVID_set_records, platform.configuration.data()),
        record(points::validate_VLAN_PVID_set_first_page, kPage),
        stamp_start(),
        record(points::read_VLAN_PVID_regs_entry, 0x102),
    };
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        Bytes bytes = platform.registers[{kPage, offset_of(port)}];
        bytes.resize(2);
        expected += {getreg(2, kPage, offset_of(port), 2), record(points::status_bytes_2, bytes[0], bytes[1]),
                     record(points::read_VLAN_PVID_regs_port, port, table + 4 * port)};
    }
    expected +=
        {record(points::read_VLAN_PVID_regs_exit), stamp_end(), record(points::validate_VLAN_PVID_set_comparing)};
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        std::vector<uint32_t> values{port, 0, 0, 0, 0};
        values = port == 0    ? std::vector<uint32_t>{0, 1, 1, 1, 1}
                 : port == 5  ? std::vector<uint32_t>{5, 0xABC, 2, 0xDEF, 2}
                 : port == 6  ? std::vector<uint32_t>{6, 7, 7, 7, 5}
                 : port == 23 ? std::vector<uint32_t>{23, 0xFFF, 7, 0xFFF, 7}
                              : values;
        expected += {record(points::validate_VLAN_PVID_set_port, values)};
    }
    expected += {
        record(points::validate_VLAN_PVID_set_differs, 5, 0xABC, 2, 0xDEF, 2),
        record(points::validate_VLAN_PVID_set_differs, 6, 7, 7, 7, 5),
        record(points::validate_VLAN_PVID_set_mismatch, 1),
        close,
        record(points::validate_VLAN_PVID_set_exit, 0, 0),
        stamp_end(),
    };
    EXPECT_EQ(calls, expected);
}

TEST_F(PvidValidation, AMatchIsTracedAndTheLibraryClosed) {
    hardware(3, {0xA1, 0x23});
    expect({setting(kPage, offset_of(3), {0xA1, 0x23})});
    uint32_t at_close = 5;
    const void *handle_at_close = nullptr;
    platform.on_call = [&](const std::string &text) {
        if (text == close.text) {
            at_close = verdict;
            handle_at_close = ksl_cfg_handle;
        }
    };
    EXPECT_EQ(ksl_validate_VLAN_PVID_set(0, kConfigurationPath, &verdict), 0);
    EXPECT_EQ(verdict, 1u);
    EXPECT_EQ(at_close, 1u);
    EXPECT_EQ(handle_at_close, kConfigurationHandle);
    EXPECT_EQ(ksl_cfg_handle, nullptr);
    const Calls calls = platform.take();
    EXPECT_EQ(Calls(calls.end() - 4, calls.end()), (Calls{
                                                       record(points::validate_VLAN_PVID_set_mismatch, 0),
                                                       close,
                                                       record(points::validate_VLAN_PVID_set_exit, 1, 0),
                                                       stamp_end(),
                                                   }));
    EXPECT_EQ(only(calls, points::validate_VLAN_PVID_set_port).size(), 24u);
    EXPECT_EQ(only(calls, points::validate_VLAN_PVID_set_differs), Calls{});
}

TEST_F(PvidValidation, AnEmptyListExpectsZerosEverywhere) {
    EXPECT_EQ(verdict_now(), 1u);
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        hardware(port, {0x00, 0x01});
        EXPECT_EQ(ksl_validate_VLAN_PVID_set(0, kConfigurationPath, &verdict), 0);
        EXPECT_EQ(verdict, 0u);
        EXPECT_EQ(only(platform.take(), points::validate_VLAN_PVID_set_differs),
                  (Calls{record(points::validate_VLAN_PVID_set_differs, port, 1, 0, 0, 0)}));
        hardware(port, {0x00, 0x00});
    }
    hardware(0, {0x10, 0x00});
    EXPECT_EQ(verdict_now(), 1u);
}

// All bits but bit 12 count, on either side.
TEST_F(PvidValidation, ComparesEveryBitOfVlanAndPriority) {
    for (uint32_t bit = 0; bit < 16; ++bit) {
        SCOPED_TRACE(bit);
        const uint32_t value = 1u << bit;
        const Bytes one{static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
        const uint32_t alone = bit == 12 ? 1 : 0;
        hardware(3, one);
        expect({});
        EXPECT_EQ(verdict_now(), alone);
        expect({setting(kPage, offset_of(3), one)});
        EXPECT_EQ(verdict_now(), 1u);
        hardware(3, {0, 0});
        EXPECT_EQ(verdict_now(), alone);
    }
}

struct Expectation {
    const char *name;
    std::vector<ksl_cfg_record> records;
    // The one port that it makes differ from zeros, if any.
    int port;
};

constexpr int kNone = -1;

TEST_F(PvidValidation, TakesTheRecordsOfItsPortsAndNoOthers) {
    const Bytes one{0x00, 0x01};
    const Expectation rows[] = {
        {"the first offset", {setting(kPage, 0x10, one)}, 0},
        {"an odd offset", {setting(kPage, 0x11, one)}, 0},
        {"the second port", {setting(kPage, 0x12, one)}, 1},
        {"port 3", {setting(kPage, 0x16, one)}, 3},
        {"port 3 by an odd offset", {setting(kPage, 0x17, one)}, 3},
        {"the last port", {setting(kPage, 0x3E, one)}, 23},
        {"the last offset", {setting(kPage, 0x3F, one)}, 23},
        {"an offset below", {setting(kPage, 0x0F, one)}, kNone},
        {"offset 0", {setting(kPage, 0x00, one)}, kNone},
        {"an offset beyond", {setting(kPage, 0x40, one)}, kNone},
        {"an offset far beyond", {setting(kPage, 0x90, one)}, kNone},
        {"the highest offset", {setting(kPage, 0xFF, one)}, kNone},
        {"a page below", {setting(0x33, 0x16, one)}, kNone},
        {"a page beyond", {setting(0x35, 0x16, one)}, kNone},
        {"page 0", {setting(0x00, 0x16, one)}, kNone},
        {"a later record replaces an earlier one", {setting(kPage, 0x16, one), setting(kPage, 0x16, {0, 0})}, kNone},
        {"the later one counts", {setting(kPage, 0x16, {0, 0}), setting(kPage, 0x17, one)}, 3},
        {"what follows the end", {kEndOfList, setting(kPage, 0x16, one)}, kNone},
        {"no end: another page", {{0, 1, 0, 1, {}}, setting(kPage, 0x16, one)}, 3},
        {"no end: another offset", {{0, 0, 1, 1, {}}, setting(kPage, 0x16, one)}, 3},
        {"no end: flag 0", {{0, 0, 0, 0, {}}, setting(kPage, 0x16, one)}, 3},
        {"no end: flag 2", {{0, 0, 0, 2, {}}, setting(kPage, 0x16, one)}, 3},
        {"the end, whatever its other bytes hold", {{9, 0, 0, 1, {1, 2, 3}}, setting(kPage, 0x16, one)}, kNone},
        {"a setting with the flag", {{0, kPage, 0x16, 1, {0, 1}}}, 3},
    };
    for (const Expectation &row : rows) {
        SCOPED_TRACE(row.name);
        expect(row.records);
        EXPECT_EQ(ksl_validate_VLAN_PVID_set(0, kConfigurationPath, &verdict), 0);
        EXPECT_EQ(verdict, row.port == kNone ? 1u : 0u);
        const Calls calls = platform.take();
        EXPECT_EQ(only(calls, points::validate_VLAN_PVID_set_first_page),
                  (Calls{record(points::validate_VLAN_PVID_set_first_page, row.records[0].page)}));
        const Calls differing = only(calls, points::validate_VLAN_PVID_set_differs);
        EXPECT_EQ(differing, row.port == kNone
                                 ? Calls{}
                                 : (Calls{record(points::validate_VLAN_PVID_set_differs, row.port, 0, 0, 1, 0)}));
    }
}

} // namespace
} // namespace ksl::test
