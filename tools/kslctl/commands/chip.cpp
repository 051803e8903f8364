// SPDX-License-Identifier: Apache-2.0
// firmware, reset, hub-config: the hub's controller, and chips as a whole.
#include "kslctl/arguments.h"
#include "kslctl/command.h"
#include "kslctl/confirm.h"

#include <array>
#include <fmt/core.h>
#include <fmt/ranges.h>
#include <ksl/ksl.h>

namespace kslctl {

namespace {

// ---- firmware ----

ChipResult show_firmware(Context &context, uint32_t chip) {
    std::array<uint8_t, 9> version{};
    uint32_t length = 0;
    if (const int32_t code = ksl_read_EPN_firmware_version(chip, version.data(), &length); code != 0) {
        context.report.fail({chip, "ksl_read_EPN_firmware_version", "firmware version", code});
        return {{{"firmware", nullptr}}, fmt::format("firmware  {}\n", context.style.value(kNotRead))};
    }
    const std::string bytes = fmt::format("{:02x}", fmt::join(version, " "));
    return {{{"firmware", bytes}}, fmt::format("firmware  {}\n", bytes)};
}

constexpr char kFirmwareHelp[] =
    R"(Shows the first 9 bytes of the answer of the hub's controller. What they mean is up to the firmware.)";

// ---- reset, hub-config ----

// Both report what was done to a chip, or why it was not.
struct WholeChipAction {
    const char *operation;
    const char *about;
    const char *undone;
    Json done;        // keys of their own
    std::string text; // when it is done
    std::function<int32_t(uint32_t chip)> run;
};

Result act(Context &context, const WholeChipAction &action) {
    return of_each_chip(context, [&](uint32_t chip) -> ChipResult {
        const int32_t code = action.run(chip);
        if (code != 0) {
            context.report.fail({chip, action.operation, action.about, code, action.undone});
        }
        Json json = action.done;
        json["done"] = code == 0;
        return {json, code == 0 ? action.text : ""};
    });
}

std::string chips_of(const Options &options) {
    return fmt::format("{} {}", options.chips.size() == 1 ? "chip" : "chips", fmt::join(options.chips, ", "));
}

void add_yes(CLI::App &command, const std::shared_ptr<bool> &yes) {
    add_flag(command, "--yes", yes, "Do not ask");
}

constexpr char kConfirmation[] = R"(
On a terminal kslctl asks first; elsewhere, and to be left alone, say --yes. After any other answer than "y" or "yes"
nothing is done, and the exit status is 1.)";

const std::string kResetHelp =
    std::string(
        "Resets a switch chip. Its ports are without a link for a while, and its settings are those of the start.\n") +
    kConfirmation;

const std::string kConfigHelp =
    std::string("Selects one of the hub's three switch configurations; what they stand for is the hub's affair.\n") +
    kConfirmation;

constexpr NumberKind kConfigurations{"configuration", 0, 2};

} // namespace

void add_chip_commands(Commands &commands) {
    commands.add(
        "firmware", "Firmware version of the hub's controller", kFirmwareHelp,
        [](Context &context) {
            return of_each_chip(context, [&](uint32_t chip) { return show_firmware(context, chip); });
        },
        check_no_raw);

    const auto yes = std::make_shared<bool>(false);
    CLI::App &reset = commands.add(
        "reset", "Reset a switch chip", kResetHelp,
        [](Context &context) {
            return act(context,
                       {"ksl_reset_switch", "switch", "not reset", Json::object(), "reset\n", ksl_reset_switch});
        },
        [yes](const Options &options) {
            check_no_raw(options);
            confirm("reset " + chips_of(options), *yes);
        });
    add_yes(reset, yes);

    const auto configuration = std::make_shared<std::optional<uint32_t>>();
    CLI::App &config = commands.add(
        "hub-config", "Select a switch configuration of the hub", kConfigHelp,
        [configuration](Context &context) {
            const uint32_t number = **configuration;
            return act(context, {"dbg_ksl_set_EPN_configuration",
                                 "hub configuration",
                                 "not set",
                                 {{"configuration", number}},
                                 fmt::format("configuration {} selected\n", number),
                                 [number](uint32_t chip) { return dbg_ksl_set_EPN_configuration(chip, number); }});
        },
        [=](const Options &options) {
            check_no_raw(options);
            confirm(fmt::format("give {} the configuration {}", chips_of(options), **configuration), *yes);
        });
    add_number(config, "CONFIGURATION", Need::required, kConfigurations, configuration, "0, 1 or 2");
    add_yes(config, yes);
}

} // namespace kslctl
