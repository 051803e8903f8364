// SPDX-License-Identifier: Apache-2.0
// status, link, speed, duplex, mode, bist, registers: the status registers, and all that one operation reads.
#include "kslctl/views/status.h"
#include "kslctl/commands/command.h"

#include <algorithm>
#include <fmt/core.h>

namespace kslctl {

namespace {

namespace registers = hub::registers;

struct Wanted {
    hub::WantedRegisters registers;
    NumberSet ports = hub::all_ports();
};

views::Shown show(const Context &context, const hub::ChipStatus &status, const hub::WantedRegisters &wanted) {
    return view_or_raw(context, status, [&](const hub::ChipStatus &facts, const views::Style &style) {
        return views::status(facts, wanted, style);
    });
}

// Nobody else will see these marks again.
void note_other_changes(Report &report, uint32_t chip, const hub::ChipStatus &status, const NumberSet &shown) {
    std::vector<uint32_t> others;
    for (const hub::PortStatus &port : status.ports) {
        const bool is_marked = port.changed.is_read() && *port.changed;
        if (is_marked && !std::binary_search(shown.begin(), shown.end(), port.port)) {
            others.push_back(port.port);
        }
    }
    if (!others.empty()) {
        report.note(fmt::format("chip {}: this look cleared the change marks of all ports; others that had one: {}",
                                chip, hub::describe_ports(others)));
    }
}

views::Shown look(Context &context, uint32_t chip, const Wanted &wanted) {
    hub::ChipStatus status = hub::read_status(chip, wanted.registers, context.failures);
    if (!context.options.raw) {
        note_other_changes(context.report, chip, status, wanted.ports);
    }
    hub::keep_ports(status, wanted.ports);
    return show(context, status, wanted.registers);
}

// Names the simulated hub, and what of the environment counts, too.
Result run_status(Context &context, const Wanted &wanted) {
    Result result = of_each_chip(context, [&](uint32_t chip) { return look(context, chip, wanted); });
    std::string head;
    if (const std::optional<std::string> &simulation = context.library.simulation()) {
        head += fmt::format("{:<9}  {}\n", "hub", *simulation);
    }
    if (!context.options.environment.empty()) {
        head += fmt::format("{:<9} ", "defaults");
        for (const auto &[name, value] : context.options.environment) {
            head += fmt::format(" {}={}", name, value);
        }
        head += "\n";
    }
    result.text = fmt::format("{}{}{}", head, head.empty() ? "" : "\n", result.text);
    return result;
}

views::Shown look_at_registers(Context &context, uint32_t chip, const NoArguments &) {
    return show(context, hub::read_control_registers(chip, context.failures), hub::kControlRegisters);
}

constexpr char kBits[] = R"(The options of "kslctl --help" may also follow the command.

How kslctl reads the bits (--raw shows the bytes instead):
  link      bit n is 1: port n has a link
  changed   bit n is 1: port n's link changed since this word was last read;
            reading clears it for all ports, also where only some are shown
  speed     bit n is 1: port n runs at 100 Mb/s, else at 10
  duplex    bit n is 1: port n is full duplex, else half
  mode      bit 0 of the byte: managed, bit 1: forwarding
  bist      bit 47, the top bit of the 6 bytes: a test failed;
            bits 23 to 0: port n failed
A register is shown most significant byte first; bit 0 is its lowest bit. It has
the bits of all ports. Speed and duplex of a port without a link are shown as
"-". A value that could not be read is shown as "?", the failure is named on
stderr, and the exit status is 3.)";

const std::string kRegistersHelp =
    std::string(
        R"(One operation reads all of them, in the order in which --raw shows them. It ends
at the first failure; the registers after it are shown as "?", too. The age
timer, bits 0 to 19 of its word, is in the chip's own unit.

)") +
    kBits;

constexpr int kRawSchema = 2;

Added<Wanted> add(Commands &commands, const char *name, const char *summary, const Wanted &wanted) {
    return commands.add<Wanted>(
        {
            .name = name,
            .summary = summary,
            .help = kBits,
            .look = look,
            .raw_schema = kRawSchema,
        },
        wanted);
}

void add_ports(const Added<Wanted> &added) {
    add_lists(added.app, "PORT", added.arguments.ports, kPorts, "Ports, such as 0-3,7; default: all");
}

} // namespace

void add_status_commands(Commands &commands) {
    add_ports(commands.add<Wanted>(
        {
            .name = "status",
            .summary = "Self-test, mode, and link, speed, duplex of ports",
            .help = kBits,
            .run = run_status,
            .raw_schema = kRawSchema,
        },
        {{&registers::self_test, &registers::switch_mode, &registers::link_status, &registers::port_speed,
          &registers::port_duplex}}));
    add_ports(add(commands, "link", "Links of ports; shows and clears their changes",
                  {{&registers::link_status, &registers::link_change}}));
    add_ports(add(commands, "speed", "Speed of ports in Mb/s", {{&registers::link_status, &registers::port_speed}}));
    add_ports(add(commands, "duplex", "Duplex of ports", {{&registers::link_status, &registers::port_duplex}}));
    add(commands, "mode", "Switch mode", {{&registers::switch_mode}});
    add(commands, "bist", "Self-test verdict", {{&registers::self_test}});
    commands.add({
        .name = "registers",
        .summary = "All status and age timer; clears the link changes",
        .help = kRegistersHelp,
        .look = look_at_registers,
        .raw_schema = kRawSchema,
    });
}

} // namespace kslctl
