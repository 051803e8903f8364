// SPDX-License-Identifier: Apache-2.0
#include "support/table.h"

#include <algorithm>
#include <numeric>

namespace tools {

namespace {

constexpr std::string_view kPlain = "\x1b[0m";

constexpr std::string_view kBetweenColumns = "  ";
constexpr std::string_view kBetweenHalves = "   ";

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

std::string Style::value(std::string_view text, bool is_wrong) const {
    return coloured(is_wrong || text == kNotRead ? Colour::red : Colour::none, text);
}

bool Style::wants_halves(size_t lines, size_t columns) const {
    // Around a table are the heading of its chip, a few values of the chip, and the prompt.
    constexpr size_t kOtherLines = 8;
    return screen_ && lines + kOtherLines > screen_->rows && lines / 2 + 1 + kOtherLines <= screen_->rows &&
           2 * columns + kBetweenHalves.size() <= screen_->columns;
}

void Table::add_row(std::vector<std::string> cells, std::vector<bool> wrong) {
    wrong.resize(cells.size());
    rows_.push_back({std::move(cells), std::move(wrong)});
}

std::string Table::render(const Style &style) const {
    Row headings{{}, std::vector<bool>(columns_.size())};
    std::vector<size_t> widths;
    for (const Column &column : columns_) {
        headings.cells.push_back(column.heading);
        widths.push_back(width_of(column.heading));
    }
    for (const Row &row : rows_) {
        for (size_t i = 0; i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], width_of(row.cells[i]));
        }
    }

    const auto blanks = [](size_t count) { return std::string(count, ' '); };
    const auto line = [&](const Row &row, bool ends_line) {
        std::string text;
        for (size_t i = 0; i < widths.size(); ++i) {
            const std::string &cell = row.cells[i];
            const std::string padding = blanks(widths[i] - width_of(cell));
            const bool is_last = i + 1 == widths.size();
            text += columns_[i].align == Align::right ? padding : "";
            text += &row == &headings ? style.heading(cell) : style.value(cell, row.wrong[i]);
            text += columns_[i].align == Align::left && !(is_last && ends_line) ? padding : "";
            text += is_last ? "" : kBetweenColumns;
        }
        return text;
    };

    const size_t width = std::accumulate(widths.begin(), widths.end(), (widths.size() - 1) * kBetweenColumns.size());
    const size_t half = style.wants_halves(rows_.size() + 1, width) ? (rows_.size() + 1) / 2 : rows_.size();
    const auto line_of_halves = [&](const Row &left, const Row *right) {
        return line(left, right == nullptr) +
               (right == nullptr ? "" : std::string(kBetweenHalves) + line(*right, true)) + "\n";
    };
    std::string text = line_of_halves(headings, half < rows_.size() ? &headings : nullptr);
    for (size_t i = 0; i < half; ++i) {
        text += line_of_halves(rows_[i], half + i < rows_.size() ? &rows_[half + i] : nullptr);
    }
    return text;
}

} // namespace tools
