// SPDX-License-Identifier: Apache-2.0
// port show, port speed, port up, port down, port reset-phy: the ports one by one.
#include "kslctl/change.h"
#include "kslctl/command.h"
#include "kslctl/port_bits.h"
#include "kslctl/raw.h"
#include "kslctl/status_registers.h"

#include <fmt/core.h>
#include <ksl/ksl.h>

namespace kslctl {

namespace {

// ---- port show ----

constexpr Register kStatusOfPorts[] = {Register::link, Register::speed, Register::duplex};

struct PortState {
    uint32_t port;
    std::optional<Bytes> port_control;
    std::optional<Bytes> phy_control;
};

// A bit of a status word; none where it could not be read, or has no meaning without a link.
std::optional<bool> status_bit(const ChipStatus &status, Register which, uint32_t port) {
    const std::optional<Bytes> &link = status[Register::link];
    const bool meaningless = which != Register::link && link && !port_bit(*link, port);
    return status[which] && !meaningless ? std::optional(port_bit(*status[which], port)) : std::nullopt;
}

template <typename Value>
Json choose(std::optional<bool> bit, Value clear, Value set) {
    return bit ? Json(*bit ? set : clear) : Json(nullptr);
}

std::string choose_text(const ChipStatus &status, Register which, uint32_t port, const char *clear, const char *set) {
    const std::optional<bool> bit = status_bit(status, which, port);
    return bit ? *bit ? set : clear : std::string(status[which] ? kNothing : kNotRead);
}

Json port_json(const ChipStatus &status, const PortState &state) {
    return {{"port", state.port},
            {"port_control", state.port_control ? port_control_json(*state.port_control) : Json(nullptr)},
            {"link", choose(status_bit(status, Register::link, state.port), false, true)},
            {"speed", choose(status_bit(status, Register::speed, state.port), 10, 100)},
            {"duplex", choose(status_bit(status, Register::duplex, state.port), "half", "full")},
            {"phy_control", state.phy_control ? phy_control_json(*state.phy_control) : Json(nullptr)}};
}

std::vector<std::string> port_row(const ChipStatus &status, const PortState &state) {
    const std::string not_read(kNotRead);
    return {std::to_string(state.port),
            state.port_control ? port_control_text(*state.port_control) : not_read,
            choose_text(status, Register::link, state.port, "down", "up"),
            choose_text(status, Register::speed, state.port, "10", "100"),
            choose_text(status, Register::duplex, state.port, "half", "full"),
            state.phy_control ? phy_control_text(*state.phy_control) : not_read};
}

std::vector<RawRegister> raw_registers(const ChipStatus &status, const std::vector<PortState> &states) {
    std::vector<RawRegister> registers;
    for (const Register which : kStatusOfPorts) {
        const RegisterInfo &place = info(which);
        registers.push_back({place.key, std::nullopt, place.page, place.offset, place.length, status[which]});
    }
    for (const PortState &state : states) {
        registers.push_back(raw(kPortControl, state.port, state.port_control));
        registers.push_back(raw(kPhyControl, state.port, state.phy_control));
    }
    return registers;
}

ChipResult show_chip(Context &context, uint32_t chip, const NumberSet &ports) {
    const ChipStatus status = read_status(chip, kStatusOfPorts, context.report);
    std::vector<PortState> states;
    for (const uint32_t port : ports) {
        const std::optional<Bytes> port_control = read(kPortControl, chip, port, context.report);
        states.push_back({port, port_control, read(kPhyControl, chip, port, context.report)});
    }
    if (context.options.raw) {
        const std::vector<RawRegister> registers = raw_registers(status, states);
        return {raw_json(registers), raw_text(registers, context.style)};
    }
    Json list = Json::array();
    Table table({{"port", Align::right},
                 {"control", Align::left},
                 {"link", Align::left},
                 {"speed", Align::right},
                 {"duplex", Align::left},
                 {"PHY control", Align::left}});
    for (const PortState &state : states) {
        list.push_back(port_json(status, state));
        table.add_row(port_row(status, state));
    }
    return {{{"ports", list}}, table.render(context.style)};
}

constexpr char kShowHelp[] = R"(Ports are numbers and ranges (0-3,7); all if none is named.

What kslctl reads into the bits (--raw shows the bytes instead):
  control      bits 1 and 0 of the byte: both 0 is on, both 1 is off, anything else "partly"
  link, speed, duplex
               as "kslctl status" has them
  PHY control  bit 12: "auto"-negotiation, else "forced"; bit 13: 100 Mb/s, else 10; bit 8: full duplex, else half;
               bit 14: loopback; bit 11: power down; bit 10: isolated; bit 15: reset (clause 22 of IEEE 802.3)
What could not be read is shown as "?".)";

// ---- port speed ----

ChipResult show_speeds(Context &context, uint32_t chip, const NumberSet &ports) {
    if (context.options.raw) {
        // The operation hands out no bytes, only the bit.
        std::vector<RawRegister> registers;
        for (const uint32_t port : ports) {
            registers.push_back(raw(kSpeedIndication, port, read(kSpeedIndication, chip, port, context.report)));
        }
        return {raw_json(registers), raw_text(registers, context.style)};
    }
    Json list = Json::array();
    Table table({{"port", Align::right}, {"speed", Align::right}});
    for (const uint32_t port : ports) {
        uint32_t bit = 0;
        const int32_t code = ksl_get_port_speed(chip, port, &bit);
        if (code != 0) {
            context.report.fail({chip, "ksl_get_port_speed", describe(kSpeedIndication, port), code});
        }
        const uint32_t speed = bit != 0 ? 100 : 10;
        list.push_back({{"port", port}, {"speed", code == 0 ? Json(speed) : Json(nullptr)}});
        table.add_row({std::to_string(port), code == 0 ? std::to_string(speed) : std::string(kNotRead)});
    }
    return {{{"ports", list}}, table.render(context.style)};
}

Result set_speeds(Context &context, const NumberSet &ports, uint32_t speed, bool dry_run) {
    const Change change{
        .operation = "ksl_set_port_speed",
        .what = "speed of port {}",
        .undone = "not set",
        .registers = {{&kPhyControl, [speed](const Bytes &before) { return with_speed(before, speed); }}},
        .run = [speed](uint32_t chip, uint32_t port, const Bytes &) { return ksl_set_port_speed(chip, port, speed); },
    };
    return change_ports(context, ports, change, dry_run);
}

constexpr char kSpeedHelp[] = R"(Ports are numbers and ranges (0-3,7).

Without a speed: bit 1 of the PHY's speed indication (its page, offset 0x30), where 1 is 100 Mb/s and 0 is 10, also for
a port without a link.

With one, PHY control (its page, offset 0x00) is read and written back: 100 sets the speed bit 13 and the
auto-negotiation bit 12, 10 clears both; the other bits stay. Shown is what the register held before and holds
afterwards, as "kslctl port show" has it. A port whose register cannot be read first is left as it is.)";

uint32_t parse_speed(const std::string &text) {
    if (text != "10" && text != "100") {
        throw ArgumentError(fmt::format("\"{}\" is no speed of a port; it is 10 or 100", text));
    }
    return text == "100" ? 100 : 10;
}

// ---- port up, down, reset-phy ----

std::function<Bytes(const Bytes &)> always(Bytes bytes) {
    return [bytes](const Bytes &) { return bytes; };
}

const Change kUp{
    .operation = "ksl_activate_port",
    .what = "port {}",
    .undone = "not switched on",
    .registers = {{&kPhyControl, always({0x30, 0x00})}, {&kPortControl, always({0x00})}},
    .run = [](uint32_t chip, uint32_t port, const Bytes &) { return ksl_activate_port(chip, port); },
};

const Change kDown{
    .operation = "ksl_deactivate_port",
    .what = "port {}",
    .undone = "not switched off",
    .registers = {{&kPhyControl, always({0x40, 0x00})}, {&kPortControl, always({0x03})}},
    .run = [](uint32_t chip, uint32_t port, const Bytes &) { return ksl_deactivate_port(chip, port); },
};

const Change kResetPhy{
    .operation = "ksl_reset_PHY",
    .what = "PHY of port {}",
    .undone = "not reset",
    .registers = {{&kPhyControl, always({0x80, 0x00})}},
    .run = [](uint32_t chip, uint32_t port, const Bytes &) { return ksl_reset_PHY(chip, port); },
};

constexpr char kSwitchHelp[] = R"(Ports are numbers and ranges (0-3,7).

What is written, whatever stood there before:
  up         PHY control (the PHY's page, offset 0x00) 30 00, then port control (page 0, offset 0xd0 + port) 00
  down       PHY control 40 00, then port control 03
  reset-phy  PHY control 80 00; a PHY clears that bit itself when its reset is done, which is not waited for
Shown is what the registers held before and hold afterwards, as "kslctl port show" has it. A port whose registers cannot
be read first is left as it is.)";

struct SwitchRow {
    const char *name;
    const char *summary;
    const Change *change;
};

constexpr SwitchRow kSwitches[] = {
    {"up", "Switch ports on", &kUp},
    {"down", "Switch ports off", &kDown},
    {"reset-phy", "Reset the PHYs of ports", &kResetPhy},
};

} // namespace

void add_port_commands(Commands &commands) {
    Commands::Group group = commands.add_group("port", "Ports: state, speed, switching on and off, PHY reset");

    const auto shown = std::make_shared<NumberSet>();
    CLI::App &show =
        group.add("show", "Control, link, speed, duplex and PHY of ports", kShowHelp, [shown](Context &context) {
            return of_each_chip(context, [&](uint32_t chip) { return show_chip(context, chip, or_all_ports(*shown)); });
        });
    add_lists(show, "PORT", Need::optional, kPorts, shown, "Ports; default: all");

    const auto dry_run = std::make_shared<bool>(false);
    const auto ports = std::make_shared<NumberSet>();
    const auto speed = std::make_shared<std::optional<uint32_t>>();
    CLI::App &speeds = group.add(
        "speed", "Show or force the speed of ports", kSpeedHelp,
        [=](Context &context) {
            return *speed ? set_speeds(context, *ports, **speed, *dry_run)
                          : of_each_chip(context, [&](uint32_t chip) { return show_speeds(context, chip, *ports); });
        },
        [=](const Options &) {
            if (*dry_run && !*speed) {
                throw UsageError("--dry-run is for a change, and no speed is given");
            }
        });
    add_list(speeds, "PORT", Need::required, kPorts, ports, "Ports");
    add_text(
        speeds, "SPEED", Need::optional, [speed](const std::string &text) { *speed = parse_speed(text); },
        "10 or 100, in Mb/s");
    add_dry_run(speeds, dry_run);

    for (const SwitchRow &row : kSwitches) {
        CLI::App &command = group.add(row.name, row.summary, kSwitchHelp, [=, change = row.change](Context &context) {
            return change_ports(context, *ports, *change, *dry_run);
        });
        add_list(command, "PORT", Need::required, kPorts, ports, "Ports");
        add_dry_run(command, dry_run);
    }
}

} // namespace kslctl
