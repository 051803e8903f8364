// SPDX-License-Identifier: Apache-2.0
// arl: the address table.
#include "kslctl/commands/command.h"
#include "kslctl/views/addresses.h"

#include <algorithm>
#include <cctype>
#include <fmt/core.h>
#include <fnmatch.h>

namespace kslctl {

namespace {

bool is_digit(char character) {
    return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

// With small letters and colons, as kslctl prints addresses. Other tools print 02-00-00-00-00-01, 0200.0000.0001 or
// 020000000001.
std::string in_our_form(std::string text) {
    if (fnmatch("[!.][!.][!.][!.].[!.][!.][!.][!.].[!.][!.][!.][!.]", text.c_str(), 0) == 0) {
        std::erase(text, '.');
    }
    constexpr size_t kDigits = 12;
    if (text.size() == kDigits && std::all_of(text.begin(), text.end(), is_digit)) {
        for (size_t place = kDigits - 2; place > 0; place -= 2) {
            text.insert(place, ":");
        }
    }
    std::replace(text.begin(), text.end(), '-', ':');
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Which MAC addresses a user means: "02:00:00:00:01:10" in any of the usual forms, or with * for any part of one,
// "02:00:*", "*-1A".
std::string parse_pattern(const std::string &text) {
    std::string pattern = in_our_form(text);
    std::string digits_alike = pattern;
    std::replace_if(digits_alike.begin(), digits_alike.end(), is_digit, 'X');
    if (digits_alike.find_first_not_of("X:*") != std::string::npos ||
        fnmatch(digits_alike.c_str(), "XX:XX:XX:XX:XX:XX", 0) != 0) {
        throw ArgumentError(
            fmt::format("no MAC address matches \"{}\"; write one like 02:00:00:00:01:1a, with * for any part of it "
                        "(02:00:*)",
                        text));
    }
    return pattern;
}

struct Way {
    const char *name;
    hub::Addresses (*read)(uint32_t chip, bool all_ports, hub::Failures &failures);
};

constexpr Way kList{"list", hub::list_addresses};
constexpr Way kWalk{"walk",
                    [](uint32_t chip, bool, hub::Failures &failures) { return hub::walk_addresses(chip, failures); }};
constexpr Way kSearch{
    "search", [](uint32_t chip, bool, hub::Failures &failures) { return hub::search_addresses(chip, failures); }};

const Way *parse_way(const std::string &text) {
    for (const Way *const way : {&kList, &kWalk, &kSearch}) {
        if (text == way->name) {
            return way;
        }
    }
    throw ArgumentError(fmt::format("\"{}\" is no way to read the table; the ways are list, walk and search", text));
}

struct Arguments {
    const Way *way = &kList;
    std::string mac = "*";
    bool until_hidden = false;
    NumberSet ports;
    NumberSet vids;
};

bool contains(const NumberSet &wanted, uint32_t number) {
    return wanted.empty() || std::binary_search(wanted.begin(), wanted.end(), number);
}

bool is_wanted(const hub::Address &address, const Arguments &arguments) {
    return contains(arguments.ports, address.port) && (!address.vid || contains(arguments.vids, *address.vid)) &&
           fnmatch(arguments.mac.c_str(), hub::mac_text(address.mac).c_str(), 0) == 0;
}

views::Shown show_chip(Context &context, uint32_t chip, const Arguments &arguments) {
    hub::Addresses addresses = arguments.way->read(chip, !arguments.until_hidden, context.failures);
    if (arguments.way == &kWalk && addresses.whole && addresses.entries.empty()) {
        context.report.note(
            fmt::format("chip {}: the walk found no address; the library does not report a walk that could "
                        "not be started",
                        chip));
    }
    if (arguments.way == &kWalk && hub::repeats_an_entry(addresses)) {
        context.report.note(
            fmt::format("chip {}: the walk found the same entry twice in a row, as after an access that "
                        "failed; \"kslctl arl search\" reports those",
                        chip));
    }
    std::erase_if(addresses.entries, [&](const hub::Address &address) { return !is_wanted(address, arguments); });
    if (context.options.raw) {
        return views::raw(hub::registers_of(addresses), context.style);
    }
    const views::Shown table = views::addresses(addresses, arguments.way == &kSearch, context.style);
    views::Shown shown{{{"way", arguments.way->name}, {"all_ports", !arguments.until_hidden}}, table.text};
    shown.json.update(table.json);
    return shown;
}

Result run(Context &context, const Arguments &arguments) {
    if (arguments.until_hidden) {
        context.report.note(
            "with --until-hidden the list ends before the first address at port 0 or 1, whatever follows it");
    }
    return of_each_chip(context, [&](uint32_t chip) { return show_chip(context, chip, arguments); });
}

void check(Options &options, const Arguments &arguments) {
    if (arguments.until_hidden && arguments.way != &kList) {
        throw UsageError("--until-hidden is for \"arl list\"; walk and search always find the addresses of all ports");
    }
    if (!arguments.vids.empty() && arguments.way != &kSearch) {
        throw UsageError("--vid is for \"arl search\", the only way that reads the VLANs of addresses");
    }
    if (options.raw && arguments.way == &kList) {
        throw UsageError("--raw is for \"arl walk\" and \"arl search\"; a list has no bytes");
    }
}

constexpr NumberKind kTablePorts{"port of the address table", 0, 31};
constexpr NumberKind kTableVlans{"VLAN id", 0, 4095};

constexpr char kHelp[] = R"(The ways to read the table:
  list    the whole table in one request. With --until-hidden the library ends
          it before the first address at port 0 or 1, whatever follows it
  walk    entry by entry (page 0x05, offset 0x24). The library does not report
          an access that fails; so kslctl reads the register once more before
          and after
  search  by the chip's search engine (page 0x05, offsets 0x20, 0x24 and 0x2c),
          with VLANs. It continues until the chip ends it
A walk or search that finds no end is given up.

Shown are the addresses that match --mac, --port and --vid, and how many of them
each port has. Ports and VLANs are numbers and ranges (0-3,7). PATTERN is an
address with * for any part of it, such as '02:00:*' or '*:1A'. The forms
02-00-00-00-01-1a, 0200.0000.011a and 02000000011a are understood, too.

How kslctl reads the 8 bytes of an entry: bits 0 to 47 are the address, bits 48
to 52 the port; bit 55 is 1 for a static address. --raw shows the bytes of walk
and search.)";

} // namespace

void add_arl_commands(Commands &commands) {
    const auto [arl, arguments] = commands.add<Arguments>({
        .name = "arl",
        .summary = "The address table: list, walk or search it",
        .help = kHelp,
        .run = run,
        .check = check,
        .raw_schema = 2,
    });
    add_parsed(arl, "WAY", arguments.way, parse_way, "list, walk or search; default: list");
    arl.add_flag("--until-hidden", arguments.until_hidden, "List up to the first address at port 0 or 1");
    add_parsed(arl, "--mac", arguments.mac, parse_pattern, "Addresses that match the pattern")->type_name("PATTERN");
    add_list(arl, "--port", arguments.ports, kTablePorts, "Addresses at these ports")->type_name("N");
    add_list(arl, "--vid", arguments.vids, kTableVlans, "Addresses in these VLANs")->type_name("N");
}

} // namespace kslctl
