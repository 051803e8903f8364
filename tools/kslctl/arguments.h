// SPDX-License-Identifier: Apache-2.0
// The arguments that commands have of their own. They are stored where the commands' runs find them.
#pragma once

#include "kslctl/numbers.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <vector>

namespace kslctl {

// In ascending order, each once.
using NumberSet = std::vector<uint32_t>;

// A list that may be spread over several words.
CLI::Option *add_lists(CLI::App &command, const char *name, const NumberKind &kind, std::shared_ptr<NumberSet> into,
                       const char *summary);
// A list in one word.
CLI::Option *add_list(CLI::App &command, const char *name, const NumberKind &kind, std::shared_ptr<NumberSet> into,
                      const char *summary);
CLI::Option *add_number(CLI::App &command, const char *name, const NumberKind &kind,
                        std::shared_ptr<std::optional<uint32_t>> into, const char *summary);

// For a command that changes the hub.
void add_dry_run(CLI::App &command, std::shared_ptr<bool> into);

// The ports from 0 to 23, where the user named none.
NumberSet or_all_ports(const NumberSet &ports);

} // namespace kslctl
