// SPDX-License-Identifier: Apache-2.0
// validate pvid, validate vlan, validate enabled: the hub compared with what is expected of it.
#include "kslctl/commands/command.h"
#include "kslctl/views/validation.h"

namespace kslctl {

namespace {

// One of library and file says what is expected.
struct Arguments {
    std::string library;
    std::string file;
    NumberSet vids;
};

// Without a configuration nothing is compared, and there is nothing to say about any chip.
template <views::Shown (*validate)(Context &context, uint32_t chip, const hub::Configuration &configuration,
                                   const Arguments &arguments)>
Result run(Context &context, const Arguments &arguments) {
    const bool has_file = !arguments.file.empty();
    try {
        const hub::Configuration configuration(has_file ? hub::library_for_file(arguments.file) : arguments.library);
        return of_each_chip(context, [&](uint32_t chip) { return validate(context, chip, configuration, arguments); });
    } catch (const hub::NoConfiguration &problem) {
        context.report.fail((has_file ? "--expect: " : "") + std::string(problem.what()));
        return {};
    }
}

views::Shown validate_pvids(Context &context, uint32_t chip, const hub::Configuration &configuration,
                            const Arguments &) {
    return views::pvid_validation(hub::validate_pvids(chip, configuration, context.failures), context.options.raw,
                                  context.style);
}

views::Shown validate_vlans(Context &context, uint32_t chip, const hub::Configuration &configuration,
                            const Arguments &arguments) {
    std::vector<hub::VlanValidation> validations;
    for (const uint32_t vid : arguments.vids) {
        validations.push_back(hub::validate_vlan(chip, vid, configuration, context.failures));
    }
    return views::vlan_validations(validations, context.options.raw, context.style);
}

views::Shown validate_enabled(Context &context, uint32_t chip, const NoArguments &) {
    return views::vlan_enable_validation(hub::validate_vlan_enable(chip, context.failures), context.style);
}

void check(Options &, const Arguments &arguments) {
    if (arguments.library.empty() == arguments.file.empty()) {
        throw UsageError("say what is expected: either --config LIBRARY or --expect FILE");
    }
}

constexpr char kExitStatus[] = R"(
Exit status: 0 when all is as expected, 1 when something is not, 3 when
something could not be compared: a register that cannot be read, a library that
cannot be opened or lacks the entry point __ksl_get_cfg, a file with a mistake.)";

const std::string kPvidHelp = std::string(R"(Compares VLAN (bits 0 to 11) and priority (bits 13 to 15) of all 24 PVID
registers, and shows the ports that differ. A port that the configuration does
not name is expected to have VLAN 0 and priority 0.

"kslctl hub expectation" writes the hub's present settings as such a file.
)") + kExitStatus;

const std::string kVlanHelp = std::string(
                                  R"(Compares entries of the VLAN table: both must be valid and have the same two
port maps; the field is not compared.
A map is drawn as 27 columns, bit 0 first: # is 1, . is 0, and ^ marks a
difference.
)") + kExitStatus;

constexpr char kEnabledHelp[] = R"(VLAN support is always expected to be on: bit 7 of VLAN enable (page 0x34,
offset 0x00).

Exit status: 0 when it is on, 1 when it is off, 3 when the register cannot be
read.)";

Added<Arguments> add(Commands &commands, const Command<Arguments> &command) {
    const Added<Arguments> added = commands.add(command);
    added.app.add_option("--config", added.arguments.library, "Configuration library, by its path")
        ->type_name("LIBRARY");
    added.app.add_option("--expect", added.arguments.file, "Expected configuration, ksl-expectation(5)")
        ->type_name("FILE");
    return added;
}

} // namespace

void add_validate_commands(Commands &commands) {
    commands.add_group("validate", "Compare the hub with an expected configuration");
    add(commands, {
                      .name = "validate pvid",
                      .summary = "Compare the PVIDs of all ports",
                      .help = kPvidHelp,
                      .run = run<validate_pvids>,
                      .check = check,
                  });
    const auto [vlan, arguments] = add(commands, {
                                                     .name = "validate vlan",
                                                     .summary = "Compare entries of the VLAN table",
                                                     .help = kVlanHelp,
                                                     .run = run<validate_vlans>,
                                                     .check = check,
                                                 });
    add_lists(vlan, "VID", arguments.vids, kVlans, "VLANs, 1 to 4094, such as 1,100-102")->required();
    commands.add({
        .name = "validate enabled",
        .summary = "Whether VLAN support is on, as expected",
        .help = kEnabledHelp,
        .look = validate_enabled,
    });
}

} // namespace kslctl
