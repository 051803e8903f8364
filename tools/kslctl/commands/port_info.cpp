// SPDX-License-Identifier: Apache-2.0
// port info: everything about single ports.
#include "kslctl/views/port_info.h"
#include "kslctl/commands/command.h"

namespace kslctl {

namespace {

struct Arguments {
    NumberSet ports;
    hub::Time time{1};
};

views::Shown look(Context &context, uint32_t chip, const Arguments &arguments) {
    const hub::CounterNames &names = context.options.counter_names;
    return views::port_infos(hub::read_port_infos(chip, arguments.ports, arguments.time, context.failures, names),
                             arguments.time, names, command_line_of(context.options, chip), context.style);
}

void check(Options &options, const Arguments &) {
    if (options.raw) {
        throw UsageError("--raw shows registers, and port info what many of them mean together; \"kslctl port show "
                         "--raw\" shows those of a port");
    }
}

constexpr char kHelp[] = R"(Everything about a port on one screen:
  port       port control, and whether the port passed its self-test
  link       link, speed and duplex as they are; how often the link was not as
             at the read before, in the time of the look. The link change
             register is not read: that would clear its marks for others
  PHY        what PHY control tells the PHY
  PVID       VLAN and priority of frames without a tag
  member of  valid VLANs that have the port in one of their maps; "-" while VLAN
             support is off
  learned    number of learned addresses, and its limit
  addresses  the first addresses of the port
  trunk      the ports of its group, while trunks are on
  mirroring  whether frames are mirrored, and to which ports; "-" while it is
             off
  counters   those that moved during the look, and their rates
At the end are the findings of "kslctl diagnose" about the port.

How kslctl reads the bits: as "kslctl COMMAND --help" says for port show,
status, vlan show, learning show, trunk show, mirror set and mib. A value that
could not be read is shown as "?".)";

} // namespace

void add_port_info_command(Commands &commands) {
    const auto [app, arguments] = commands.add<Arguments>({
        .name = "port info",
        .summary = "Everything about ports, on one screen each",
        .help = kHelp,
        .look = look,
        .check = check,
        .shows_counters = true,
    });
    add_lists(app, "PORT", arguments.ports, kPorts, "Ports, such as 0-3,7")->required();
    add_parsed(app, "--for", arguments.time, parse_seconds, "Time of the look, 0.01 to 86400; default: 1")
        ->type_name("SECONDS");
}

} // namespace kslctl
