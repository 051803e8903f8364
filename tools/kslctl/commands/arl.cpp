// SPDX-License-Identifier: Apache-2.0
// arl: the address table.
#include "kslctl/addresses.h"
#include "kslctl/arguments.h"
#include "kslctl/command.h"
#include "kslctl/raw.h"

#include <algorithm>
#include <fmt/core.h>
#include <map>

namespace kslctl {

namespace {

enum class Way { list, walk, search };

struct Arguments {
    Way way = Way::list;
    MacPattern mac;
    std::shared_ptr<bool> all_ports = std::make_shared<bool>(false);
    std::shared_ptr<NumberSet> ports = std::make_shared<NumberSet>();
    std::shared_ptr<NumberSet> vids = std::make_shared<NumberSet>();
};

constexpr const char *kWays[] = {"list", "walk", "search"};

Way parse_way(const std::string &text) {
    const auto *const found = std::find(std::begin(kWays), std::end(kWays), text);
    if (found == std::end(kWays)) {
        throw ArgumentError(fmt::format("\"{}\" is no way to read the table; they are list, walk and search", text));
    }
    return static_cast<Way>(found - kWays);
}

Addresses read_addresses(uint32_t chip, const Arguments &arguments, Report &report) {
    switch (arguments.way) {
    case Way::list:
        return list_addresses(chip, *arguments.all_ports, report);
    case Way::walk:
        return walk_addresses(chip, report);
    case Way::search:
        break;
    }
    return search_addresses(chip, report);
}

bool contains(const NumberSet &wanted, uint32_t number) {
    return wanted.empty() || std::binary_search(wanted.begin(), wanted.end(), number);
}

bool is_wanted(const Address &address, const Arguments &arguments) {
    return contains(*arguments.ports, address.port) &&
           (!address.vid_raw || contains(*arguments.vids, vid_of(*address.vid_raw))) &&
           arguments.mac.matches(mac_text(address.mac));
}

// What is wanted of the table, and how much of that each port has.
class Findings {
public:
    Findings(Context &context, bool has_vids) : context_(context), has_vids_(has_vids) {}

    void add(const Address &address) {
        ++counts_[address.port];
        const std::string mac = mac_text(address.mac);
        const Json vid = address.vid_raw ? Json(vid_of(*address.vid_raw)) : Json(nullptr);
        json_.push_back({{"mac", mac}, {"port", address.port}, {"static", address.is_static}, {"vid", vid}});
        std::vector<std::string> row = {mac, std::to_string(address.port), address.is_static ? "static" : "learned"};
        if (has_vids_) {
            row.push_back(vid.dump());
        }
        table_.add_row(row);
    }

    ChipResult take(const Addresses &addresses, const Arguments &arguments) const {
        Json ports = Json::array();
        Table counts({{"port", Align::right}, {"addresses", Align::right}});
        size_t all = 0;
        for (const auto &[port, count] : counts_) {
            ports.push_back({{"port", port}, {"addresses", count}});
            counts.add_row({std::to_string(port), std::to_string(count)});
            all += count;
        }
        counts.add_row({"all", addresses.whole ? std::to_string(all) : std::string(kNotRead)});
        const std::string mark = addresses.whole ? "" : context_.style.value(kNotRead) + "\n";
        return {{{"way", kWays[static_cast<size_t>(arguments.way)]},
                 {"all_ports", arguments.way != Way::list || *arguments.all_ports},
                 {"whole", addresses.whole},
                 {"addresses", json_},
                 {"ports", ports}},
                table_.render(context_.style) + mark + "\n" + counts.render(context_.style)};
    }

private:
    static std::vector<Column> columns(bool has_vids) {
        std::vector<Column> columns = {{"MAC address", Align::left}, {"port", Align::right}, {"kind", Align::left}};
        if (has_vids) {
            columns.push_back({"VLAN", Align::right});
        }
        return columns;
    }

    Context &context_;
    bool has_vids_;
    std::map<uint32_t, size_t> counts_;
    Json json_ = Json::array();
    Table table_{columns(has_vids_)};
};

ChipResult show_raw(const Context &context, const std::vector<Address> &addresses) {
    std::vector<RawRegister> registers;
    uint32_t number = 0;
    for (const Address &address : addresses) {
        if (address.vid_raw) {
            registers.push_back({"address_vid", {{"entry", number}}, 0x05, 0x2C, 2, address.vid_raw});
        }
        registers.push_back({"address", {{"entry", number}}, 0x05, 0x24, 8, address.raw});
        ++number;
    }
    return {raw_json(registers), raw_text(registers, context.style)};
}

ChipResult show_chip(Context &context, uint32_t chip, const Arguments &arguments) {
    Addresses addresses = read_addresses(chip, arguments, context.report);
    if (arguments.way == Way::walk && addresses.whole && addresses.entries.empty()) {
        Report::note(fmt::format("chip {}: the walk found no address; the library does not tell whether there is none "
                                 "or the table could not be read",
                                 chip));
    }
    std::erase_if(addresses.entries, [&](const Address &address) { return !is_wanted(address, arguments); });
    if (context.options.raw) {
        return show_raw(context, addresses.entries);
    }
    Findings findings(context, arguments.way == Way::search);
    for (const Address &address : addresses.entries) {
        findings.add(address);
    }
    return findings.take(addresses, arguments);
}

Result run(Context &context, const Arguments &arguments) {
    if (arguments.way == Way::list && !*arguments.all_ports) {
        Report::note("without --all-ports the list ends before the first address at port 0 or 1, whatever comes "
                     "behind it");
    }
    return of_each_chip(context, [&](uint32_t chip) { return show_chip(context, chip, arguments); });
}

void check(const Options &options, const Arguments &arguments) {
    if (*arguments.all_ports && arguments.way != Way::list) {
        throw UsageError("--all-ports is for \"arl list\"; walk and search always find the addresses of all ports");
    }
    if (!arguments.vids->empty() && arguments.way != Way::search) {
        throw UsageError("--vid needs \"arl search\", the only way that tells the VLANs of addresses");
    }
    if (options.raw && arguments.way == Way::list) {
        throw UsageError("--raw is for \"arl walk\" and \"arl search\"; of a list the library hands out no bytes");
    }
}

constexpr NumberKind kTablePorts{"port of the address table", 0, 31};
constexpr NumberKind kTableVlans{"VLAN id", 0, 4095};

constexpr char kHelp[] =
    R"(The ways to read the table:
  list    the whole table in one request. Without --all-ports the library ends it before the first address at port 0
          or 1, whatever comes behind it
  walk    entry by entry (page 0x05, offset 0x24). The library does not tell when an access fails
  search  by the chip's search engine (page 0x05, offsets 0x20, 0x24 and 0x2c), with VLANs. It goes on for as long as
          the chip says so
Shown are the addresses that --mac, --port and --vid all let through, and how many of these each port has. Ports and
VLANs are numbers and ranges (0-3,7). PATTERN is an address with * for any part of it, such as '02:00:*' or '*:1A'.

What kslctl reads into the 8 bytes of an entry: bits 0 to 47 are the address, bits 48 to 52 the port, bit 55 is 1 for a
static address. --raw shows the bytes of walk and search.)";

} // namespace

void add_arl_commands(Commands &commands) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App &arl = commands.add(
        "arl", "The address table: list, walk or search it", kHelp,
        [arguments](Context &context) { return run(context, *arguments); },
        [arguments](const Options &options) { check(options, *arguments); });
    add_text(
        arl, "WAY", Need::optional, [arguments](const std::string &text) { arguments->way = parse_way(text); },
        "list, walk or search; default: list");
    add_flag(arl, "--all-ports", arguments->all_ports, "List the whole table");
    add_option(
        arl, "--mac", "PATTERN", [arguments](const std::string &text) { arguments->mac = MacPattern(text); },
        "Addresses that are like this");
    const auto add_numbers = [&arl](const char *name, const NumberKind &kind, const std::shared_ptr<NumberSet> &into,
                                    const char *summary) {
        add_option(
            arl, name, "N",
            [&kind, into](const std::string &text) {
                *into = parse_list(text, kind);
                std::sort(into->begin(), into->end());
            },
            summary);
    };
    add_numbers("--port", kTablePorts, arguments->ports, "Addresses at these ports");
    add_numbers("--vid", kTableVlans, arguments->vids, "Addresses in these VLANs");
}

} // namespace kslctl
