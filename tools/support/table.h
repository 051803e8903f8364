// SPDX-License-Identifier: Apache-2.0
// Text for people: aligned columns, with emphasis on a terminal only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools {

// The marks of a value that could not be read, and of one that does not exist.
inline constexpr std::string_view kNotRead = "?";
inline constexpr std::string_view kNothing = "-";

enum class Colour { none, bold, dim, red, green, yellow, magenta, cyan };

class Style {
public:
    explicit Style(bool emphasis) : emphasis_(emphasis) {}

    std::string coloured(Colour colour, std::string_view text) const;

    std::string heading(std::string_view text) const;
    // A value; the mark of one that could not be read stands out.
    std::string value(std::string_view text) const;

private:
    bool emphasis_;
};

enum class Align { left, right };

struct Column {
    std::string heading;
    Align align;
};

class Table {
public:
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    void add_row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    // Columns two blanks apart, no blanks at the end of a line.
    std::string render(const Style &style) const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace tools
