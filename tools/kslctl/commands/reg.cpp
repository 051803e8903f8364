// SPDX-License-Identifier: Apache-2.0
// reg get, reg set, reg dump: any register, for debugging.
#include "kslctl/commands/command.h"
#include "kslctl/hub/any_register.h"
#include "kslctl/views/changes.h"

#include <algorithm>
#include <charconv>
#include <fmt/core.h>

namespace kslctl {

namespace {

constexpr NumberKind kPages{"register page", 0, 255};
constexpr NumberKind kOffsets{"register offset", 0, 255};
constexpr NumberKind kLengths{"length of a register", 1, 8};

struct Arguments {
    uint32_t page = 0;
    uint32_t offset = 0;
    uint32_t length = 0;
    hub::Bytes bytes{};

    hub::Register which() const { return hub::register_at(page, offset, length); }
};

void add_place(CLI::App &command, Arguments &arguments) {
    add_number(command, "PAGE", arguments.page, kPages, "Register page, 0 to 255")->required();
    add_number(command, "OFFSET", arguments.offset, kOffsets, "Register offset in it, 0 to 255")->required();
}

// ---- reg get ----

views::Shown get(Context &context, uint32_t chip, const Arguments &arguments) {
    const hub::Register which = arguments.which();
    const hub::Fact<hub::Bytes> bytes = hub::read(which, chip, 0, context.failures);
    return views::register_bytes(hub::reading_of(which, 0, bytes), context.style);
}

constexpr char kGetHelp[] =
    R"(Numbers are decimal, or hexadecimal as in 0x34. Bytes are shown most significant
first. Reading some registers has consequences in the chip.)";

// ---- reg set ----

views::Shown set(Context &context, uint32_t chip, const Arguments &arguments) {
    const hub::Register which = arguments.which();
    const hub::Change change = hub::new_bytes(which, arguments.bytes);
    return views::register_change(hub::change_chip(chip, change, context.options.dry_run, context.failures),
                                  context.style);
}

// Words of pairs of hexadecimal digits. Each may begin with "0x".
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

constexpr char kSetHelp[] =
    R"(Numbers are decimal, or hexadecimal as in 0x34. BYTES are 1 to 8 pairs of
hexadecimal digits, most significant first, in one word or several: 2064,
0x2064 or 20 64.)";

// ---- reg dump ----

views::Shown dump(Context &context, uint32_t chip, const NoArguments &) {
    return views::dumped_registers(hub::dump_registers(chip, context.failures), context.style);
}

constexpr char kDumpHelp[] =
    R"(Reads eleven registers in one request: switch mode, self-test status, age timer,
VLAN table address, trunk control (twice), and five registers of the VLAN page
0x34. The library delivers them in its trace; kslctl takes them from there.)";

} // namespace

void add_reg_commands(Commands &commands) {
    commands.add_group("reg", "Any register, for debugging");
    const auto [get_app, place] = commands.add<Arguments>({
        .name = "reg get",
        .summary = "Read a register",
        .help = kGetHelp,
        .look = get,
        .raw_schema = kNoRaw,
    });
    add_place(get_app, place);
    add_number(get_app, "LENGTH", place.length, kLengths, "Number of bytes, 1 to 8")->required();

    const Added<Arguments> added = commands.add<Arguments>({
        .name = "reg set",
        .summary = "Write a register",
        .help = kSetHelp,
        .look = set,
        .changes_registers = true,
        .raw_schema = kNoRaw,
    });
    add_place(added.app, added.arguments);
    const auto parse = [&written = added.arguments](const std::vector<std::string> &words) {
        const std::vector<uint8_t> bytes = parse_bytes(words);
        written.length = static_cast<uint32_t>(bytes.size());
        hub::Bytes value{};
        std::copy(bytes.begin(), bytes.end(), value.begin());
        return value;
    };
    add_parsed<std::vector<std::string>>(added.app, "BYTES", added.arguments.bytes, parse, "What is written")
        ->required();

    commands.add({
        .name = "reg dump",
        .summary = "Read eleven registers through the library's trace",
        .help = kDumpHelp,
        .look = dump,
        .raw_schema = kNoRaw,
    });
}

} // namespace kslctl
