// SPDX-License-Identifier: Apache-2.0
// arl: the address table.
#include "kslctl/command_line/mac_pattern.h"
#include "kslctl/commands/command.h"
#include "kslctl/views/addresses.h"

#include <algorithm>
#include <fmt/core.h>

namespace kslctl {

namespace {

enum class Way { list, walk, search };

struct Arguments {
    Way way = Way::list;
    MacPattern mac;
    bool all_ports = false;
    NumberSet ports;
    NumberSet vids;
};

constexpr const char *kWays[] = {"list", "walk", "search"};

Way parse_way(const std::string &text) {
    const auto *const found = std::find(std::begin(kWays), std::end(kWays), text);
    if (found == std::end(kWays)) {
        throw ArgumentError(
            fmt::format("\"{}\" is no way to read the table; the ways are list, walk and search", text));
    }
    return static_cast<Way>(found - kWays);
}

hub::Addresses read_addresses(uint32_t chip, const Arguments &arguments, hub::Failures &failures) {
    switch (arguments.way) {
    case Way::list:
        return hub::list_addresses(chip, arguments.all_ports, failures);
    case Way::walk:
        return hub::walk_addresses(chip, failures);
    case Way::search:
        break;
    }
    return hub::search_addresses(chip, failures);
}

bool contains(const NumberSet &wanted, uint32_t number) {
    return wanted.empty() || std::binary_search(wanted.begin(), wanted.end(), number);
}

bool is_wanted(const hub::Address &address, const Arguments &arguments) {
    return contains(arguments.ports, address.port) && (!address.vid || contains(arguments.vids, *address.vid)) &&
           arguments.mac.matches(hub::mac_text(address.mac));
}

views::Shown show_chip(Context &context, uint32_t chip, const Arguments &arguments) {
    hub::Addresses addresses = read_addresses(chip, arguments, context.failures);
    if (arguments.way == Way::walk && addresses.whole && addresses.entries.empty()) {
        Report::note(fmt::format("chip {}: the walk found no address; the library does not report whether the table is "
                                 "empty or could not be read",
                                 chip));
    }
    std::erase_if(addresses.entries, [&](const hub::Address &address) { return !is_wanted(address, arguments); });
    if (context.options.raw) {
        return views::raw(hub::registers_of(addresses), context.style);
    }
    const views::Shown table = views::addresses(addresses, arguments.way == Way::search, context.style);
    views::Shown shown{{{"way", kWays[static_cast<size_t>(arguments.way)]},
                        {"all_ports", arguments.way != Way::list || arguments.all_ports}},
                       table.text};
    shown.json.update(table.json);
    return shown;
}

Result run(Context &context, const Arguments &arguments) {
    if (arguments.way == Way::list && !arguments.all_ports) {
        Report::note("without --all-ports the list ends before the first address at port 0 or 1, whatever follows it");
    }
    return of_each_chip(context, [&](uint32_t chip) { return show_chip(context, chip, arguments); });
}

void check(Options &options, const Arguments &arguments) {
    if (arguments.all_ports && arguments.way != Way::list) {
        throw UsageError("--all-ports is for \"arl list\"; walk and search always find the addresses of all ports");
    }
    if (!arguments.vids.empty() && arguments.way != Way::search) {
        throw UsageError("--vid is for \"arl search\", the only way that reads the VLANs of addresses");
    }
    if (options.raw && arguments.way == Way::list) {
        throw UsageError("--raw is for \"arl walk\" and \"arl search\"; a list has no bytes");
    }
}

constexpr NumberKind kTablePorts{"port of the address table", 0, 31};
constexpr NumberKind kTableVlans{"VLAN id", 0, 4095};

constexpr char kHelp[] = R"(The ways to read the table:
  list    the whole table in one request. Without --all-ports the library ends
          it before the first address at port 0 or 1, whatever follows it
  walk    entry by entry (page 0x05, offset 0x24). The library does not report
          an access that fails
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
    arl.add_flag("--all-ports", arguments.all_ports, "List the whole table");
    add_parsed(
        arl, "--mac", arguments.mac, [](const std::string &text) { return MacPattern(text); },
        "Addresses that match the pattern")
        ->type_name("PATTERN");
    add_list(arl, "--port", arguments.ports, kTablePorts, "Addresses at these ports")->type_name("N");
    add_list(arl, "--vid", arguments.vids, kTableVlans, "Addresses in these VLANs")->type_name("N");
}

} // namespace kslctl
