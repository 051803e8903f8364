// SPDX-License-Identifier: Apache-2.0
// validate pvid, validate vlan, validate enabled: the hub compared with what is expected of it.
#include "kslctl/arguments.h"
#include "kslctl/command.h"
#include "kslctl/configuration.h"
#include "kslctl/expected_records.h"
#include "kslctl/port_bits.h"
#include "kslctl/raw.h"
#include "kslctl/vlan_entry.h"
#include "kslctl/vlan_registers.h"

#include <algorithm>
#include <expectation.h>
#include <fmt/core.h>

namespace kslctl {

namespace {

// Which expectation the user named.
struct Source {
    std::string library;
    std::string file;
};

// true: as expected; false: not; none: not compared.
using Verdict = std::optional<bool>;

Json verdict_json(Verdict verdict) {
    return verdict ? Json(*verdict) : Json(nullptr);
}

const char *verdict_text(Verdict verdict) {
    return !verdict ? "could not be compared" : *verdict ? "as expected" : "not as expected";
}

// What the library says; reported where it could not compare.
Verdict ask(Context &context, uint32_t chip, const char *operation, const std::string &about, int32_t code,
            uint32_t verdict) {
    if (code != 0) {
        context.report.fail({chip, operation, about, code, "not compared"});
        return std::nullopt;
    }
    return verdict != 0;
}

// The library and kslctl look one after the other; who sees something else in between must look again.
Verdict agree(Context &context, uint32_t chip, const std::string &about, Verdict library, Verdict own) {
    if (library && own && *library != *own) {
        context.report.fail(chip, fmt::format("{} changed while they were being compared; validate again", about));
        return std::nullopt;
    }
    return library;
}

// ---- validate pvid ----

bool same_pvid(const Bytes &one, const Bytes &other) {
    return kslcfg::pvid_from(one.data()) == kslcfg::pvid_from(other.data());
}

Json pvid_value(const Context &context, const std::optional<Bytes> &bytes) {
    return bytes && !context.options.raw ? pvid_json(*bytes) : hex_or_null(bytes, kPvid.length);
}

std::string pvid_value_text(const Context &context, const std::optional<Bytes> &bytes) {
    return bytes && !context.options.raw ? pvid_text(*bytes) : hex_or_mark(bytes, kPvid.length);
}

ChipResult validate_pvids(Context &context, uint32_t chip, const Configuration &configuration) {
    uint32_t answer = 0;
    const int32_t code = ksl_validate_VLAN_PVID_set(chip, configuration.library().c_str(), &answer);
    Verdict verdict = ask(context, chip, "ksl_validate_VLAN_PVID_set", "PVIDs", code, answer);

    const std::array<Bytes, KSL_PORTS> expected = expected_pvids(configuration.records());
    const Pvids found = verdict ? read_pvids(chip, context.report) : Pvids{};
    bool all_read = true;
    bool all_same = true;
    Json ports = Json::array();
    Table differences({{"port", Align::right}, {"expected", Align::left}, {"found", Align::left}});
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        const bool same = found[port] && same_pvid(expected[port], *found[port]);
        all_read = all_read && found[port];
        all_same = all_same && same;
        ports.push_back({{"port", port},
                         {"expected", pvid_value(context, expected[port])},
                         {"found", pvid_value(context, found[port])},
                         {"same", found[port] ? Json(same) : Json(nullptr)}});
        if (!same) {
            differences.add_row({std::to_string(port), pvid_value_text(context, expected[port]),
                                 pvid_value_text(context, found[port])});
        }
    }
    verdict = agree(context, chip, "the PVIDs", verdict, all_read ? Verdict(all_same) : std::nullopt);
    const std::string table = code != 0 || all_same ? "" : "\n" + differences.render(context.style);
    return {{{"verdict", verdict_json(verdict)}, {"ports", ports}},
            fmt::format("PVIDs  {}\n{}", verdict_text(verdict), table),
            verdict == false};
}

// ---- validate vlan ----

Json entry_value(const Context &context, const std::optional<Bytes> &bytes) {
    return bytes && !context.options.raw ? vlan_entry_json(*bytes) : hex_or_null(bytes, 8);
}

std::string raw_comparison(const Bytes &expected, const std::optional<Bytes> &found) {
    return fmt::format("expected  {}\nfound     {}\n", hex(expected, 8), hex_or_mark(found, 8));
}

ChipResult validate_vlan(Context &context, uint32_t chip, uint32_t vid, const Configuration &configuration) {
    const std::string name = fmt::format("VLAN {}", vid);
    uint32_t answer = 0;
    const int32_t code = ksl_validate_VLAN_map(chip, vid, configuration.library().c_str(), &answer);
    Verdict verdict = ask(context, chip, "ksl_validate_VLAN_map", name, code, answer);

    const ExpectedVlanEntry expected = expected_vlan_entry(configuration.records(), vid);
    const std::optional<Bytes> found = verdict ? read_vlan_entry(chip, vid, context.report) : std::nullopt;
    const bool same = found && same_vlan_entry(expected.bytes, *found);
    verdict = agree(context, chip, "the entries of " + name, verdict, found ? Verdict(same) : std::nullopt);

    if (!expected.named && verdict == true) {
        // The library takes the last entry then, whichever VLAN that was meant for.
        context.report.fail(
            chip, name + " not compared: the configuration does not name it, though its last entry is the same");
        verdict.reset();
    }

    std::string text = fmt::format("{}  {}\n", name, verdict_text(verdict));
    if (!expected.named && found) {
        text += "The configuration does not name this VLAN, so its last entry was taken, if there is any.\n";
    }
    if (!is_valid(expected.bytes) || (found && !is_valid(*found))) {
        text += "An entry that is not valid is never as expected.\n";
    }
    if (context.options.raw) {
        text += raw_comparison(expected.bytes, found);
    } else if (found && !same) {
        text += vlan_comparison_text(expected.bytes, *found, context.style);
    }
    return {{{"vid", vid},
             {"verdict", verdict_json(verdict)},
             {"named", expected.named},
             {"expected", entry_value(context, expected.bytes)},
             {"found", entry_value(context, found)}},
            text,
            verdict == false};
}

ChipResult validate_vlans(Context &context, uint32_t chip, const NumberSet &vids, const Configuration &configuration) {
    ChipResult result;
    for (const uint32_t vid : vids) {
        const ChipResult one = validate_vlan(context, chip, vid, configuration);
        result.json["vlans"].push_back(one.json);
        result.text += (result.text.empty() ? "" : "\n") + one.text;
        result.answer_is_no = result.answer_is_no || one.answer_is_no;
    }
    return result;
}

// ---- validate enabled ----

ChipResult validate_enabled(Context &context, uint32_t chip) {
    uint32_t answer = 0;
    const int32_t code = ksl_validate_VLAN_enable(chip, &answer);
    const Verdict verdict =
        ask(context, chip, "ksl_validate_VLAN_enable", "VLAN enable (page 0x34, offset 0x00)", code, answer);
    const char *const text = !verdict ? "?" : *verdict ? "on, as expected" : "off, not as expected";
    return {{{"verdict", verdict_json(verdict)}},
            fmt::format("VLAN support  {}\n", context.style.value(text)),
            verdict == false};
}

// ---- The commands ----

using Validation = std::function<ChipResult(Context &, uint32_t chip, const Configuration &)>;

// Without a configuration nothing is compared, and there is nothing to tell of any chip.
Result validate(Context &context, const Source &source, const Validation &validation) {
    try {
        const Configuration configuration(source.file.empty() ? source.library : library_for_file(source.file));
        return of_each_chip(context, [&](uint32_t chip) { return validation(context, chip, configuration); });
    } catch (const NoConfiguration &problem) {
        context.report.fail(problem.what());
        return {};
    }
}

void add_source(CLI::App &command, const std::shared_ptr<Source> &source) {
    const auto part = [&](std::string &text) { return std::shared_ptr<std::string>(source, &text); };
    add_option(command, "--config", "LIBRARY", part(source->library), "Configuration library, by its path");
    add_option(command, "--expect", "FILE", part(source->file), "Expected configuration as JSON (ksl-expectation(5))");
}

void check_source(const Source &source) {
    if (source.library.empty() == source.file.empty()) {
        throw UsageError("say what is expected: either --config LIBRARY or --expect FILE");
    }
}

void check_no_source(const Source &source) {
    if (!source.library.empty() || !source.file.empty()) {
        throw UsageError(
            "\"validate enabled\" asks whether VLAN support is on, which needs neither --config nor --expect");
    }
}

constexpr char kExitStatus[] = R"(
Exit status: 0 when all is as expected, 1 when something is not, 3 when something could not be compared: a register
that cannot be read, a library that cannot be opened or lacks the entry point __ksl_get_cfg, a file with a mistake.)";

const std::string kPvidHelp =
    std::string(
        R"(Compares VLAN (bits 0 to 11) and priority (bits 13 to 15) of all 24 PVID registers, and shows the ports that differ.
A port that the configuration does not name is expected to have VLAN 0 and priority 0.

"kslctl hub expectation" writes what the hub has now as such a file.
)") +
    kExitStatus;

const std::string kVlanHelp =
    std::string(
        R"(Compares entries of the VLAN table: they must be valid on both sides and have the same two port maps; the field is
not compared. VLANs are numbers and ranges (1,100-102). A map is drawn as 27 columns, bit 0 first: # is 1, . is 0, and
^ stands where they differ.
)") +
    kExitStatus;

constexpr char kEnabledHelp[] = R"(VLAN support is expected to be on: bit 7 of the byte at page 0x34, offset 0x00.

Exit status: 0 when it is on, 1 when it is off, 3 when the register cannot be read.)";

} // namespace

void add_validate_commands(Commands &commands) {
    Commands::Group group = commands.add_group("validate", "Compare the hub with an expected configuration");
    const auto source = std::make_shared<Source>();
    const auto needs_source = [source](const Options &) { check_source(*source); };

    CLI::App &pvid = group.add(
        "pvid", "Compare the PVIDs of all ports", kPvidHelp,
        [source](Context &context) { return validate(context, *source, validate_pvids); }, needs_source);
    add_source(pvid, source);

    const auto vids = std::make_shared<NumberSet>();
    CLI::App &vlan = group.add(
        "vlan", "Compare entries of the VLAN table", kVlanHelp,
        [=](Context &context) {
            return validate(context, *source, [&](Context &same, uint32_t chip, const Configuration &configuration) {
                return validate_vlans(same, chip, *vids, configuration);
            });
        },
        needs_source);
    add_lists(vlan, "VID", Need::required, kVlans, vids, "VLANs, 1 to 4094");
    add_source(vlan, source);

    CLI::App &enabled = group.add(
        "enabled", "Whether VLAN support is on, as it is expected to be", kEnabledHelp,
        [](Context &context) {
            return of_each_chip(context, [&](uint32_t chip) { return validate_enabled(context, chip); });
        },
        [source](const Options &) { check_no_source(*source); });
    add_source(enabled, source);
}

} // namespace kslctl
