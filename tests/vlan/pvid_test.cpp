// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "vlan/trace_points.h"

namespace ksl::test {
namespace {

// ---- PVIDs, read ----

class PvidReads : public Opened {
protected:
    Output out;

    PvidReads() {
        for (uint32_t port = 0; port < KSL_PORTS; ++port) {
            platform.registers[{0x34, 0x10 + 2 * port}] = bytes(port);
        }
    }

    // Different for every port.
    static Bytes bytes(uint32_t port) { return {static_cast<uint8_t>(0x80 + port), static_cast<uint8_t>(0x40 + port)}; }

    // The words of the first ports.
    static Bytes words(uint32_t ports) {
        Bytes all;
        for (uint32_t port = 0; port < ports; ++port) {
            const Bytes two = bytes(port);
            all.insert(all.end(), {two[0], two[1], 0, 0});
        }
        return all;
    }

    // The calls for the first ports.
    Calls ports_read(uint32_t chip, uint32_t ports) {
        Calls calls;
        for (uint32_t port = 0; port < ports; ++port) {
            const Bytes two = bytes(port);
            calls += {getreg(chip, 0x34, 0x10 + 2 * port, 2), record(points::status_bytes_2, two[0], two[1]),
                      record(points::read_VLAN_PVID_regs_port, port, address(out + 4 * port))};
        }
        return calls;
    }
};

TEST_F(PvidReads, GiveAWordForEachPortInOrder) {
    EXPECT_EQ(ksl_read_VLAN_PVID_regs(0x102, out.words()), 0);
    EXPECT_TRUE(out.holds(words(24)));
    Calls expected{stamp_start(), record(points::read_VLAN_PVID_regs_entry, 0x102)};
    expected += ports_read(2, 24);
    expected += {record(points::read_VLAN_PVID_regs_exit), stamp_end()};
    EXPECT_EQ(platform.take(), expected);
}

TEST_F(PvidReads, TraceAPortWhenItsWordIsDelivered) {
    uint32_t ports = 0;
    platform.on_call = [&](const std::string &text) {
        if (text == record(points::read_VLAN_PVID_regs_port, ports, address(out + 4 * ports)).text) {
            EXPECT_TRUE(out.holds(words(++ports)));
        }
    };
    EXPECT_EQ(ksl_read_VLAN_PVID_regs(0, out.words()), 0);
    EXPECT_EQ(ports, 24u);
}

TEST_F(PvidReads, NeedAnOutput) {
    ksl_enable_time();
    EXPECT_EQ(ksl_read_VLAN_PVID_regs(7, nullptr), -1);
    EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::read_VLAN_PVID_regs_entry, 7)}));
}

TEST_F(PvidReads, EndAtTheFirstFailureWithThePortsBeforeItDelivered) {
    platform.failing_reads_deliver = true;
    for (uint32_t failing = 0; failing < KSL_PORTS; ++failing) {
        SCOPED_TRACE(failing);
        const int32_t code = kCodes[failing % std::size(kCodes)];
        platform.failures = {{failing + 1, code}};
        out = Output{};
        EXPECT_EQ(ksl_read_VLAN_PVID_regs(0, out.words()), code);
        EXPECT_TRUE(out.holds(words(failing)));
        Calls expected{stamp_start(), record(points::read_VLAN_PVID_regs_entry, 0)};
        expected += ports_read(0, failing);
        expected +=
            {getreg(0, 0x34, 0x10 + 2 * failing, 2), record(points::register_read_failed, 0x34, 0x10 + 2 * failing, 2),
             record(points::read_VLAN_PVID_regs_exit), stamp_end()};
        EXPECT_EQ(platform.take(), expected);
    }
}

TEST_F(PvidReads, FailWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_VLAN_PVID_regs(0, out.words()), -1);
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_VLAN_PVID_regs_entry, 0),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, 0x34, 0x10, 2),
                                   record(points::read_VLAN_PVID_regs_exit),
                                   stamp_end(),
                               }));
}

// It is cleared before the first port alone: bytes that a later read leaves out are those of the read before.
TEST_F(PvidReads, ShareABufferThatIsClearedOnce) {
    platform.delivered_bytes = 0;
    platform.on_call = [&](const std::string &text) {
        if (text.find("offset=0x12 ") != std::string::npos) {
            platform.delivered_bytes = 1;
        }
    };
    EXPECT_EQ(ksl_read_VLAN_PVID_regs(0, out.words()), 0);
    EXPECT_EQ(Bytes(out.bytes, out.bytes + 12), (Bytes{0, 0, 0, 0, 0x81, 0, 0, 0, 0x82, 0, 0, 0}));

    platform.delivered_bytes = 2;
    platform.on_call = [&](const std::string &text) {
        if (text.find("offset=0x12 ") != std::string::npos) {
            platform.delivered_bytes = 0;
        }
    };
    EXPECT_EQ(ksl_read_VLAN_PVID_regs(0, out.words()), 0);
    EXPECT_EQ(Bytes(out.bytes, out.bytes + 12), (Bytes{0x80, 0x40, 0, 0, 0x80, 0x40, 0, 0, 0x80, 0x40, 0, 0}));
    for (size_t i = 1; i < platform.buffers.size(); ++i) {
        EXPECT_EQ(platform.buffers[i], platform.buffers[0]);
    }
}

// ---- PVIDs, written ----

using PvidWrites = Opened;

TEST_F(PvidWrites, ReplaceTheWholeRegister) {
    const struct {
        uint32_t vid;
        uint32_t priority;
        uint32_t port;
        Bytes bytes;
    } rows[] = {
        {0x1005, 9, 3, {0x20, 0x05}}, {1, 0, 0, {0x00, 0x01}},
        {0xFFF, 7, 23, {0xEF, 0xFF}}, {0xFFFFFFFF, 0xFFFFFFFF, 12, {0xEF, 0xFF}},
        {0x800, 4, 22, {0x88, 0x00}}, {0xFFFFF000, 0xFFFFFFF8, 1, {0x00, 0x00}},
        {0x0AB, 2, 11, {0x40, 0xAB}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(ksl_set_PVID(0x102, row.vid, row.priority, row.port), 0);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_PVID_entry, 0x102, row.vid, row.priority, row.port),
                                       setreg(2, 0x34, 0x10 + 2 * row.port, row.bytes),
                                       record(points::set_PVID_exit, 0),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PvidWrites, RefuseOtherPorts) {
    ksl_enable_time();
    for (const uint32_t port : {24u, 25u, 255u, 256u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_set_PVID(0, 1, 2, port), -1);
        EXPECT_EQ(platform.take(), (Calls{stamp_start(), record(points::set_PVID_entry, 0, 1, 2, port)}));
    }
}

TEST_F(PvidWrites, PassTheCodeOfAFailureOn) {
    for (const int32_t code : kCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_set_PVID(0, 0x123, 5, 3), code);
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::set_PVID_entry, 0, 0x123, 5, 3),
                                       setreg(0, 0x34, 0x16, {0xA1, 0x23}),
                                       record(points::register_write_failed, 0x34, 0x16, 2),
                                       record(points::set_PVID_exit, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(PvidWrites, FailWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_setreg"};
    EXPECT_EQ(ksl_set_PVID(0, 1, 2, 23), -1);
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::set_PVID_entry, 0, 1, 2, 23),
                                   lookup_missing("hwa_setreg"),
                                   record(points::setreg_missing),
                                   record(points::register_write_failed, 0x34, 0x3E, 2),
                                   record(points::set_PVID_exit, -1),
                                   stamp_end(),
                               }));
}

// ---- Extended VLAN control ----

class ExtendedControlReads : public Opened {
protected:
    Output out;
};

TEST_F(ExtendedControlReads, GiveAWordFromAnOffsetThatWraps) {
    const struct {
        uint32_t index;
        uint32_t offset;
        uint32_t traced_offset;
    } rows[] = {
        {0, 0x10, 0x10},   {3, 0x16, 0x16},    {23, 0x3E, 0x3E},        {24, 0x40, 0x40},
        {119, 0xFE, 0xFE}, {120, 0x00, 0x100}, {200, 0xA0, 0x10 + 400}, {0xFFFFFFFF, 0x0E, 0x0E},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.index);
        out = Output{};
        platform.registers = {{{0x34, row.offset}, {0x9A, 0xBC}}};
        platform.failures = {};
        EXPECT_EQ(ksl_read_extended_VLAN_cntrl_regs(0x102, row.index, out.words()), 0);
        EXPECT_TRUE(out.holds({0x9A, 0xBC, 0, 0}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_extended_VLAN_cntrl_regs_entry, 0x102, row.index),
                                       getreg(2, 0x34, row.offset, 2),
                                       record(points::status_bytes_2, 0x9A, 0xBC),
                                       record(points::read_extended_VLAN_cntrl_regs_exit, 0),
                                       stamp_end(),
                                   }));
        platform.failures = {{1, 9}};
        EXPECT_EQ(ksl_read_extended_VLAN_cntrl_regs(0, row.index, out.words()), 9);
        EXPECT_EQ(platform.take()[3].text, record(points::register_read_failed, 0x34, row.traced_offset, 2).text);
    }
}

TEST_F(ExtendedControlReads, PassTheCodeOfAFailureOn) {
    platform.failing_reads_deliver = true;
    for (const int32_t code : kCodes) {
        platform.failures[1] = code;
        EXPECT_EQ(ksl_read_extended_VLAN_cntrl_regs(0, 3, out.words()), code);
        EXPECT_TRUE(out.holds({}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_extended_VLAN_cntrl_regs_entry, 0, 3),
                                       getreg(0, 0x34, 0x16, 2),
                                       record(points::register_read_failed, 0x34, 0x16, 2),
                                       record(points::read_extended_VLAN_cntrl_regs_exit, code),
                                       stamp_end(),
                                   }));
    }
}

TEST_F(ExtendedControlReads, FailWithoutTheEntryPoint) {
    platform.missing_entry_points = {"hwa_getreg"};
    EXPECT_EQ(ksl_read_extended_VLAN_cntrl_regs(0, 3, out.words()), -1);
    EXPECT_TRUE(out.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_extended_VLAN_cntrl_regs_entry, 0, 3),
                                   lookup_missing("hwa_getreg"),
                                   record(points::getreg_missing),
                                   record(points::register_read_failed, 0x34, 0x16, 2),
                                   record(points::read_extended_VLAN_cntrl_regs_exit, -1),
                                   stamp_end(),
                               }));
}

TEST_F(ExtendedControlReads, StartFromAClearedBuffer) {
    platform.delivered_bytes = 0;
    EXPECT_EQ(ksl_read_extended_VLAN_cntrl_regs(0, 3, out.words()), 0);
    EXPECT_TRUE(out.holds({0, 0, 0, 0}));
}

TEST_F(ExtendedControlReads, WriteToANullOutput) {
    EXPECT_DEATH(ksl_read_extended_VLAN_cntrl_regs(0, 3, nullptr), "");
    platform.failures[1] = 9;
    EXPECT_EQ(ksl_read_extended_VLAN_cntrl_regs(0, 3, nullptr), 9);
}

} // namespace
} // namespace ksl::test
