// SPDX-License-Identifier: Apache-2.0
// The arguments that commands have of their own. They are stored where the commands' runs find them.
#pragma once

#include "kslctl/numbers.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kslctl {

// In ascending order, each once.
using NumberSet = std::vector<uint32_t>;

enum class Need { optional, required };

// Names without dashes stand for words at their place. What takes the text may throw ArgumentError.
void add_text(CLI::App &command, const char *name, Need need, std::function<void(const std::string &text)> take,
              const char *summary);
void add_texts(CLI::App &command, const char *name, Need need,
               std::function<void(const std::vector<std::string> &texts)> take, const char *summary);

// A list that may be spread over several words.
void add_lists(CLI::App &command, const char *name, Need need, const NumberKind &kind,
               const std::shared_ptr<NumberSet> &into, const char *summary);
// A list in one word.
void add_list(CLI::App &command, const char *name, Need need, const NumberKind &kind,
              const std::shared_ptr<NumberSet> &into, const char *summary);
void add_number(CLI::App &command, const char *name, Need need, const NumberKind &kind,
                const std::shared_ptr<std::optional<uint32_t>> &into, const char *summary);

// An option with a value, which help calls `value`.
void add_option(CLI::App &command, const char *name, const char *value, std::shared_ptr<std::string> into,
                const char *summary);
// The same for what has a meaning of its own. `take` may throw ArgumentError.
void add_option(CLI::App &command, const char *name, const char *value,
                std::function<void(const std::string &text)> take, const char *summary);
void add_flag(CLI::App &command, const char *name, std::shared_ptr<bool> into, const char *summary);
// For a command that changes the hub.
void add_dry_run(CLI::App &command, std::shared_ptr<bool> into);

// The ports from 0 to 23, where the user named none.
NumberSet or_all_ports(const NumberSet &ports);

} // namespace kslctl
