// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/snapshot.h"

#include <array>
#include <cerrno>
#include <json/problem.h>
#include <new>
#include <unistd.h>

namespace ksltrace {

namespace {

// More than any buffer's file has.
constexpr size_t kLongestInput = size_t{64} << 20;

// No text becomes longer by that.
template <size_t Room>
void make_printable(char (&text)[Room]) {
    const std::string clean = json::printable(text);
    text[clean.copy(text, Room - 1)] = '\0';
}

Snapshot read_stdin() {
    std::string bytes;
    std::array<char, 65536> block{};
    while (bytes.size() < kLongestInput) {
        const ssize_t got = read(STDIN_FILENO, block.data(), block.size());
        if (got > 0) {
            bytes.append(block.data(), static_cast<size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    return owned(trace_kbuf_snapshot_bytes(bytes.data(), bytes.size(), "the standard input"));
}

} // namespace

Snapshot owned(trace_kbuf_snapshot *snapshot) {
    if (snapshot == nullptr) {
        throw std::bad_alloc();
    }
    make_printable(snapshot->name);
    make_printable(snapshot->writer);
    make_printable(snapshot->problem);
    return Snapshot(snapshot);
}

Snapshot read_snapshot(const std::string &path) {
    return path == "-" ? read_stdin() : owned(trace_kbuf_snapshot_file(path.c_str()));
}

Snapshot read_live_snapshot(const std::string &name) {
    return owned(trace_kbuf_snapshot_live(name.c_str()));
}

} // namespace ksltrace
