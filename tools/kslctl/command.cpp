// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command.h"

#include <fmt/format.h>

namespace kslctl {

Result of_each_chip(Context &context, const std::function<ChipResult(uint32_t chip)> &look, const std::string &remark) {
    Result result;
    for (const uint32_t chip : context.options.chips) {
        const ChipResult found = look(chip);
        Json json = {{"chip", chip}};
        json.update(found.json);
        result.chips.push_back(json);
        result.text += result.text.empty() ? "" : "\n";
        result.text += context.style.heading(fmt::format("chip {}{}", chip, remark)) + "\n" + found.text;
        result.answer_is_no = result.answer_is_no || found.answer_is_no;
    }
    return result;
}

void check_no_raw(const Options &options) {
    if (options.raw) {
        throw UsageError("--raw is for commands that read a meaning into registers, which this one does not");
    }
}

} // namespace kslctl
