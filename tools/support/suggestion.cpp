// SPDX-License-Identifier: Apache-2.0
#include "support/suggestion.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>

namespace tools {

namespace {

// The letters to insert, drop, replace or swap with their neighbour to get from one word to the other.
size_t distance(std::string_view from, std::string_view to) {
    std::vector<size_t> before_last(to.size() + 1);
    std::vector<size_t> last(to.size() + 1);
    std::vector<size_t> now(to.size() + 1);
    std::iota(last.begin(), last.end(), size_t{0});
    for (size_t i = 1; i <= from.size(); ++i) {
        now[0] = i;
        for (size_t j = 1; j <= to.size(); ++j) {
            const bool same = from[i - 1] == to[j - 1];
            now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
                now[j] = std::min(now[j], before_last[j - 2] + 1);
            }
        }
        before_last.swap(last);
        last.swap(now);
    }
    return last[to.size()];
}

std::vector<std::string> names_beginning_with(std::string_view word, const std::vector<std::string> &names) {
    std::vector<std::string> found;
    std::copy_if(names.begin(), names.end(), std::back_inserter(found),
                 [word](const std::string &name) { return name.starts_with(word); });
    return found;
}

// Two thirds of a word are right.
std::vector<std::string> nearest_names(std::string_view word, const std::vector<std::string> &names) {
    size_t least = std::max<size_t>(1, word.size() / 3);
    std::vector<std::string> found;
    for (const std::string &name : names) {
        const size_t far = distance(word, name);
        if (far < least) {
            found.clear();
            least = far;
        }
        if (far == least) {
            found.push_back(name);
        }
    }
    return found;
}

} // namespace

std::string suggestion(std::string_view word, const std::vector<std::string> &names) {
    std::vector<std::string> meant = names_beginning_with(word, names);
    if (meant.empty()) {
        meant = nearest_names(word, names);
    }
    return meant.empty() ? "" : fmt::format("; did you mean \"{}\"?", fmt::join(meant, "\" or \""));
}

} // namespace tools
