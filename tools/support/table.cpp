// SPDX-License-Identifier: Apache-2.0
#include "support/table.h"

#include <algorithm>

namespace tools {

namespace {

constexpr std::string_view kPlain = "\x1b[0m";

// Characters of UTF-8 text: all bytes but those that continue one.
size_t width_of(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

} // namespace

std::string Style::coloured(Colour colour, std::string_view text) const {
    constexpr const char *kBegin[] = {"",         "\x1b[1m",  "\x1b[2m",  "\x1b[31m",
                                      "\x1b[32m", "\x1b[33m", "\x1b[35m", "\x1b[36m"};
    if (!emphasis_ || colour == Colour::none) {
        return std::string(text);
    }
    return kBegin[static_cast<size_t>(colour)] + std::string(text) + std::string(kPlain);
}

std::string Style::heading(std::string_view text) const {
    return coloured(Colour::bold, text);
}

std::string Style::value(std::string_view text) const {
    return coloured(text == kNotRead ? Colour::red : Colour::none, text);
}

std::string Table::render(const Style &style) const {
    std::vector<std::string> headings;
    std::vector<size_t> widths;
    for (const Column &column : columns_) {
        headings.push_back(column.heading);
        widths.push_back(width_of(column.heading));
    }
    for (const auto &row : rows_) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], width_of(row[i]));
        }
    }

    std::string text;
    const auto add_line = [&](const std::vector<std::string> &cells, auto emphasise) {
        for (size_t i = 0; i < cells.size(); ++i) {
            const std::string blanks(widths[i] - width_of(cells[i]), ' ');
            const bool is_last = i + 1 == cells.size();
            text += columns_[i].align == Align::right ? blanks : "";
            text += (style.*emphasise)(cells[i]);
            text += columns_[i].align == Align::left && !is_last ? blanks : "";
            text += is_last ? "\n" : "  ";
        }
    };
    add_line(headings, &Style::heading);
    for (const auto &row : rows_) {
        add_line(row, &Style::value);
    }
    return text;
}

} // namespace tools
