// SPDX-License-Identifier: Apache-2.0
// Arguments that need more than CLI11 knows. Each is filled once, into a plain member of the command's struct; the
// option that is returned takes required(), type_name() and the like.
#pragma once

#include "kslctl/command_line/numbers.h"

#include <CLI/CLI.hpp>

namespace kslctl {

// What `parse` makes of the text; it may throw ArgumentError. `Text` is std::string for one word, or a vector of them
// for an argument that may be spread over several words.
template <typename Text = std::string, typename Value, typename Parse>
CLI::Option *add_parsed(CLI::App &command, const char *name, Value &into, Parse parse, const char *summary) {
    // Of several names, complaints have the last one.
    const std::string_view names(name);
    const std::string last(names.substr(names.rfind(',') + 1));
    const auto store = [last, &into, parse](const Text &text) {
        try {
            into = parse(text);
        } catch (const ArgumentError &error) {
            throw CLI::ValidationError(last, error.what());
        }
    };
    return command.add_option_function<Text>(name, store, summary)->type_name("");
}

// A number, or a list of numbers and ranges in one word.
template <typename Value>
CLI::Option *add_number(CLI::App &command, const char *name, Value &into, const NumberKind &kind, const char *summary) {
    return add_parsed(
        command, name, into, [&kind](const std::string &text) { return parse_number(text, kind); }, summary);
}
inline CLI::Option *add_list(CLI::App &command, const char *name, NumberSet &into, const NumberKind &kind,
                             const char *summary) {
    return add_parsed(
        command, name, into, [&kind](const std::string &text) { return parse_set({text}, kind); }, summary);
}
// The same list, spread over any number of words.
inline CLI::Option *add_lists(CLI::App &command, const char *name, NumberSet &into, const NumberKind &kind,
                              const char *summary) {
    return add_parsed<std::vector<std::string>>(
        command, name, into, [&kind](const std::vector<std::string> &texts) { return parse_set(texts, kind); },
        summary);
}

} // namespace kslctl
