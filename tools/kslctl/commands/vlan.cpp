// SPDX-License-Identifier: Apache-2.0
// vlan show, vlan pvid, vlan entry, vlan extended, vlan enabled: the VLAN registers.
#include "kslctl/change.h"
#include "kslctl/command.h"
#include "kslctl/port_bits.h"
#include "kslctl/raw.h"
#include "kslctl/vlan_entry.h"
#include "kslctl/vlan_registers.h"

#include <cstring>
#include <expectation.h>
#include <fmt/core.h>
#include <set>

namespace kslctl {

namespace {

// What a command looks at, and what it found; as bytes or as their meaning.
class Findings {
public:
    explicit Findings(Context &context) : context_(context) {}

    void enable(const std::optional<Bytes> &bytes) {
        registers_.push_back({"vlan_enable", std::nullopt, 0x34, 0x00, 1, bytes});
        json_["enabled"] = bytes ? Json(vlan_enabled(*bytes)) : Json(nullptr);
        const std::string_view text = bytes ? vlan_enabled(*bytes) ? "on" : "off" : kNotRead;
        paragraph(fmt::format("VLAN support  {}\n", context_.style.value(text)));
    }

    void pvids(const Pvids &pvids, const NumberSet &ports) {
        Json list = Json::array();
        Table table({{"port", Align::right}, {"VLAN", Align::right}, {"priority", Align::right}});
        for (const uint32_t port : ports) {
            const std::optional<Bytes> &bytes = pvids[port];
            registers_.push_back(raw(kPvid, port, bytes));
            Json entry = {{"port", port}};
            entry.update(bytes ? pvid_json(*bytes) : Json({{"vid", nullptr}, {"priority", nullptr}}));
            list.push_back(entry);
            const auto text = [&](const char *key) {
                return entry[key].is_null() ? std::string(kNotRead) : entry[key].dump();
            };
            table.add_row({std::to_string(port), text("vid"), text("priority")});
        }
        json_["ports"] = list;
        paragraph(table.render(context_.style));
    }

    void entry(uint32_t vid, const std::optional<Bytes> &bytes) {
        registers_.push_back({"vlan_entry", {{"vid", vid}}, 0x08, 0x38, 8, bytes});
        Json entry = {{"vid", vid}};
        entry.update(bytes ? vlan_entry_json(*bytes)
                           : Json({{"valid", nullptr}, {"field", nullptr}, {"upper", nullptr}, {"lower", nullptr}}));
        json_["vlans"].push_back(entry);
        paragraph(bytes ? vlan_entry_text(vid, *bytes, context_.style) : vlan_entry_text(vid, context_.style));
    }

    // There is a list of entries, be it empty.
    void entries() { json_["vlans"] = Json::array(); }

    ChipResult take() const {
        return context_.options.raw ? ChipResult{raw_json(registers_), raw_text(registers_, context_.style)}
                                    : ChipResult{json_, text_};
    }

private:
    void paragraph(const std::string &text) { text_ += (text_.empty() ? "" : "\n") + text; }

    Context &context_;
    std::vector<RawRegister> registers_;
    Json json_ = Json::object();
    std::string text_;
};

// ---- vlan show ----

ChipResult show_chip(Context &context, uint32_t chip, bool whole_table) {
    Findings findings(context);
    findings.enable(read_vlan_enable(chip, context.report));
    const Pvids pvids = read_pvids(chip, context.report);
    findings.pvids(pvids, or_all_ports({}));
    findings.entries();
    if (whole_table) {
        for (const auto &[vid, bytes] : read_vlan_table(chip, context.report).value_or(std::map<uint32_t, Bytes>())) {
            findings.entry(vid, bytes);
        }
        return findings.take();
    }
    std::set<uint32_t> vids;
    for (const std::optional<Bytes> &pvid : pvids) {
        if (const uint32_t vid = pvid ? kslcfg::pvid_from(pvid->data()).vid : 0; vid != 0 && vid <= kVlans.most) {
            vids.insert(vid);
        }
    }
    for (const uint32_t vid : vids) {
        findings.entry(vid, read_vlan_entry(chip, vid, context.report));
    }
    return findings.take();
}

constexpr char kBits[] = R"(
What kslctl reads into the bits (--raw shows the bytes instead):
  VLAN support     bit 7 of the byte: on
  PVID             bits 0 to 11: the VLAN of frames that come without a tag, bits 13 to 15: their priority
  entry of a VLAN  bit 59 of the 8 bytes: valid; bits 54 to 58: a field that nothing compares; bits 27 to 53: the upper
                   port map, bits 0 to 26: the lower one. A map is drawn as 27 columns, bit 0 first: # is 1, . is 0
What could not be read is shown as "?".)";

const std::string kShowHelp =
    std::string(R"(Shows whether VLAN support is on, the PVIDs of all ports, and the entries of the VLANs among them.
With --all, the whole VLAN table is read, and its valid entries are shown.
)") +
    kBits;

// ---- vlan pvid ----

struct PvidArguments {
    std::shared_ptr<NumberSet> ports = std::make_shared<NumberSet>();
    std::shared_ptr<std::optional<uint32_t>> vid = std::make_shared<std::optional<uint32_t>>();
    std::shared_ptr<std::optional<uint32_t>> priority = std::make_shared<std::optional<uint32_t>>();
    std::shared_ptr<bool> dry_run = std::make_shared<bool>(false);
};

Result set_pvids(Context &context, const NumberSet &ports, uint32_t vid, std::optional<uint32_t> priority,
                 bool dry_run) {
    const auto wanted_priority = [priority](const Bytes &before) {
        return priority ? *priority : uint32_t{kslcfg::pvid_from(before.data()).priority};
    };
    const Change change{
        .operation = "ksl_set_PVID",
        .what = "PVID of port {}",
        .undone = "not set",
        .registers = {{&kPvid, [=](const Bytes &before) { return pvid_bytes(vid, wanted_priority(before)); }}},
        .run = [=](uint32_t chip, uint32_t port,
                   const Bytes &before) { return ksl_set_PVID(chip, vid, wanted_priority(before), port); },
    };
    return change_ports(context, ports, change, dry_run);
}

Result run_pvid(Context &context, const PvidArguments &arguments) {
    const NumberSet &ports = *arguments.ports;
    if (*arguments.vid) {
        return set_pvids(context, ports, **arguments.vid, *arguments.priority, *arguments.dry_run);
    }
    return of_each_chip(context, [&](uint32_t chip) {
        Findings findings(context);
        findings.pvids(read_pvids(chip, context.report), or_all_ports(ports));
        return findings.take();
    });
}

constexpr NumberKind kPvidVlans{"VLAN id", 0, 4095};
constexpr NumberKind kPriorities{"priority", 0, 7};

const std::string kPvidHelp =
    std::string(
        R"(Ports are numbers and ranges (0-3,7). Without a VLAN, the PVIDs are shown: of all ports if none is named.

With a VLAN, the register (page 0x34, offset 0x10 + 2 * port) is written whole, its bit 12 as 0. Without a priority, a
port keeps the one that it has. Shown is what the register held before and holds afterwards. A port whose register
cannot be read first is left as it is.
)") +
    kBits;

// ---- vlan entry, extended, enabled ----

ChipResult show_entries(Context &context, uint32_t chip, const NumberSet &vids) {
    Findings findings(context);
    findings.entries();
    for (const uint32_t vid : vids) {
        findings.entry(vid, read_vlan_entry(chip, vid, context.report));
    }
    return findings.take();
}

constexpr NumberKind kIndices{"index", 0, 0xFFFFFFFF};

ChipResult show_extended(Context &context, uint32_t chip, uint32_t index) {
    const uint32_t offset = (0x10 + 2 * index) & 0xFF;
    std::optional<Bytes> bytes;
    ksl_word word = 0;
    if (const int32_t code = ksl_read_extended_VLAN_cntrl_regs(chip, index, &word); code == 0) {
        bytes = Bytes{};
        std::memcpy(bytes->data(), &word, sizeof word);
    } else {
        const std::string about =
            fmt::format("extended VLAN control register {} (page 0x34, offset 0x{:02x})", index, offset);
        context.report.fail({chip, "ksl_read_extended_VLAN_cntrl_regs", about, code});
    }
    const std::vector<RawRegister> registers = {{"extended_vlan_control", {{"index", index}}, 0x34, offset, 2, bytes}};
    if (context.options.raw) {
        return {raw_json(registers), raw_text(registers, context.style)};
    }
    const Json value = bytes ? Json((*bytes)[0] << 8 | (*bytes)[1]) : Json(nullptr);
    const std::string text = bytes ? fmt::format("0x{:04x}", value.get<unsigned>()) : std::string(kNotRead);
    return {{{"index", index}, {"page", 0x34}, {"offset", offset}, {"value", value}},
            fmt::format("index {} (page 0x34, offset 0x{:02x})  {}\n", index, offset, context.style.value(text))};
}

constexpr char kExtendedHelp[] =
    R"(The register is the one at page 0x34, offset 0x10 + 2 * INDEX, of which the low 8 bits count: any index is taken.
Up to index 23 these are the PVID registers of the ports. Shown is its number of 16 bits (--raw: its 2 bytes).)";

ChipResult show_enabled(Context &context, uint32_t chip) {
    Findings findings(context);
    findings.enable(read_vlan_enable(chip, context.report));
    return findings.take();
}

} // namespace

void add_vlan_commands(Commands &commands) {
    Commands::Group group = commands.add_group("vlan", "VLANs: PVIDs of the ports, VLAN table, extended registers");

    const auto whole_table = std::make_shared<bool>(false);
    CLI::App &show =
        group.add("show", "VLAN support, PVIDs, and the VLAN table", kShowHelp, [whole_table](Context &context) {
            return of_each_chip(context, [&](uint32_t chip) { return show_chip(context, chip, *whole_table); });
        });
    add_flag(show, "--all", whole_table, "All valid entries of the VLAN table, not only those of PVIDs");

    const PvidArguments arguments;
    CLI::App &pvid = group.add(
        "pvid", "Show or set the PVIDs of ports", kPvidHelp,
        [arguments](Context &context) { return run_pvid(context, arguments); },
        [arguments](const Options &) {
            if (*arguments.dry_run && !*arguments.vid) {
                throw UsageError("--dry-run is for a change, and no VLAN is given");
            }
        });
    add_list(pvid, "PORT", Need::optional, kPorts, arguments.ports, "Ports; default: all, to be shown");
    add_number(pvid, "VID", Need::optional, kPvidVlans, arguments.vid, "VLAN that they get, 0 to 4095");
    add_number(pvid, "PRIORITY", Need::optional, kPriorities, arguments.priority,
               "Priority that they get, 0 to 7; default: as it is");
    add_dry_run(pvid, arguments.dry_run);

    const auto vids = std::make_shared<NumberSet>();
    CLI::App &entry =
        group.add("entry", "Entries of the VLAN table",
                  std::string("VLANs are numbers and ranges (1,100-102).\n") + kBits, [vids](Context &context) {
                      return of_each_chip(context, [&](uint32_t chip) { return show_entries(context, chip, *vids); });
                  });
    add_lists(entry, "VID", Need::required, kVlans, vids, "VLANs, 1 to 4094");

    const auto index = std::make_shared<std::optional<uint32_t>>();
    CLI::App &extended =
        group.add("extended", "An extended VLAN control register", kExtendedHelp, [index](Context &context) {
            return of_each_chip(context, [&](uint32_t chip) { return show_extended(context, chip, **index); });
        });
    add_number(extended, "INDEX", Need::required, kIndices, index, "Number of the register");

    group.add("enabled", "Whether VLAN support is on", kBits + 1, [](Context &context) {
        return of_each_chip(context, [&](uint32_t chip) { return show_enabled(context, chip); });
    });
}

} // namespace kslctl
