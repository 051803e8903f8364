// SPDX-License-Identifier: Apache-2.0
// status, link, speed, duplex, mode, bist, registers: the status registers, and all that one operation reads.
#include "kslctl/command.h"
#include "kslctl/forwarding_registers.h"
#include "kslctl/status_registers.h"

#include <algorithm>
#include <fmt/core.h>
#include <fmt/ranges.h>
#include <ksl/ksl.h>

namespace kslctl {

namespace {

using Registers = std::vector<Register>;

// ---- The registers with a value for the whole chip ----

struct ChipValue {
    Register source;
    const char *label;
    std::string (*text)(const Bytes &bytes);
    Json (*json)(const Bytes &bytes);
};

std::string self_test_text(const Bytes &bytes) {
    const SelfTest test = self_test(bytes);
    const char *const verdict = test.passed ? "passed" : "failed";
    return test.failed_ports.empty() ? verdict
                                     : fmt::format("{} (ports {})", verdict, fmt::join(test.failed_ports, ", "));
}

Json self_test_json(const Bytes &bytes) {
    const SelfTest test = self_test(bytes);
    return {{"passed", test.passed}, {"failed_ports", test.failed_ports}};
}

std::string mode_text(const Bytes &bytes) {
    const auto [managed, forwarding] = mode(bytes);
    return fmt::format("{}, {}", managed ? "managed" : "unmanaged", forwarding ? "forwarding" : "not forwarding");
}

Json mode_json(const Bytes &bytes) {
    const auto [managed, forwarding] = mode(bytes);
    return {{"managed", managed}, {"forwarding", forwarding}};
}

const ChipValue kChipValues[] = {
    {Register::self_test, "self-test", self_test_text, self_test_json},
    {Register::mode, "mode", mode_text, mode_json},
    {Register::age_timer, "age timer", kAgeTimer.text, kAgeTimer.json},
};

// ---- The registers with a bit for each port ----

struct PortValue {
    Register source;
    const char *key;
    Align align;
    bool needs_link; // without a link it has no meaning
    Json clear;
    Json set;
    const char *clear_text;
    const char *set_text;
};

const PortValue kPortValues[] = {
    {Register::link, "link", Align::left, false, false, true, "down", "up"},
    {Register::link_change, "changed", Align::left, false, false, true, "no", "yes"},
    {Register::speed, "speed", Align::right, true, 10, 100, "10", "100"},
    {Register::duplex, "duplex", Align::left, true, "half", "full", "half", "full"},
};

enum class PortBit { not_read, meaningless, clear, set };

PortBit port_value(const ChipStatus &status, const PortValue &value, unsigned port) {
    const std::optional<Bytes> &bytes = status[value.source];
    if (!bytes) {
        return PortBit::not_read;
    }
    const std::optional<Bytes> &link = status[Register::link];
    if (value.needs_link && link && !port_bit(*link, port)) {
        return PortBit::meaningless;
    }
    return port_bit(*bytes, port) ? PortBit::set : PortBit::clear;
}

std::string port_text(PortBit bit, const PortValue &value) {
    switch (bit) {
    case PortBit::not_read:
        return std::string(kNotRead);
    case PortBit::meaningless:
        return std::string(kNothing);
    case PortBit::clear:
        return value.clear_text;
    case PortBit::set:
        break;
    }
    return value.set_text;
}

Json port_json(PortBit bit, const PortValue &value) {
    return bit == PortBit::set ? value.set : bit == PortBit::clear ? value.clear : Json(nullptr);
}

// ---- Chips as a whole ----

bool contains(const Registers &registers, Register which) {
    return std::find(registers.begin(), registers.end(), which) != registers.end();
}

std::vector<const PortValue *> port_values_of(const Registers &registers) {
    std::vector<const PortValue *> values;
    for (const PortValue &value : kPortValues) {
        if (contains(registers, value.source)) {
            values.push_back(&value);
        }
    }
    return values;
}

std::string chip_text(const ChipStatus &status, const Registers &registers, const Style &style) {
    std::string text;
    for (const ChipValue &value : kChipValues) {
        if (contains(registers, value.source)) {
            const std::optional<Bytes> &bytes = status[value.source];
            text += fmt::format("{:<9}  {}\n", value.label, style.value(bytes ? value.text(*bytes) : kNotRead));
        }
    }
    const std::vector<const PortValue *> values = port_values_of(registers);
    if (values.empty()) {
        return text;
    }
    std::vector<Column> columns = {{"port", Align::right}};
    for (const PortValue *value : values) {
        columns.push_back({value->key, value->align});
    }
    Table table(columns);
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        std::vector<std::string> row = {std::to_string(port)};
        for (const PortValue *value : values) {
            row.push_back(port_text(port_value(status, *value, port), *value));
        }
        table.add_row(row);
    }
    return text + (text.empty() ? "" : "\n") + table.render(style);
}

Json chip_json(const ChipStatus &status, const Registers &registers) {
    Json chip = Json::object();
    for (const ChipValue &value : kChipValues) {
        if (contains(registers, value.source)) {
            const std::optional<Bytes> &bytes = status[value.source];
            chip[info(value.source).key] = bytes ? value.json(*bytes) : Json(nullptr);
        }
    }
    const std::vector<const PortValue *> values = port_values_of(registers);
    for (unsigned port = 0; port < KSL_PORTS && !values.empty(); ++port) {
        Json entry = {{"port", port}};
        for (const PortValue *value : values) {
            entry[value->key] = port_json(port_value(status, *value, port), *value);
        }
        chip["ports"].push_back(entry);
    }
    return chip;
}

// ---- The same as bytes ----

std::string raw_bytes(const ChipStatus &status, Register which) {
    const std::span bytes(status[which]->data(), info(which).length);
    return fmt::format("{:02x}", fmt::join(bytes, " "));
}

std::string raw_text(const ChipStatus &status, const Registers &registers, const Style &style) {
    std::string text;
    for (const Register which : registers) {
        const std::string bytes = status[which] ? raw_bytes(status, which) : std::string(kNotRead);
        text += fmt::format("{:<11}  {}\n", info(which).key, style.value(bytes));
    }
    return text;
}

Json raw_json(const ChipStatus &status, const Registers &registers) {
    Json list = Json::array();
    for (const Register which : registers) {
        const RegisterInfo &place = info(which);
        list.push_back({{"register", place.key},
                        {"page", place.page},
                        {"offset", place.offset},
                        {"bytes", status[which] ? Json(raw_bytes(status, which)) : Json(nullptr)}});
    }
    return {{"registers", list}};
}

// ---- The commands ----

ChipResult look(Context &context, uint32_t chip, const Registers &registers, bool at_once) {
    const ChipStatus status =
        at_once ? read_control_registers(chip, context.report) : read_status(chip, registers, context.report);
    return context.options.raw ? ChipResult{raw_json(status, registers), raw_text(status, registers, context.style)}
                               : ChipResult{chip_json(status, registers), chip_text(status, registers, context.style)};
}

Result run(Context &context, const Registers &registers, bool tells_hub) {
    Result result = of_each_chip(context, [&](uint32_t chip) { return look(context, chip, registers, false); });
    if (const std::optional<std::string> &simulation = context.library.simulation(); tells_hub && simulation) {
        result.text = fmt::format("{:<9}  {}\n\n{}", "hub", *simulation, result.text);
    }
    return result;
}

constexpr char kBits[] = R"(The options of "kslctl --help" may stand behind the command too.

What kslctl reads into the bits (--raw shows the bytes as the library hands them out instead):
  link      bit n is 1: port n has a link
  changed   bit n is 1: port n's link changed since this word was last read; reading clears it
  speed     bit n is 1: port n runs at 100 Mb/s, else at 10
  duplex    bit n is 1: port n is full duplex, else half
  mode      bit 0 of the byte: managed, bit 1: forwarding
  bist      bit 47, the top bit of the 6 bytes: a test failed; bits 23 to 0: port n failed
A word is its four bytes, most significant first; bit 0 is the lowest. Speed and duplex of a port without a link are
shown as "-". What could not be read is shown as "?", the failure is named on stderr, and the exit status is 3.)";

const std::string kRegistersHelp =
    std::string(
        R"(One operation reads all of them in the order in which --raw shows them, and ends at the first that fails; those behind
it are shown as "?", too. The age timer, bits 0 to 19 of its word, is in the chip's own unit.

)") +
    kBits;

constexpr Register kAllRegisters[] = {Register::mode,  Register::self_test, Register::link,     Register::link_change,
                                      Register::speed, Register::duplex,    Register::age_timer};

struct CommandRow {
    const char *name;
    const char *summary;
    Registers registers;
};

} // namespace

void add_status_commands(Commands &commands) {
    const CommandRow rows[] = {
        {"status",
         "Self-test verdict, switch mode, and link, speed and duplex of all ports",
         {Register::self_test, Register::mode, Register::link, Register::speed, Register::duplex}},
        {"link",
         "Link of all ports, and its changes since the last look (looking clears them)",
         {Register::link, Register::link_change}},
        {"speed", "Speed of all ports in Mb/s", {Register::link, Register::speed}},
        {"duplex", "Duplex of all ports", {Register::link, Register::duplex}},
        {"mode", "Switch mode", {Register::mode}},
        {"bist", "Self-test verdict", {Register::self_test}},
    };
    for (const CommandRow &row : rows) {
        const bool tells_hub = row.name == std::string_view("status");
        commands.add(row.name, row.summary, kBits, [registers = row.registers, tells_hub](Context &context) {
            return run(context, registers, tells_hub);
        });
    }
    commands.add("registers", "Self-test, mode, age timer, and all of the ports (clears the link changes)",
                 kRegistersHelp, [](Context &context) {
                     const Registers all(std::begin(kAllRegisters), std::end(kAllRegisters));
                     return of_each_chip(context, [&](uint32_t chip) { return look(context, chip, all, true); });
                 });
}

} // namespace kslctl
