// SPDX-License-Identifier: Apache-2.0
// What every sentence about a document that cannot be used has to be.
#pragma once

#include "require.h"

#include <algorithm>
#include <string_view>

namespace fuzz {

inline bool is_line(std::string_view text) {
    const auto breaks = [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; };
    return !text.empty() && std::none_of(text.begin(), text.end(), breaks);
}

inline void require_complaint(std::string_view words) {
    require(words.starts_with("line ") && words.find(", column ") != std::string_view::npos,
            "a complaint begins with its place");
    require(is_line(words), "a complaint is one line");
    require(words.size() < 400, "a complaint fits into a few lines of a terminal");
}

} // namespace fuzz
