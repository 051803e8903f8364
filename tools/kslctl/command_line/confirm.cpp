// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command_line/confirm.h"

#include <fmt/core.h>
#include <iostream>
#include <unistd.h>

namespace kslctl {

void confirm(const std::string &action, bool yes) {
    if (yes) {
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw UsageError(fmt::format("say --yes to {}; there is no terminal to ask on", action));
    }
    std::cerr << fmt::format("Really {}? [y/N] ", action) << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes") {
        throw Declined("nothing was done");
    }
}

} // namespace kslctl
