// SPDX-License-Identifier: Apache-2.0
// age, trunk show, trunk check, mirror show, mirror set, mirror off, learning show, learning limit: how the chip
// forwards.
#include "kslctl/views/forwarding.h"
#include "kslctl/commands/command.h"
#include "kslctl/views/status.h"

#include <fmt/core.h>

namespace kslctl {

namespace {

constexpr NumberKind kAgeTimes{"age time", 0, 0xFFFFF};
constexpr NumberKind kTrunkGroups{"trunk group", 0, 1};
constexpr NumberKind kLimits{"number", 0, 0xFFFFFFFF}; // the library knows which of them are limits

// ---- age ----

using AgeTime = std::optional<uint32_t>;

views::Shown age(Context &context, uint32_t chip, const AgeTime &time) {
    if (time) {
        return change(context, chip, hub::new_age_time(*time));
    }
    const hub::WantedRegisters wanted = {&hub::registers::age_timer};
    const hub::ChipStatus status = hub::read_status(chip, wanted, context.failures);
    return context.options.raw ? views::raw(status.registers, context.style)
                               : views::status(status, wanted, context.style);
}

void check_age(Options &options, const AgeTime &time) {
    check_dry_run(options, time.has_value(), "age time");
}

constexpr char kAgeHelp[] =
    R"(Without RAW, kslctl shows the age timer of the address table: bits 0 to 19 of
its register, in the chip's own unit; --raw shows its place. On the simulated
hub the unit is seconds, and 0 keeps addresses for ever.

With RAW, kslctl writes the age timer, and 0 into the upper 12 bits of the
word.)";

// ---- trunk ----

views::Shown trunks(Context &context, uint32_t chip, const NoArguments &) {
    return view_or_raw(context, hub::read_trunks(chip, context.failures), views::trunks);
}

views::Shown check_trunk(Context &context, uint32_t chip, const hub::TrunkQuestion &question) {
    return views::trunk_answer(question, hub::ask_trunk(chip, question, context.failures), context.style);
}

constexpr char kTrunkShowHelp[] =
    R"(How kslctl reads the bits (--raw shows the bytes instead):
  trunk control  bit 1 of the byte at page 0x32, offset 0x00: trunks are on
  trunk group 0  bit 27 of the word at offset 0x10: the flag of the group;
                 bits 0 to 23: its ports
The library reads trunk group 0 twice and no other group; kslctl shows both
values in the order in which they were read. What could not be read is shown
as "?".)";

constexpr char kTrunkCheckHelp[] =
    R"(Two ports are members of a group if trunks are on, the flag of the group is
set, and the bits of both ports are set ("kslctl trunk show" shows all of
these). The library accepts group 1, but does not read its register: the
answer is always no.

Exit status: 0 if both are members, 1 if not, 3 if the registers could not be
read.)";

void add_trunk(Commands &commands) {
    commands.add_group("trunk", "Trunk groups: show, check two ports");
    commands.add({
        .name = "trunk show",
        .summary = "The trunk registers",
        .help = kTrunkShowHelp,
        .look = trunks,
        .raw_schema = 2,
    });
    const auto [check, question] = commands.add<hub::TrunkQuestion>({
        .name = "trunk check",
        .summary = "Whether two ports are members of a trunk group",
        .help = kTrunkCheckHelp,
        .look = check_trunk,
        .raw_schema = kNoRaw,
    });
    add_number(check, "GROUP", question.group, kTrunkGroups, "Trunk group, 0 or 1")->required();
    add_number(check, "A", question.port_a, kPorts, "Port")->required();
    add_number(check, "B", question.port_b, kPorts, "Another port")->required();
}

// ---- mirror ----

struct MirrorArguments {
    uint32_t capture = 0;
    NumberSet ports;
};

views::Shown show_mirroring(Context &context, uint32_t chip, const NoArguments &) {
    return view_or_raw(context, hub::read_mirroring(chip, context.failures), views::mirroring);
}

views::Shown mirror(Context &context, uint32_t chip, const MirrorArguments &arguments) {
    return change(context, chip, hub::mirroring(arguments.capture, arguments.ports.front(), arguments.ports.back()));
}

views::Shown switch_mirror_off(Context &context, uint32_t chip, const NumberSet &ports) {
    return change(context, chip, hub::mirroring_off(ports.front()));
}

void check_mirror(Options &, const MirrorArguments &arguments) {
    const uint32_t first = arguments.ports.front();
    const uint32_t last = arguments.ports.back();
    if (last - first + 1 != arguments.ports.size()) {
        throw UsageError(fmt::format("the library mirrors one range of ports, and {} has a gap; {}-{} has none",
                                     hub::describe_numbers(arguments.ports), first, last));
    }
}

constexpr char kMirrorShowHelp[] =
    R"(How kslctl reads the bits of the three words of page 0x02 (--raw shows the bytes
instead):
  mirror control       (offset 0x10) bit 31: mirroring is on; bits 0 to 23: the
                       ports that get the copies
  ingress mirror mask  (offset 0x14) bit n: frames that port n receives are
                       mirrored
  egress mirror mask   (offset 0x20) bit n: frames that port n sends are
While mirroring is off, the masks hold what they did before. What could not be
read is shown as "?".)";

constexpr char kMirrorHelp[] =
    R"(What is written, each 4 bytes of page 0x02:
  set  mirror control (offset 0x10): bit 31, mirroring is on, and the bit of
       the port CAPTURE
       ingress mirror mask (offset 0x14): 0, received frames are not mirrored
       egress mirror mask (offset 0x20): the bits of the other ports, which are
       one range: the library sets no mask with gaps
  off  mirror control: 0, whatever ports are named; the masks stay as they are
The three are written in that order. The first failure ends the writing, and
what was written before it stays.)";

void add_mirror(Commands &commands) {
    commands.add_group("mirror", "Port mirroring: show, set, switch off");
    commands.add({
        .name = "mirror show",
        .summary = "The mirror registers",
        .help = kMirrorShowHelp,
        .look = show_mirroring,
    });
    const auto [set, arguments] = commands.add<MirrorArguments>({
        .name = "mirror set",
        .summary = "Mirror what a range of ports sends",
        .help = kMirrorHelp,
        .look = mirror,
        .check = check_mirror,
        .changes_registers = true,
    });
    add_number(set, "CAPTURE", arguments.capture, kPorts, "Port that gets the copies")->required();
    add_lists(set, "PORT", arguments.ports, kPorts, "Ports whose sent frames are copied: a range")->required();

    const auto [off, ports] = commands.add<NumberSet>({
        .name = "mirror off",
        .summary = "Switch mirroring off",
        .help = kMirrorHelp,
        .look = switch_mirror_off,
        .changes_registers = true,
    });
    add_lists(off, "PORT", ports, kPorts, "Any ports")->required();
}

// ---- learning ----

struct LearningArguments {
    NumberSet ports = hub::all_ports();
    uint32_t limit = 0;
};

views::Shown learning(Context &context, uint32_t chip, const LearningArguments &arguments) {
    if (context.options.raw) {
        return views::raw(hub::read_learning_registers(chip, arguments.ports, context.failures), context.style);
    }
    return views::learning(hub::read_learning(chip, arguments.ports, context.failures), context.style);
}

views::Shown limit_learning(Context &context, uint32_t chip, const LearningArguments &arguments) {
    return change(context, chip, hub::new_learning_limit(arguments.limit), arguments.ports);
}

void check_limit(Options &options, const LearningArguments &arguments) {
    if (options.dry_run && arguments.limit > hub::kHighestLearningLimit) {
        throw UsageError(fmt::format("nothing would be written: the library refuses a limit of {}, which is above {}",
                                     arguments.limit, hub::kHighestLearningLimit));
    }
}

constexpr char kLearningHelp[] =
    R"(How kslctl reads the bits:
  learned  bits 0 to 12 of the two bytes at page 0x41, offset 0x30 + 2 * port:
           the number of source addresses that the port has learned
  limit    bits 0 to 12 of the two bytes at offset 0x70 + 2 * port: how many
           it may learn. 0 is shown as "no limit": 8192 does not fit, is
           written as 0, and is all that the address table holds
The library refuses limits above 8192.)";

void add_learning(Commands &commands) {
    commands.add_group("learning", "Learned addresses of the ports, and their limits");
    const auto [show, shown] = commands.add<LearningArguments>({
        .name = "learning show",
        .summary = "Addresses that ports have learned, and may learn",
        .help = kLearningHelp,
        .look = learning,
    });
    add_lists(show, "PORT", shown.ports, kPorts, "Ports, such as 0-3,7; default: all");

    const auto [limit, limited] = commands.add<LearningArguments>({
        .name = "learning limit",
        .summary = "Limit how many addresses ports may learn",
        .help = kLearningHelp,
        .look = limit_learning,
        .check = check_limit,
        .changes_registers = true,
    });
    add_list(limit, "PORT", limited.ports, kPorts, "Ports, such as 0-3,7")->required();
    add_number(limit, "N", limited.limit, kLimits, "Limit, 0 to 8192")->required();
}

} // namespace

void add_forwarding_commands(Commands &commands) {
    const auto [app, time] = commands.add<AgeTime>({
        .name = "age",
        .summary = "Show or set the age timer of the address table",
        .help = kAgeHelp,
        .look = age,
        .check = check_age,
        .changes_registers = true,
    });
    add_number(app, "RAW", time, kAgeTimes, "Age time to set, 0 to 1048575, in the chip's unit");
    add_trunk(commands);
    add_mirror(commands);
    add_learning(commands);
}

} // namespace kslctl
