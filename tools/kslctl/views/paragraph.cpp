// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/paragraph.h"

namespace kslctl::views {

std::string paragraph(std::string_view heading, size_t column, const std::string &text, const Style &style) {
    constexpr size_t kWidth = 80;
    std::string lines = style.heading(heading) + std::string(column - heading.size(), ' ');
    size_t used = column;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find(' ', begin), text.size());
        const size_t length = end - begin;
        if (used > column && used + 1 + length > kWidth) {
            lines += "\n" + std::string(column, ' ');
            used = column;
        } else if (used > column) {
            lines += " ";
            ++used;
        }
        lines += text.substr(begin, length);
        used += length;
        begin = end + 1;
    }
    return lines + "\n";
}

} // namespace kslctl::views
