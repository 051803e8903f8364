// SPDX-License-Identifier: Apache-2.0
// vlan show, vlan matrix, vlan pvid, vlan entry, vlan extended, vlan enabled: the VLAN registers and the VLAN table.
#include "kslctl/commands/command.h"
#include "kslctl/hub/untagged.h"
#include "kslctl/views/changes.h"
#include "kslctl/views/vlan_matrix.h"
#include "kslctl/views/vlans.h"

#include <fmt/core.h>

namespace kslctl {

namespace {

constexpr char kBits[] = R"(How kslctl reads the bits (--raw shows the bytes instead):
  VLAN enable       bit 7: VLAN support is on
  PVID              bits 0 to 11: the VLAN of frames that come without a tag;
                    bits 13 to 15: their priority
  VLAN table entry  bit 59: valid; bits 54 to 58: a field that nothing compares;
                    bits 27 to 53: the upper port map; bits 0 to 26: the lower
                    one
A map is drawn as 27 columns, bit 0 first: # is 1, . is 0.
What could not be read is shown as "?".)";

// ---- vlan show, vlan enabled ----

struct ShowArguments {
    bool whole_table = false;
};

views::Shown show(Context &context, uint32_t chip, const ShowArguments &arguments) {
    return view_or_raw(context, hub::read_vlan_state(chip, arguments.whole_table, context.failures), views::vlans);
}

views::Shown enabled(Context &context, uint32_t chip, const NoArguments &) {
    return view_or_raw(context, hub::read_vlan_enable(chip, context.failures), views::vlan_enable);
}

const std::string kShowHelp = std::string(
                                  R"(Shows whether VLAN support is on, the PVIDs of all ports, and the entries of the
VLANs among them. With --all, it reads the whole VLAN table, and shows the valid
entries.

)") + kBits;

// ---- vlan pvid ----

struct PvidArguments {
    NumberSet ports = hub::all_ports();
    std::optional<uint32_t> vid;
    std::optional<uint32_t> priority;
};

void warn_of(const hub::UntaggedTrouble &trouble, Context &context, uint32_t chip, uint32_t vid) {
    const std::string ports = hub::describe_ports(trouble.ports);
    const std::string what = trouble.is_valid ? fmt::format("has {} in neither of its maps", ports) : "is not valid";
    context.report.warn(fmt::format("chip {}: VLAN {} {}; frames that come {} without a tag {} to it", chip, vid, what,
                                    trouble.is_valid ? "there" : "at " + ports,
                                    context.options.dry_run ? "would belong" : "belong"));
}

views::Shown pvid(Context &context, uint32_t chip, const PvidArguments &arguments) {
    if (arguments.vid) {
        const hub::Changes changes =
            hub::change_ports(chip, arguments.ports, hub::set_pvid(*arguments.vid, arguments.priority),
                              context.options.dry_run, context.failures);
        const hub::Fact<hub::UntaggedTrouble> trouble =
            hub::read_untagged_trouble(chip, *arguments.vid, changes, context.failures);
        if (trouble.is_read()) {
            warn_of(*trouble, context, chip, *arguments.vid);
        }
        return views::changes(changes, context.options.raw, context.style);
    }
    return view_or_raw(context, hub::read_pvids_of(chip, arguments.ports, context.failures), views::pvids);
}

void check_pvid(Options &options, const PvidArguments &arguments) {
    check_dry_run(options, arguments.vid.has_value(), "VLAN");
}

constexpr NumberKind kPvidVlans{"VLAN id", 0, 4095};
constexpr NumberKind kPriorities{"priority", 0, 7};

const std::string kPvidHelp = std::string(
                                  R"(Without a VLAN, the command shows PVIDs. With one, it writes the whole PVID
register of each port (page 0x34, offset 0x10 + 2 * port), with bit 12 as 0.
Without a priority, a port keeps the one that it has.

While VLAN support is on, kslctl then reads the entry of the VLAN, also in a dry
run. It warns if the entry is not valid or has a port in neither of its maps.

)") + kBits;

// ---- vlan entry ----

views::Shown entries(Context &context, uint32_t chip, const NumberSet &vids) {
    return view_or_raw(context, hub::read_vlan_entries(chip, vids, context.failures), views::vlan_entries);
}

// ---- vlan matrix ----

views::Shown matrix(Context &context, uint32_t chip, const NumberSet &vids) {
    const hub::VlanMatrix found = hub::read_vlan_matrix(chip, vids, context.failures);
    return context.options.raw ? views::raw(found.state.registers, context.style)
                               : views::vlan_matrix(found, context.style);
}

constexpr char kMatrixHelp[] = R"(A row for each VLAN, a column for each port. The first sign says which of the
two port maps of the VLAN have the port. The library passes both maps on, and
does not say which of them is about members and which about tags; the table
shows the maps as they are.
  #  both maps      ^  upper map alone      v  lower map alone      .  none
The second sign:
  *  the VLAN is the PVID of the port
  !  a contradiction, which is explained below the table: the VLAN of the PVID
     is not valid, or has the port in neither map, or a VLAN that is not valid
     has the port
  ?  the PVID was not read
Next to the number of a VLAN, x means that its entry is not valid, and - that
the table cannot have the VLAN. A VLAN whose entry was not read has the sign ?.

Without a VLAN, the command reads the whole VLAN table, and shows the valid
VLANs, those that have ports, and those of the PVIDs. "kslctl diagnose" judges
contradictions only while VLAN support is on, and not at ports without a link.
The maps have 27 bits; "kslctl vlan entry" also shows bits 24 to 26.)";

// ---- vlan extended ----

views::Shown extended(Context &context, uint32_t chip, const uint32_t &index) {
    const hub::Reading reading = hub::read_extended_vlan_control(chip, index, context.failures);
    return context.options.raw ? views::raw({reading}, context.style)
                               : views::extended_vlan_control(reading, context.style);
}

constexpr NumberKind kIndices{"index", 0, 0xFFFFFFFF};

constexpr char kExtendedHelp[] = R"(The register is the one at page 0x34, offset 0x10 + 2 * INDEX. Any index is
taken, since only the low 8 bits of the offset count. Up to index 23, these are
the PVID registers of the ports. The command shows the register as a number of
16 bits, with --raw as 2 bytes.)";

} // namespace

void add_vlan_commands(Commands &commands) {
    commands.add_group("vlan", "VLANs: PVIDs, VLAN table, extended registers");
    const auto [show_app, shown] = commands.add<ShowArguments>({
        .name = "vlan show",
        .summary = "VLAN support, PVIDs, and the VLAN table",
        .help = kShowHelp,
        .look = show,
        .raw_schema = 2,
    });
    show_app.add_flag("--all", shown.whole_table, "All valid entries, not only those of PVIDs");

    const auto [pvid_app, pvids] = commands.add<PvidArguments>({
        .name = "vlan pvid",
        .summary = "Show or set the PVIDs of ports",
        .help = kPvidHelp,
        .look = pvid,
        .check = check_pvid,
        .changes_registers = true,
    });
    add_list(pvid_app, "PORT", pvids.ports, kPorts, "Ports, such as 0-3,7; default, to show: all");
    add_number(pvid_app, "VID", pvids.vid, kPvidVlans, "VLAN to set, 0 to 4095");
    add_number(pvid_app, "PRIORITY", pvids.priority, kPriorities, "Priority to set, 0 to 7; default: as it is");

    const auto [entry_app, vids] = commands.add<NumberSet>({
        .name = "vlan entry",
        .summary = "Entries of the VLAN table",
        .help = kBits,
        .look = entries,
        .raw_schema = 2,
    });
    add_lists(entry_app, "VID", vids, kVlans, "VLANs, 1 to 4094, such as 1,100-102")->required();

    const auto [matrix_app, rows] = commands.add<NumberSet>({
        .name = "vlan matrix",
        .summary = "VLANs down, ports across, with contradictions",
        .help = kMatrixHelp,
        .look = matrix,
    });
    add_lists(matrix_app, "VID", rows, kVlans, "VLANs, 1 to 4094, such as 1,100-102; default: all");

    const auto [extended_app, index] = commands.add<uint32_t>({
        .name = "vlan extended",
        .summary = "An extended VLAN control register",
        .help = kExtendedHelp,
        .look = extended,
    });
    add_number(extended_app, "INDEX", index, kIndices, "Number of the register")->required();

    commands.add({
        .name = "vlan enabled",
        .summary = "Whether VLAN support is on",
        .help = kBits,
        .look = enabled,
    });
}

} // namespace kslctl
