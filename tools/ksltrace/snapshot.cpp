// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/snapshot.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <new>
#include <optional>
#include <unistd.h>

namespace ksltrace {

namespace {

// More than any buffer's file has.
constexpr size_t kLongestInput = size_t{64} << 20;

template <size_t Room>
void make_printable(char (&text)[Room]) {
    const auto breaks = [](char letter) {
        return (static_cast<unsigned char>(letter) < ' ' && letter != '\0') || letter == 0x7F;
    };
    std::replace_if(std::begin(text), std::end(text), breaks, '?');
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

std::optional<std::string> path_of_buffer(const std::string &name) {
    const char *const directory = getenv("TRACE_KBUF_DIR");
    if (directory == nullptr || directory[0] == '\0' || name.find('/') != name.npos) {
        return std::nullopt;
    }
    const int length = trace_kbuf_file_path(nullptr, 0, directory, name.c_str());
    if (length < 0) {
        return std::nullopt;
    }
    std::string path(static_cast<size_t>(length), '\0');
    trace_kbuf_file_path(path.data(), path.size() + 1, directory, name.c_str());
    return path;
}

} // namespace

Snapshot owned(trace_kbuf_snapshot *snapshot) {
    if (snapshot == nullptr) {
        throw std::bad_alloc();
    }
    make_printable(snapshot->name);
    make_printable(snapshot->writer);
    return Snapshot(snapshot);
}

std::string path_of(const std::string &file_or_name) {
    const bool exists = access(file_or_name.c_str(), F_OK) == 0;
    return exists ? file_or_name : path_of_buffer(file_or_name).value_or(file_or_name);
}

Snapshot read_snapshot(const std::string &file_or_name) {
    return file_or_name == "-" ? read_stdin() : owned(trace_kbuf_snapshot_file(path_of(file_or_name).c_str()));
}

Snapshot read_live_snapshot(const std::string &name) {
    return owned(trace_kbuf_snapshot_live(name.c_str()));
}

} // namespace ksltrace
