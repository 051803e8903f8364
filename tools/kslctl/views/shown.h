// SPDX-License-Identifier: Apache-2.0
// What a view makes of facts: the same for people and for programs.
#pragma once

#include "kslctl/hub/fact.h"
#include "support/json.h"
#include "support/table.h"

#include <string>

namespace kslctl {

using tools::Json;

namespace views {

using tools::Align;
using tools::Style;

struct Shown {
    Json json = Json::object();
    std::string text;
    bool answer_is_no = false; // of a command that asks a question
};

// One value.
struct Cell {
    std::string text;
    Json json;
    bool is_wrong = false; // what a person looks for: it stands out on a terminal
};

inline std::string shown(const Cell &cell, const Style &style) {
    return style.value(cell.text, cell.is_wrong);
}

inline Cell number(uint64_t value) {
    return {std::to_string(value), value};
}

// A fact: the cell of its value, or the mark of one that was not read or that means nothing; both are null in JSON.
template <typename T, typename ToCell>
Cell cell(const hub::Fact<T> &fact, const ToCell &to_cell) {
    if (fact.is_read()) {
        return to_cell(*fact);
    }
    return {std::string(fact.failure() != nullptr ? tools::kNotRead : tools::kNothing), nullptr};
}

} // namespace views

} // namespace kslctl
