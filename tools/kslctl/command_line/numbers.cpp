// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command_line/numbers.h"

#include <algorithm>
#include <charconv>
#include <fmt/core.h>
#include <set>

namespace kslctl {

namespace {

// `whole` is what the user wrote.
uint32_t parse_part(std::string_view part, std::string_view whole, const NumberKind &kind) {
    uint32_t number = 0;
    const bool hex = part.starts_with("0x");
    const char *const end = part.data() + part.size();
    const auto [stop, error] = std::from_chars(part.data() + (hex ? 2 : 0), end, number, hex ? 16 : 10);
    if (error != std::errc{} || stop != end || number < kind.least || number > kind.most) {
        throw ArgumentError(
            fmt::format("\"{}\" is no {}; they go from {} to {}", whole, kind.what, kind.least, kind.most));
    }
    return number;
}

void add_range(std::vector<uint32_t> &numbers, std::string_view text, const NumberKind &kind) {
    const size_t dash = text.find('-', 1);
    if (dash == std::string_view::npos) {
        numbers.push_back(parse_part(text, text, kind));
        return;
    }
    const uint32_t first = parse_part(text.substr(0, dash), text, kind);
    const uint32_t last = parse_part(text.substr(dash + 1), text, kind);
    if (first > last) {
        throw ArgumentError(fmt::format("the range \"{}\" runs backwards", text));
    }
    for (uint32_t number = first; number != last; ++number) {
        numbers.push_back(number);
    }
    numbers.push_back(last);
}

} // namespace

uint32_t parse_number(std::string_view text, const NumberKind &kind) {
    return parse_part(text, text, kind);
}

std::vector<uint32_t> parse_list(std::string_view text, const NumberKind &kind) {
    std::vector<uint32_t> numbers;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        add_range(numbers, text.substr(begin, end - begin), kind);
        begin = end + 1;
    }
    return numbers;
}

NumberSet parse_set(const std::vector<std::string> &lists, const NumberKind &kind) {
    std::set<uint32_t> numbers;
    for (const std::string &text : lists) {
        const std::vector<uint32_t> list = parse_list(text, kind);
        numbers.insert(list.begin(), list.end());
    }
    return {numbers.begin(), numbers.end()};
}

std::chrono::duration<double> parse_seconds(const std::string &text) {
    constexpr double kLeast = 0.01;
    constexpr double kMost = 86400;
    double number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    if (error != std::errc{} || stop != end || !(number >= kLeast && number <= kMost)) {
        throw ArgumentError(fmt::format("\"{}\" is no number of seconds; they go from 0.01 to 86400", text));
    }
    return std::chrono::duration<double>(number);
}

} // namespace kslctl
