// SPDX-License-Identifier: Apache-2.0
#include "kslctl/status_registers.h"

#include <algorithm>
#include <cstring>
#include <fmt/core.h>
#include <ksl/ksl.h>

namespace kslctl {

namespace {

constexpr RegisterInfo kInfo[kRegisters] = {
    {"self_test", "self-test status", 0x01, 0x00, 8}, {"mode", "switch mode", 0x00, 0x00, 4},
    {"link", "link status", 0x01, 0x10, 4},           {"link_change", "link change", 0x01, 0x14, 4},
    {"speed", "port speed status", 0x01, 0x18, 4},    {"duplex", "port duplex status", 0x01, 0x1C, 4},
    {"age_timer", "age timer", 0x02, 0x06, 4},
};

struct Operation {
    const char *name;
    int32_t (*read)(uint32_t chip, uint8_t *out);
};

// Of each register that can be read by itself.
constexpr Operation kOperations[kRegisters] = {
    {"ksl_read_bist_status_reg", ksl_read_bist_status_reg},
    {"ksl_read_switch_mode_reg", ksl_read_switch_mode_reg},
    {"ksl_read_link_status_reg", ksl_read_link_status_reg},
    {nullptr, nullptr},
    {"ksl_read_port_speed_reg", ksl_read_port_speed_reg},
    {"ksl_read_port_duplex_reg", ksl_read_port_duplex_reg},
    {nullptr, nullptr},
};

class Reader {
public:
    Reader(uint32_t chip, Report &report) : status_{chip, {}}, report_(report) {}

    void read(Register which) {
        const Operation &operation = kOperations[static_cast<size_t>(which)];
        Bytes bytes{};
        if (const int32_t code = operation.read(status_.chip, bytes.data()); code != 0) {
            fail(which, operation.name, code);
            return;
        }
        keep(which, bytes);
    }

    // One operation reads both; the first may be there although the second is not.
    void read_both_link_registers() {
        // No chip of 24 ports has such a link word.
        constexpr Bytes kUntouched = {0xFF, 0xFF, 0xFF, 0xFF};
        Bytes link = kUntouched;
        Bytes change{};
        const int32_t code = ksl_read_link_status_regs(status_.chip, link.data(), change.data());
        const bool has_link = code == 0 || link != kUntouched;
        if (has_link) {
            keep(Register::link, link);
        }
        if (code == 0) {
            keep(Register::link_change, change);
        } else {
            fail(has_link ? Register::link_change : Register::link, "ksl_read_link_status_regs", code);
        }
    }

    // A field that was not read keeps what no such register holds.
    void read_all() {
        ksl_cntrl_regs regs;
        std::memset(&regs, 0xFF, sizeof regs);
        const int32_t code = ksl_read_cntrl_regs(status_.chip, &regs);
        const struct {
            Register which;
            const void *field;
            size_t length;
        } fields[] = {
            {Register::mode, regs.switch_mode, sizeof regs.switch_mode},
            {Register::self_test, regs.bist_status, sizeof regs.bist_status},
            {Register::link, regs.link_status1, sizeof regs.link_status1},
            {Register::link_change, regs.link_status2, sizeof regs.link_status2},
            {Register::speed, regs.port_speed, sizeof regs.port_speed},
            {Register::duplex, regs.port_duplex, sizeof regs.port_duplex},
            {Register::age_timer, &regs.age_timer, sizeof regs.age_timer},
        };
        constexpr Bytes kUntouched = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
        for (const auto &[which, field, length] : fields) {
            const bool is_last = which == Register::age_timer;
            if (code != 0 && (is_last || std::memcmp(field, kUntouched.data(), length) == 0)) {
                fail(which, "ksl_read_cntrl_regs", code);
                return;
            }
            Bytes bytes{};
            std::memcpy(bytes.data(), field, length);
            keep(which, bytes);
        }
    }

    ChipStatus take() const { return status_; }

private:
    void keep(Register which, const Bytes &bytes) { status_.registers[static_cast<size_t>(which)] = bytes; }

    void fail(Register which, const char *operation, int32_t code) {
        const RegisterInfo &place = info(which);
        const std::string about =
            fmt::format("{} (page 0x{:02x}, offset 0x{:02x})", place.what, place.page, place.offset);
        report_.fail({status_.chip, operation, about, code});
    }

    ChipStatus status_;
    Report &report_;
};

} // namespace

const RegisterInfo &info(Register which) {
    return kInfo[static_cast<size_t>(which)];
}

ChipStatus read_control_registers(uint32_t chip, Report &report) {
    Reader reader(chip, report);
    reader.read_all();
    return reader.take();
}

ChipStatus read_status(uint32_t chip, std::span<const Register> wanted, Report &report) {
    Reader reader(chip, report);
    const bool wants_change = std::find(wanted.begin(), wanted.end(), Register::link_change) != wanted.end();
    for (const Register which : wanted) {
        if (which == Register::link_change) {
            reader.read_both_link_registers();
        } else if (which != Register::link || !wants_change) {
            reader.read(which);
        }
    }
    return reader.take();
}

} // namespace kslctl
