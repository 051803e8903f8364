// SPDX-License-Identifier: Apache-2.0
// chips: which chips there are.
#include "kslctl/views/chips.h"
#include "kslctl/commands/command.h"

namespace kslctl {

namespace {

Result run(Context &context, const NoArguments &) {
    std::vector<hub::ChipSummary> summaries;
    for (const uint32_t chip : context.options.chips) {
        summaries.push_back(hub::read_chip_summary(chip, context.failures));
    }
    const views::Shown shown = views::chips(summaries, context.style);
    return {.chips = shown.json, .text = shown.text};
}

constexpr char kHelp[] = R"(Asks the chips 0 to 255, or with --chip those that it names, and lists the ones
that answer. KSL_CHIP does not count here. A chip answers if its switch mode
(page 0, offset 0x00) can be read; this read changes nothing, and the change
marks of links stay. "--chip all" means the same chips for every other command.

How kslctl reads the bits: as "kslctl status --help" says. links is the number
of ports that have one; firmware is the version of the hub's controller, as
"kslctl firmware" shows it. If no chip answers, the exit status is 3.)";

} // namespace

void add_chips_command(Commands &commands) {
    commands.add({
        .name = "chips",
        .summary = "The chips that answer",
        .help = kHelp,
        .run = run,
        .wants_answering_chips = true,
        .raw_schema = kNoRaw,
    });
}

} // namespace kslctl
