// SPDX-License-Identifier: Apache-2.0
#include "kslctl/arguments.h"

#include <numeric>
#include <set>

namespace kslctl {

namespace {

using Texts = std::vector<std::string>;

void assign(NumberSet &into, const char *name, const NumberKind &kind, const Texts &texts) {
    std::set<uint32_t> numbers;
    for (const std::string &text : texts) {
        const std::vector<uint32_t> list = parse_list(name, text, kind);
        numbers.insert(list.begin(), list.end());
    }
    into.assign(numbers.begin(), numbers.end());
}

} // namespace

CLI::Option *add_lists(CLI::App &command, const char *name, const NumberKind &kind, std::shared_ptr<NumberSet> into,
                       const char *summary) {
    const auto parse = [=](const Texts &texts) { assign(*into, name, kind, texts); };
    return command.add_option_function<Texts>(name, parse, summary)->type_name("");
}

CLI::Option *add_list(CLI::App &command, const char *name, const NumberKind &kind, std::shared_ptr<NumberSet> into,
                      const char *summary) {
    const auto parse = [=](const std::string &text) { assign(*into, name, kind, {text}); };
    return command.add_option_function<std::string>(name, parse, summary)->type_name("");
}

CLI::Option *add_number(CLI::App &command, const char *name, const NumberKind &kind,
                        std::shared_ptr<std::optional<uint32_t>> into, const char *summary) {
    const auto parse = [name, kind, into = std::move(into)](const std::string &text) {
        *into = parse_number(name, text, kind);
    };
    return command.add_option_function<std::string>(name, parse, summary)->type_name("");
}

void add_dry_run(CLI::App &command, std::shared_ptr<bool> into) {
    command.add_flag_callback(
        "--dry-run", [into = std::move(into)] { *into = true; }, "Show the register writes, and make none");
}

NumberSet or_all_ports(const NumberSet &ports) {
    if (!ports.empty()) {
        return ports;
    }
    NumberSet all(KSL_PORTS);
    std::iota(all.begin(), all.end(), 0);
    return all;
}

} // namespace kslctl
