// SPDX-License-Identifier: Apache-2.0
// port show, port speed, port up, port down, port reset-phy: the ports one by one.
#include "kslctl/commands/command.h"
#include "kslctl/views/changes.h"
#include "kslctl/views/status.h"
#include "kslctl/views/values.h"

#include <fmt/core.h>

namespace kslctl {

namespace {

struct Arguments {
    NumberSet ports = hub::all_ports();
    std::optional<uint32_t> speed;
};

// ---- port show ----

views::Shown show(Context &context, uint32_t chip, const Arguments &arguments) {
    return view_or_raw(context, hub::read_port_states(chip, arguments.ports, context.failures), views::ports);
}

constexpr char kShowHelp[] = R"(How kslctl reads the bits (--raw shows the bytes instead):
  self-test  as "kslctl status" has it
  link       link, speed and duplex as "kslctl status" has them. Before it what
             port control says, unless the port is on: bits 1 and 0 of the
             byte are both 0 then, both 1 is "off", anything else "partly"
  PHY        PHY control, as clause 22 of IEEE 802.3 has it. Bit 12:
             "auto"-negotiation, else speed and duplex are forced; bit 13:
             100 Mb/s, else 10; bit 8: full duplex, else half; bit 14:
             loopback; bit 11: power down; bit 10: isolated; bit 15: reset
A value that could not be read is shown as "?".)";

// ---- port speed ----

views::Shown speed(Context &context, uint32_t chip, const Arguments &arguments) {
    if (arguments.speed) {
        return change(context, chip, hub::forced_speed(*arguments.speed), arguments.ports);
    }
    if (context.options.raw) {
        return views::raw(hub::read_ports({&hub::registers::speed_indication}, chip, arguments.ports, context.failures),
                          context.style);
    }
    return views::port_speeds(hub::read_port_speeds(chip, arguments.ports, context.failures), context.style);
}

void check_speed(Options &options, const Arguments &arguments) {
    check_dry_run(options, arguments.speed.has_value(), "speed");
}

uint32_t parse_speed(const std::string &text) {
    if (text != "10" && text != "100") {
        throw ArgumentError(fmt::format("\"{}\" is no speed of a port; it is 10 or 100", text));
    }
    return text == "100" ? 100 : 10;
}

constexpr char kSpeedHelp[] =
    R"(Without a speed: bit 1 of the speed indication (the PHY's page, offset 0x30).
1 is 100 Mb/s, 0 is 10, also for a port without a link.

With a speed: PHY control (the PHY's page, offset 0x00) is read and written
back. 100 sets the speed bit 13 and the auto-negotiation bit 12, 10 clears both.
The other bits stay. "kslctl port show --help" describes the bits.)";

// ---- port up, down, reset-phy ----

template <const hub::Change &switched>
views::Shown switch_ports(Context &context, uint32_t chip, const Arguments &arguments) {
    const hub::Changes changes =
        hub::change_ports(chip, arguments.ports, switched, context.options.dry_run, context.failures);
    if (const std::vector<uint32_t> ports = hub::ports_not_restored(changes); !ports.empty()) {
        context.report.note(
            fmt::format("chip {}: \"port up\" is no undo of \"port down\": it gives the PHY of {} {}, whatever it "
                        "had before",
                        chip, hub::describe_ports(ports),
                        views::phy_control(hub::decode_phy_control(hub::kPhyControlWhenOn)).text));
    }
    return views::changes(changes, context.options.raw, context.style);
}

views::Shown reset_phys(Context &context, uint32_t chip, const Arguments &arguments) {
    return change(context, chip, hub::kResetPhy, arguments.ports);
}

constexpr char kSwitchHelp[] = R"(The commands write, whatever the registers held before:
  up         PHY control (the PHY's page, offset 0x00) 30 00,
             then port control (page 0, offset 0xd0 + port) 00
  down       PHY control 40 00, then port control 03
  reset-phy  PHY control 80 00. A PHY clears that bit when its reset is done;
             kslctl does not wait for it.
"port up" is no undo of "port down": the PHY control that a port had before is
lost, and it gets auto-negotiation and 100 Mb/s half duplex.
"kslctl port show --help" describes the bits.)";

} // namespace

void add_port_commands(Commands &commands) {
    commands.add_group("port", "Ports: state, speed, on and off, PHY reset");
    const auto [show_app, shown] = commands.add<Arguments>({
        .name = "port show",
        .summary = "Control, link, speed, duplex and PHY of ports",
        .help = kShowHelp,
        .look = show,
        .raw_schema = 2,
    });
    add_lists(show_app, "PORT", shown.ports, kPorts, "Ports, such as 0-3,7; default: all");

    const auto [speed_app, speeds] = commands.add<Arguments>({
        .name = "port speed",
        .summary = "Show or force the speed of ports",
        .help = kSpeedHelp,
        .look = speed,
        .check = check_speed,
        .changes_registers = true,
    });
    add_list(speed_app, "PORT", speeds.ports, kPorts, "Ports, such as 0-3,7")->required();
    add_parsed(speed_app, "SPEED", speeds.speed, parse_speed, "10 or 100, in Mb/s");

    const Command<Arguments> switches[] = {
        {"port up", "Switch ports on", kSwitchHelp, switch_ports<hub::kActivatePort>},
        {"port down", "Switch ports off", kSwitchHelp, switch_ports<hub::kDeactivatePort>},
        {"port reset-phy", "Reset the PHYs of ports", kSwitchHelp, reset_phys},
    };
    for (Command<Arguments> command : switches) {
        command.changes_registers = true;
        const auto [app, arguments] = commands.add(command);
        add_lists(app, "PORT", arguments.ports, kPorts, "Ports, such as 0-3,7")->required();
    }
}

} // namespace kslctl
