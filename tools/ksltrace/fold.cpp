// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/fold.h"

#include <charconv>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ksltrace {

namespace {

constexpr size_t kNarrowest = 20; // what is narrower has no room for text

// Characters that take a place: not those of an escape sequence, nor bytes that continue a character of UTF-8.
size_t visible(std::string_view text) {
    size_t count = 0;
    bool in_escape = false;
    for (const char c : text) {
        in_escape = in_escape || c == '\x1b';
        count += !in_escape && (c & 0xC0) != 0x80;
        in_escape = in_escape && c != 'm';
    }
    return count;
}

// Where the line has to end; its length when it fits or cannot be broken. What precedes `begin` stays on it.
size_t end_of_line(std::string_view line, size_t begin, size_t width) {
    size_t end = line.npos;
    for (size_t blank = line.find(' ', begin); blank != line.npos; blank = line.find(' ', blank + 1)) {
        if (end != line.npos && visible(line.substr(0, blank)) > width) {
            break;
        }
        end = blank;
    }
    return visible(line) <= width || end == line.npos ? line.size() : end;
}

void add_folded(std::string &folded, std::string_view line, size_t width, size_t indent) {
    std::string rest(line);
    size_t begin = rest.find_first_not_of(' ');
    while (begin != rest.npos) {
        const size_t end = end_of_line(rest, begin, width);
        if (end == rest.size()) {
            folded += rest;
            return;
        }
        folded += rest.substr(0, rest.find_last_not_of(' ', end) + 1) + '\n';
        const size_t next = rest.find_first_not_of(' ', end);
        rest = next == rest.npos ? "" : std::string(indent, ' ') + rest.substr(next);
        begin = rest.find_first_not_of(' ');
    }
}

} // namespace

std::string fold(std::string_view text, size_t width, size_t indent) {
    if (width == 0) {
        return std::string(text);
    }
    std::string folded;
    while (!text.empty()) {
        const size_t length = text.find('\n');
        add_folded(folded, text.substr(0, length), width, indent);
        folded += length == text.npos ? "" : "\n";
        text.remove_prefix(length == text.npos ? text.size() : length + 1);
    }
    return folded;
}

size_t terminal_width(const tools::StandardOutput &out) {
    if (!out.is_terminal()) {
        return 0;
    }
    size_t width = 0;
    if (const char *const columns = std::getenv("COLUMNS")) {
        const std::string_view text = columns;
        std::from_chars(text.data(), text.data() + text.size(), width);
    }
    winsize size{};
    if (width == 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        width = size.ws_col;
    }
    return width < kNarrowest ? 0 : width;
}

} // namespace ksltrace
