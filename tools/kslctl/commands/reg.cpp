// SPDX-License-Identifier: Apache-2.0
// reg get, reg set, reg dump: any register, for debugging.
#include "kslctl/arguments.h"
#include "kslctl/command.h"
#include "kslctl/dumped_registers.h"
#include "kslctl/own_trace.h"
#include "kslctl/raw.h"

#include <algorithm>
#include <charconv>
#include <fmt/core.h>
#include <ksl/ksl.h>

namespace kslctl {

namespace {

constexpr NumberKind kPages{"register page", 0, 255};
constexpr NumberKind kOffsets{"register offset", 0, 255};
constexpr NumberKind kLengths{"length of a register", 1, 8};

struct Arguments {
    std::shared_ptr<std::optional<uint32_t>> page = std::make_shared<std::optional<uint32_t>>();
    std::shared_ptr<std::optional<uint32_t>> offset = std::make_shared<std::optional<uint32_t>>();
};

struct Place {
    uint32_t page;
    uint32_t offset;
    uint32_t length;
};

std::string describe(const Place &place) {
    return fmt::format("register at page 0x{:02x}, offset 0x{:02x}", place.page, place.offset);
}

Json json_of(const Place &place) {
    return {{"page", place.page}, {"offset", place.offset}, {"length", place.length}};
}

std::optional<Bytes> read(uint32_t chip, const Place &place, Report &report) {
    Bytes bytes{};
    if (const int32_t code = dbg_ksl_get_reg(chip, place.page, place.offset, place.length, bytes.data()); code != 0) {
        report.fail({chip, "dbg_ksl_get_reg", describe(place), code});
        return std::nullopt;
    }
    return bytes;
}

ChipResult get(Context &context, uint32_t chip, const Place &place) {
    const std::optional<Bytes> bytes = read(chip, place, context.report);
    Json json = json_of(place);
    json["bytes"] = hex_or_null(bytes, place.length);
    return {json, context.style.value(hex_or_mark(bytes, place.length)) + "\n"};
}

// ---- reg set ----

ChipResult set(Context &context, uint32_t chip, const Place &place, const Bytes &value, bool dry_run) {
    const std::optional<Bytes> before = read(chip, place, context.report);
    std::optional<Bytes> after;
    if (!before) {
        context.report.fail(chip, describe(place) + " not written: what it would change could not be read first");
    } else if (dry_run) {
        after = value;
    } else {
        if (const int32_t code = dbg_ksl_set_reg(chip, place.page, place.offset, place.length, value.data());
            code != 0) {
            context.report.fail({chip, "dbg_ksl_set_reg", describe(place), code, "not written"});
        }
        after = read(chip, place, context.report);
    }
    Json json = json_of(place);
    json["dry_run"] = dry_run;
    json["before"] = hex_or_null(before, place.length);
    json["after"] = hex_or_null(after, place.length);
    Table table({{"page", Align::left}, {"offset", Align::left}, {"from", Align::left}, {"to", Align::left}});
    table.add_row({fmt::format("0x{:02x}", place.page), fmt::format("0x{:02x}", place.offset),
                   hex_or_mark(before, place.length), hex_or_mark(after, place.length)});
    return {json, table.render(context.style)};
}

// Words of pairs of hexadecimal digits, each with "0x" before it if you like.
std::vector<uint8_t> parse_bytes(const std::vector<std::string> &words) {
    std::vector<uint8_t> bytes;
    for (const std::string &word : words) {
        const std::string_view digits = std::string_view(word).substr(word.starts_with("0x") ? 2 : 0);
        bool good = !digits.empty() && digits.size() % 2 == 0;
        for (size_t i = 0; good && i < digits.size(); i += 2) {
            const char *const pair = digits.data() + i;
            const auto [stop, error] = std::from_chars(pair, pair + 2, bytes.emplace_back(), 16);
            good = error == std::errc{} && stop == pair + 2;
        }
        if (!good) {
            throw ArgumentError(fmt::format("\"{}\" is not made of pairs of hexadecimal digits", word));
        }
    }
    if (bytes.size() > kLengths.most) {
        throw ArgumentError(fmt::format("a register has at most {} bytes", kLengths.most));
    }
    return bytes;
}

// ---- reg dump ----

// The operation delivers the registers nowhere but in the trace.
std::optional<std::vector<DumpedRegister>> dump_registers(uint32_t chip, Report &report) {
    const uint64_t start = now_ns();
    if (const int32_t code = dbg_ksl_dump_reg(chip); code != 0) {
        report.fail({chip, "dbg_ksl_dump_reg", "dumped registers", code});
        return std::nullopt;
    }
    const OwnTrace own = take_own_trace(start);
    auto registers = dumped_registers(own.trace);
    if (!registers) {
        const std::string problem = own.snapshot->problem;
        report.fail(chip, fmt::format("dumped registers not read: {}",
                                      problem.empty() ? "the trace does not have all of them" : problem));
    }
    return registers;
}

ChipResult dump(Context &context, uint32_t chip) {
    const auto registers = dump_registers(chip, context.report);
    Json list = Json::array();
    Table table({{"page", Align::left}, {"offset", Align::left}, {"bytes", Align::left}});
    for (const auto &[page, offset, length, bytes] : registers.value_or(std::vector<DumpedRegister>())) {
        list.push_back({{"page", page}, {"offset", offset}, {"bytes", hex(bytes, length)}});
        table.add_row({fmt::format("0x{:02x}", page), fmt::format("0x{:02x}", offset), hex(bytes, length)});
    }
    return {{{"registers", registers ? list : Json(nullptr)}},
            registers ? table.render(context.style) : context.style.value(kNotRead) + "\n"};
}

// ---- The commands ----

void add_place(CLI::App &command, const Arguments &arguments) {
    add_number(command, "PAGE", Need::required, kPages, arguments.page, "Register page, 0 to 255");
    add_number(command, "OFFSET", Need::required, kOffsets, arguments.offset, "Register offset in it, 0 to 255");
}

constexpr char kGetHelp[] =
    R"(Numbers are decimal, or hexadecimal as in 0x34. Bytes are shown most significant first. Reading some registers has
consequences in the chip.)";

constexpr char kSetHelp[] =
    R"(Numbers are decimal, or hexadecimal as in 0x34. BYTES are 1 to 8 pairs of hexadecimal digits, most significant first,
in one word or several: 2064, 0x2064 or 20 64. The register is read before and afterwards; it is not written when it
cannot be read first.)";

constexpr char kDumpHelp[] =
    R"(Reads switch mode, self-test status, age timer, VLAN table address, trunking control (twice), and five registers of the
VLAN page 0x34 in one request. The library delivers them in its trace, from where kslctl takes them.)";

} // namespace

void add_reg_commands(Commands &commands) {
    Commands::Group group = commands.add_group("reg", "Any register, for debugging");

    const Arguments got;
    const auto length = std::make_shared<std::optional<uint32_t>>();
    CLI::App &get_command = group.add(
        "get", "Read a register", kGetHelp,
        [=](Context &context) {
            return of_each_chip(context, [&](uint32_t chip) {
                return get(context, chip, {**got.page, **got.offset, **length});
            });
        },
        check_no_raw);
    add_place(get_command, got);
    add_number(get_command, "LENGTH", Need::required, kLengths, length, "Number of bytes, 1 to 8");

    const Arguments written;
    const auto bytes = std::make_shared<std::vector<uint8_t>>();
    const auto dry_run = std::make_shared<bool>(false);
    CLI::App &set_command = group.add(
        "set", "Write a register", kSetHelp,
        [=](Context &context) {
            Bytes value{};
            std::copy(bytes->begin(), bytes->end(), value.begin());
            const Place place{**written.page, **written.offset, static_cast<uint32_t>(bytes->size())};
            return of_each_chip(
                context, [&](uint32_t chip) { return set(context, chip, place, value, *dry_run); },
                *dry_run ? kDryRunRemark : "");
        },
        check_no_raw);
    add_place(set_command, written);
    add_texts(
        set_command, "BYTES", Need::required,
        [bytes](const std::vector<std::string> &words) { *bytes = parse_bytes(words); }, "What is written");
    add_dry_run(set_command, dry_run);

    group.add(
        "dump", "Read eleven registers through the library's trace", kDumpHelp,
        [](Context &context) { return of_each_chip(context, [&](uint32_t chip) { return dump(context, chip); }); },
        check_no_raw);
}

} // namespace kslctl
