// SPDX-License-Identifier: Apache-2.0
// age, trunk show, trunk check, mirror set, mirror off, learning show, learning limit: how the chip forwards.
#include "kslctl/change.h"
#include "kslctl/command.h"
#include "kslctl/forwarding_registers.h"
#include "kslctl/raw.h"

#include <fmt/core.h>

namespace kslctl {

namespace {

using Number = std::shared_ptr<std::optional<uint32_t>>;

Number new_number() {
    return std::make_shared<std::optional<uint32_t>>();
}

Json json_of(const PortRegister &which, const std::optional<Bytes> &bytes) {
    return bytes ? which.json(*bytes) : Json(nullptr);
}

std::string text_of(const PortRegister &which, const std::optional<Bytes> &bytes) {
    return bytes ? which.text(*bytes) : std::string(kNotRead);
}

// ---- age ----

constexpr NumberKind kAgeTimes{"age time", 0, 0xFFFFF};

ChipResult show_age(Context &context, uint32_t chip) {
    const std::optional<Bytes> bytes = read(kAgeTimer, chip, 0, context.report);
    if (context.options.raw) {
        const std::vector<RawRegister> registers = {raw(kAgeTimer, 0, bytes)};
        return {raw_json(registers), raw_text(registers, context.style)};
    }
    return {{{kAgeTimer.key, json_of(kAgeTimer, bytes)}},
            fmt::format("age timer  {}\n", context.style.value(text_of(kAgeTimer, bytes)))};
}

Result set_age(Context &context, uint32_t time, bool dry_run) {
    const Change change{
        .operation = "ksl_set_age_timer_reg",
        .what = "age timer",
        .undone = "not set",
        .registers = {{&kAgeTimer, [time](const Bytes &) { return age_time_bytes(time); }}},
        .run = [time](uint32_t chip, uint32_t, const Bytes &) { return ksl_set_age_timer_reg(chip, time); },
    };
    return change_chips(context, change, dry_run);
}

constexpr char kAgeHelp[] =
    R"(Without RAW, the age timer of the address table is shown: bits 0 to 19 of the word at page 0x02, offset 0x06, in the
chip's own unit (the simulated hub has seconds, and 0 for ever). With RAW, it is written, the word's upper 12 bits as 0.
Shown is what the register held before and holds afterwards. It is not written when it cannot be read first.)";

// ---- trunk ----

ChipResult show_trunks(Context &context, uint32_t chip) {
    const auto [control, group0, again] = read_trunk_registers(chip, context.report);
    if (context.options.raw) {
        RawRegister repeated = raw(kTrunkGroup0, 0, again);
        repeated.key = "trunk_group_0_again";
        const std::vector<RawRegister> registers = {raw(kTrunkControl, 0, control), raw(kTrunkGroup0, 0, group0),
                                                    repeated};
        return {raw_json(registers), raw_text(registers, context.style)};
    }
    const auto line = [&](const char *label, const PortRegister &which, const std::optional<Bytes> &bytes) {
        return fmt::format("{:<14}  {}\n", label, context.style.value(text_of(which, bytes)));
    };
    return {{{"enabled", json_of(kTrunkControl, control)},
             {"group0", json_of(kTrunkGroup0, group0)},
             {"group0_again", json_of(kTrunkGroup0, again)}},
            line("trunking", kTrunkControl, control) + line("group 0", kTrunkGroup0, group0) +
                line("group 0, again", kTrunkGroup0, again)};
}

constexpr char kTrunkShowHelp[] =
    R"(What kslctl reads into the bits (--raw shows the bytes instead):
  trunking        bit 1 of the byte at page 0x32, offset 0x00: on
  group 0         bit 27 of the word at offset 0x10: the group's flag; bits 0 to 23: its ports
  group 0, again  the library reads that register a second time, and no other group's
What could not be read is shown as "?".)";

struct TrunkQuestion {
    Number group = new_number();
    Number port_a = new_number();
    Number port_b = new_number();
};

ChipResult check_trunk(Context &context, uint32_t chip, uint32_t group, uint32_t port_a, uint32_t port_b) {
    uint32_t answer = 0;
    const int32_t code = ksl_validate_trunk_group(chip, group, port_a, port_b, &answer);
    if (code != 0) {
        context.report.fail(
            {chip, "ksl_validate_trunk_group", fmt::format("trunk group {}", group), code, "not checked"});
    }
    const bool is_so = answer != 0;
    const std::string text = code != 0    ? context.style.value(kNotRead)
                             : is_so      ? fmt::format("has the ports {} and {}", port_a, port_b)
                             : group == 0 ? fmt::format("does not have both ports {} and {}, or is off", port_a, port_b)
                                          : "is never looked at: the library confirms no ports of it";
    const Json verdict = code == 0 ? Json(is_so) : Json(nullptr);
    return {{{"group", group}, {"port_a", port_a}, {"port_b", port_b}, {"verdict", verdict}},
            fmt::format("trunk group {}  {}\n", group, text),
            code == 0 && !is_so};
}

constexpr NumberKind kTrunkGroups{"trunk group", 0, 1};

constexpr char kTrunkCheckHelp[] =
    R"(Two ports are members of a group when trunking is on, the group's flag is set, and so is each port's bit ("kslctl trunk
show" has them all). The library knows group 1 but does not read its register: the answer is always no.

Exit status: 0 when both are members, 1 when not, 3 when the registers could not be read.)";

// ---- mirror ----

std::function<Bytes(const Bytes &)> always(const Bytes &bytes) {
    return [bytes](const Bytes &) { return bytes; };
}

struct MirrorPorts {
    Number capture = new_number();
    Number first = new_number();
    Number last = new_number();
};

Result set_mirror(Context &context, uint32_t capture, uint32_t first, uint32_t last, bool dry_run) {
    const Change change{
        .operation = "ksl_set_mirror_port",
        .what = "mirroring",
        .undone = "not set",
        .registers = {{&kMirrorControl, always(capture_bytes(capture))},
                      {&kIngressMirrorMask, always(word_bytes(0))},
                      {&kEgressMirrorMask, always(port_range_bytes(first, last))}},
        .run = [=](uint32_t chip, uint32_t, const Bytes &) { return ksl_set_mirror_port(chip, capture, first, last); },
    };
    return change_chips(context, change, dry_run);
}

Result unset_mirror(Context &context, uint32_t port, bool dry_run) {
    const Change change{
        .operation = "ksl_unset_mirror_port",
        .what = "mirroring",
        .undone = "not switched off",
        .registers = {{&kMirrorControl, always(word_bytes(0))}},
        .run = [port](uint32_t chip, uint32_t, const Bytes &) { return ksl_unset_mirror_port(chip, port); },
    };
    return change_chips(context, change, dry_run);
}

constexpr char kMirrorHelp[] =
    R"(What is written, each 4 bytes of page 0x02:
  set  mirror control (offset 0x10): bit 31, mirroring is on, and the bit of the port CAPTURE; ingress mirror mask (offset
       0x14): 0, received frames are never mirrored; egress mirror mask (offset 0x20): the bits of FIRST to LAST
  off  mirror control: 0, whichever port is named; the masks stay as they are
The three are written in that order, up to the first that fails; nothing is taken back. Shown is what the registers held
before and hold afterwards. None is written when one cannot be read first.)";

// ---- learning ----

constexpr uint32_t kHighestLimit = 8192;
constexpr NumberKind kLimits{"number", 0, 0xFFFFFFFF}; // which of them are limits is the library's affair

std::optional<uint32_t> read_number(Context &context, uint32_t chip, uint32_t port, const PortRegister &which,
                                    const char *operation, int32_t (*get)(uint32_t, uint32_t, uint32_t *)) {
    uint32_t number = 0;
    if (const int32_t code = get(chip, port, &number); code != 0) {
        context.report.fail({chip, operation, describe(which, port), code});
        return std::nullopt;
    }
    return number;
}

ChipResult show_learning(Context &context, uint32_t chip, const NumberSet &ports) {
    if (context.options.raw) {
        // The operations hand out no bytes, only the numbers.
        std::vector<RawRegister> registers;
        for (const uint32_t port : ports) {
            for (const PortRegister *which : {&kLearnedCount, &kLearningLimit}) {
                registers.push_back(raw(*which, port, read(*which, chip, port, context.report)));
            }
        }
        return {raw_json(registers), raw_text(registers, context.style)};
    }
    const auto json = [](std::optional<uint32_t> number) { return number ? Json(*number) : Json(nullptr); };
    const auto text = [](std::optional<uint32_t> number) {
        return number ? std::to_string(*number) : std::string(kNotRead);
    };
    Json list = Json::array();
    Table table({{"port", Align::right}, {"learned", Align::right}, {"limit", Align::right}});
    for (const uint32_t port : ports) {
        const auto learned =
            read_number(context, chip, port, kLearnedCount, "ksl_get_SA_count_at_port", ksl_get_SA_count_at_port);
        const auto limit = read_number(context, chip, port, kLearningLimit, "ksl_get_learning_threshold_at_port",
                                       ksl_get_learning_threshold_at_port);
        list.push_back({{"port", port}, {"learned", json(learned)}, {"limit", json(limit)}});
        table.add_row({std::to_string(port), text(learned), text(limit)});
    }
    return {{{"ports", list}}, table.render(context.style)};
}

Result set_limit(Context &context, const NumberSet &ports, uint32_t limit, bool dry_run) {
    const Change change{
        .operation = "ksl_set_learning_threshold_at_port",
        .what = "learning limit of port {}",
        .undone = "not set",
        .registers = {{&kLearningLimit, always(learning_bytes(limit))}},
        .run = [limit](uint32_t chip, uint32_t port,
                       const Bytes &) { return ksl_set_learning_threshold_at_port(chip, port, limit); },
        .refusal = limit > kHighestLimit ? "the library takes limits from 0 to 8192" : nullptr,
    };
    return change_ports(context, ports, change, dry_run);
}

constexpr char kLearningHelp[] =
    R"(Ports are numbers and ranges (0-3,7).

What kslctl reads into the bits:
  learned  bits 0 to 12 of the two bytes at page 0x41, offset 0x30 + 2 * port: source addresses that the port has learned
  limit    bits 0 to 12 at offset 0x70 + 2 * port: how many it may learn (on the simulated hub, 0 is no limit)
A limit of 8192 does not fit and is written as 0; the library refuses higher ones. Shown is what the register held before
and holds afterwards. A port whose register cannot be read first is left as it is.)";

// ---- The commands ----

void add_age(Commands &commands) {
    const Number time = new_number();
    const auto dry_run = std::make_shared<bool>(false);
    CLI::App &age = commands.add(
        "age", "Show or set the age timer of the address table", kAgeHelp,
        [=](Context &context) {
            return *time ? set_age(context, **time, *dry_run)
                         : of_each_chip(context, [&](uint32_t chip) { return show_age(context, chip); });
        },
        [=](const Options &) {
            if (*dry_run && !*time) {
                throw UsageError("--dry-run is for a change, and no age time is given");
            }
        });
    add_number(age, "RAW", Need::optional, kAgeTimes, time, "Age time to be set, 0 to 1048575 of the chip's units");
    add_dry_run(age, dry_run);
}

void add_trunk(Commands &commands) {
    Commands::Group group = commands.add_group("trunk", "Trunk groups: show, check two ports");
    group.add("show", "The trunk registers", kTrunkShowHelp, [](Context &context) {
        return of_each_chip(context, [&](uint32_t chip) { return show_trunks(context, chip); });
    });
    const TrunkQuestion question;
    CLI::App &check = group.add(
        "check", "Whether two ports are members of a trunk group", kTrunkCheckHelp,
        [question](Context &context) {
            return of_each_chip(context, [&](uint32_t chip) {
                return check_trunk(context, chip, **question.group, **question.port_a, **question.port_b);
            });
        },
        check_no_raw);
    add_number(check, "GROUP", Need::required, kTrunkGroups, question.group, "Trunk group, 0 or 1");
    add_number(check, "A", Need::required, kPorts, question.port_a, "Port");
    add_number(check, "B", Need::required, kPorts, question.port_b, "Another port");
}

void add_mirror(Commands &commands) {
    Commands::Group group = commands.add_group("mirror", "Port mirroring: set, switch off");
    const auto dry_run = std::make_shared<bool>(false);
    const MirrorPorts ports;
    CLI::App &set = group.add(
        "set", "Mirror what a range of ports sends", kMirrorHelp,
        [=](Context &context) { return set_mirror(context, **ports.capture, **ports.first, **ports.last, *dry_run); },
        [=](const Options &) {
            if (**ports.first > **ports.last) {
                throw UsageError(fmt::format("the range from port {} to port {} runs backwards: nothing would be "
                                             "mirrored",
                                             **ports.first, **ports.last));
            }
        });
    add_number(set, "CAPTURE", Need::required, kPorts, ports.capture, "Port that gets the copies");
    add_number(set, "FIRST", Need::required, kPorts, ports.first, "First port of the range");
    add_number(set, "LAST", Need::required, kPorts, ports.last, "Last port of the range");
    add_dry_run(set, dry_run);

    const Number port = new_number();
    CLI::App &off = group.add("off", "Switch mirroring off", kMirrorHelp,
                              [=](Context &context) { return unset_mirror(context, **port, *dry_run); });
    add_number(off, "PORT", Need::required, kPorts, port, "Any port");
    add_dry_run(off, dry_run);
}

void add_learning(Commands &commands) {
    Commands::Group group = commands.add_group("learning", "Learned addresses of the ports, and their limits");
    const auto ports = std::make_shared<NumberSet>();
    CLI::App &show =
        group.add("show", "How many addresses ports have learned, and may learn", kLearningHelp, [=](Context &context) {
            return of_each_chip(context,
                                [&](uint32_t chip) { return show_learning(context, chip, or_all_ports(*ports)); });
        });
    add_lists(show, "PORT", Need::optional, kPorts, ports, "Ports; default: all");

    const Number limit = new_number();
    const auto dry_run = std::make_shared<bool>(false);
    CLI::App &set = group.add(
        "limit", "Limit how many addresses ports may learn", kLearningHelp,
        [=](Context &context) { return set_limit(context, *ports, **limit, *dry_run); },
        [=](const Options &) {
            if (*dry_run && **limit > kHighestLimit) {
                throw UsageError(fmt::format("nothing would be written: the library refuses a limit of {}, which is "
                                             "above {}",
                                             **limit, kHighestLimit));
            }
        });
    add_list(set, "PORT", Need::required, kPorts, ports, "Ports");
    add_number(set, "N", Need::required, kLimits, limit, "Limit, 0 to 8192");
    add_dry_run(set, dry_run);
}

} // namespace

void add_forwarding_commands(Commands &commands) {
    add_age(commands);
    add_trunk(commands);
    add_mirror(commands);
    add_learning(commands);
}

} // namespace kslctl
