// SPDX-License-Identifier: Apache-2.0
#include "kslctl/port_registers.h"

#include "kslctl/port_bits.h"

#include <cstring>
#include <fmt/core.h>
#include <ksl/ksl.h>

namespace kslctl {

int32_t read_by_place(uint32_t chip, uint32_t port, const PortRegister &which, uint8_t *bytes) {
    return dbg_ksl_get_reg(chip, which.page(port), which.offset(port), static_cast<uint32_t>(which.length), bytes);
}

namespace {

// By an operation that delivers a word.
template <int32_t (*operation)(uint32_t chip, uint32_t port, ksl_word *out)>
int32_t read_word(uint32_t chip, uint32_t port, const PortRegister &, uint8_t *bytes) {
    ksl_word word = 0;
    const int32_t code = operation(chip, port, &word);
    std::memcpy(bytes, &word, sizeof word);
    return code;
}

} // namespace

const PortRegister kPhyControl = {
    "phy_control",    "PHY control",   0x10, 1, 0x00, 0, 2, "dbg_ksl_get_reg", read_by_place,
    phy_control_text, phy_control_json};
const PortRegister kPortControl = {"port_control",
                                   "port control",
                                   0x00,
                                   0,
                                   0xD0,
                                   1,
                                   1,
                                   "ksl_read_port_cntrl_reg",
                                   read_word<ksl_read_port_cntrl_reg>,
                                   port_control_text,
                                   port_control_json};
const PortRegister kSpeedIndication = {
    "speed_indication",    "speed indication",   0x10, 1, 0x30, 0, 2, "dbg_ksl_get_reg", read_by_place,
    speed_indication_text, speed_indication_json};
// The extended VLAN control registers stand where the PVID registers stand, and can be read one by one.
const PortRegister kPvid = {"pvid",
                            "PVID",
                            0x34,
                            0,
                            0x10,
                            2,
                            2,
                            "ksl_read_extended_VLAN_cntrl_regs",
                            read_word<ksl_read_extended_VLAN_cntrl_regs>,
                            pvid_text,
                            pvid_json};

std::string describe(const PortRegister &which, uint32_t port) {
    const std::string of_port = which.is_of_chip() ? "" : fmt::format(" of port {}", port);
    return fmt::format("{}{} (page 0x{:02x}, offset 0x{:02x})", which.what, of_port, which.page(port),
                       which.offset(port));
}

std::optional<Bytes> read(const PortRegister &which, uint32_t chip, uint32_t port, Report &report) {
    Bytes bytes{};
    if (const int32_t code = which.read(chip, port, which, bytes.data()); code != 0) {
        report.fail({chip, which.operation, describe(which, port), code});
        return std::nullopt;
    }
    return bytes;
}

} // namespace kslctl
