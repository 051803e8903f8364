// SPDX-License-Identifier: Apache-2.0
#include "kslctl/arguments.h"

#include <CLI/CLI.hpp>
#include <numeric>
#include <set>

namespace kslctl {

namespace {

using Texts = std::vector<std::string>;

// The parser's own error names the argument.
template <typename Text>
void add(CLI::App &command, const char *name, Need need, std::function<void(const Text &)> take, const char *summary,
         const char *value = "") {
    const auto take_or_complain = [name, take = std::move(take)](const Text &text) {
        try {
            take(text);
        } catch (const ArgumentError &error) {
            throw CLI::ValidationError(name, error.what());
        }
    };
    command.add_option_function<Text>(name, take_or_complain, summary)
        ->type_name(value)
        ->required(need == Need::required);
}

void assign(NumberSet &into, const NumberKind &kind, const Texts &texts) {
    std::set<uint32_t> numbers;
    for (const std::string &text : texts) {
        const std::vector<uint32_t> list = parse_list(text, kind);
        numbers.insert(list.begin(), list.end());
    }
    into.assign(numbers.begin(), numbers.end());
}

} // namespace

void add_text(CLI::App &command, const char *name, Need need, std::function<void(const std::string &text)> take,
              const char *summary) {
    add(command, name, need, std::move(take), summary);
}

void add_texts(CLI::App &command, const char *name, Need need, std::function<void(const Texts &texts)> take,
               const char *summary) {
    add(command, name, need, std::move(take), summary);
}

void add_lists(CLI::App &command, const char *name, Need need, const NumberKind &kind,
               const std::shared_ptr<NumberSet> &into, const char *summary) {
    add_texts(
        command, name, need, [=](const Texts &texts) { assign(*into, kind, texts); }, summary);
}

void add_list(CLI::App &command, const char *name, Need need, const NumberKind &kind,
              const std::shared_ptr<NumberSet> &into, const char *summary) {
    add_text(
        command, name, need, [=](const std::string &text) { assign(*into, kind, {text}); }, summary);
}

void add_number(CLI::App &command, const char *name, Need need, const NumberKind &kind,
                const std::shared_ptr<std::optional<uint32_t>> &into, const char *summary) {
    add_text(
        command, name, need, [=](const std::string &text) { *into = parse_number(text, kind); }, summary);
}

void add_option(CLI::App &command, const char *name, const char *value, std::shared_ptr<std::string> into,
                const char *summary) {
    add_option(
        command, name, value, [into = std::move(into)](const std::string &text) { *into = text; }, summary);
}

void add_option(CLI::App &command, const char *name, const char *value,
                std::function<void(const std::string &text)> take, const char *summary) {
    add(command, name, Need::optional, std::move(take), summary, value);
}

void add_flag(CLI::App &command, const char *name, std::shared_ptr<bool> into, const char *summary) {
    command.add_flag_callback(
        name, [into = std::move(into)] { *into = true; }, summary);
}

void add_dry_run(CLI::App &command, std::shared_ptr<bool> into) {
    add_flag(command, "--dry-run", std::move(into), "Show the register writes, and make none");
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
