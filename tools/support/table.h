// SPDX-License-Identifier: Apache-2.0
// Text for people: aligned columns, with emphasis on a terminal only.
#pragma once

#include "support/screen.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

// The marks of a value that could not be read, and of one that does not exist.
inline constexpr std::string_view kNotRead = "?";
inline constexpr std::string_view kNothing = "-";

enum class Colour { none, bold, dim, red, green, yellow, magenta, cyan };

// How text is to be shown: with emphasis or without, and on which screen if it is for one.
class Style {
public:
    explicit Style(bool emphasis, std::optional<ScreenSize> screen = {}) : emphasis_(emphasis), screen_(screen) {}

    std::string coloured(Colour colour, std::string_view text) const;

    std::string heading(std::string_view text) const;
    // A value; one that is wrong, and the mark of one that could not be read, stand out.
    std::string value(std::string_view text, bool is_wrong = false) const;

    // Whether a table of so many lines is too long for the screen, and half of it twice is not.
    bool wants_halves(size_t lines, size_t columns) const;

private:
    bool emphasis_;
    std::optional<ScreenSize> screen_;
};

enum class Align { left, right };

struct Column {
    std::string heading;
    Align align;
};

class Table {
public:
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    // `wrong` says of each cell whether it stands out; none does if there are none.
    void add_row(std::vector<std::string> cells, std::vector<bool> wrong = {});

    // Columns two blanks apart, no blanks at the end of a line. Where the screen is low and wide enough, the second
    // half of the rows is beside the first.
    std::string render(const Style &style) const;

private:
    struct Row {
        std::vector<std::string> cells;
        std::vector<bool> wrong;
    };

    std::vector<Column> columns_;
    std::vector<Row> rows_;
};

} // namespace tools
