// SPDX-License-Identifier: Apache-2.0
// diagnose: what is wrong with ports, or with a whole chip.
#include "kslctl/commands/command.h"
#include "kslctl/views/diagnosis.h"

#include <fmt/core.h>

namespace kslctl {

namespace {

struct Arguments {
    NumberSet ports;
    std::optional<hub::Time> watch;
};

views::Shown look(Context &context, uint32_t chip, const Arguments &arguments) {
    const hub::ChipFacts facts =
        hub::read_chip_facts(chip, arguments.ports, arguments.watch, context.failures, context.options.counter_names);
    return views::diagnosis(hub::diagnose(facts), command_line_of(context.options, chip), context.style);
}

void check(Options &options, const Arguments &) {
    if (options.raw) {
        throw UsageError("--raw shows registers, and diagnose judges what they hold; each finding names its register");
    }
}

std::string help() {
    return R"(Each finding says what is seen in which register, what it means, and the command
that mends it or tells more. The worst come first: a fault keeps frames from
getting through, with a warning they hardly do so as somebody wants it, and a
note is worth knowing.

)" + views::rule_list() +
           R"(
How kslctl reads the bits: as "kslctl COMMAND --help" says for status, port
show, vlan show, age, trunk show, mirror set and learning show. A port is in a
VLAN if bit n of one of its maps is 1; which of the maps says what, kslctl does
not know. Rules of a PHY judge ports that are on, rules of VLANs only while VLAN
support is on. A learning limit of 0 is not judged: a limit of 8192 is written
as 0, too.

A port without a link may be unused. So no_link is only for ports that are asked
for, and without ports the rules of VLANs leave such a port out.

With --for, the link status is read ten times a second for so long, on each
chip, before the rest. If counters are named as errors, they are read before and
after that. The link change register is never read: that would clear
the marks for others.

A rule that needs a register that could not be read is named as not judged.

Exit status: 0 if nothing is found, 1 if something is, 3 where a register could
not be read.)";
}

} // namespace

void add_diagnose_command(Commands &commands) {
    const auto [app, arguments] = commands.add<Arguments>({
        .name = "diagnose",
        .summary = "What is wrong with ports, or with a whole chip",
        .help = help(),
        .look = look,
        .check = check,
        .shows_counters = true,
    });
    add_lists(app, "PORT", arguments.ports, kPorts, "Ports, such as 0-3,7; default: the whole chip");
    add_parsed(app, "--for", arguments.watch, parse_seconds, "Watch the links for so long, 0.01 to 86400")
        ->type_name("SECONDS");
}

} // namespace kslctl
