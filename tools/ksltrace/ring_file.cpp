// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/ring_file.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/core.h>
#include <format.h>
#include <system_error>
#include <unistd.h>

namespace ksltrace {

namespace {

using trace_kbuf::Description;
using trace_kbuf::Header;
using trace_kbuf::kHeaderBytes;
using trace_kbuf::kMaxSize;

constexpr size_t kSlot = sizeof(trace_kbuf::Slot);
constexpr size_t kHeads = offsetof(Header, head);
constexpr size_t kHeadsLength = offsetof(Header, anchors_head) + sizeof(uint32_t) - kHeads;

std::string message_of(int error) {
    return std::generic_category().message(error);
}

} // namespace

RingFile::Look RingFile::look(uint64_t from) {
    struct stat named {};
    if (stat(path_.c_str(), &named) != 0) {
        return Look::missing;
    }
    const bool had_file = file_ >= 0;
    if (!had_file || named.st_dev != status_.st_dev || named.st_ino != status_.st_ino) {
        close_file();
        if (!open_file()) {
            return Look::unusable;
        }
        read_whole();
        return had_file ? Look::replaced : Look::changed;
    }
    if (named.st_size != status_.st_size) {
        status_.st_size = named.st_size;
        read_whole();
        return Look::changed;
    }
    return read_new(from) ? Look::changed : Look::unchanged;
}

void RingFile::read_whole() {
    bytes_.assign(std::min(static_cast<size_t>(status_.st_size), kHeaderBytes + kMaxSize), 0);
    read_at(0, bytes_.size());
    // Again, since a record must not be there without being counted.
    if (bytes_.size() >= kHeaderBytes) {
        read_at(kHeads, kHeadsLength);
    }
}

Snapshot RingFile::snapshot() const {
    return owned(trace_kbuf_snapshot_bytes(bytes_.data(), bytes_.size(), path_.c_str()));
}

bool RingFile::open_file() {
    // An open of a pipe would wait for a writer.
    file_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file_ < 0 || fstat(file_, &status_) != 0) {
        problem_ = fmt::format("{}: cannot be read: {}", path_, message_of(errno));
        return false;
    }
    if (!S_ISREG(status_.st_mode)) {
        problem_ = fmt::format("{} is not a regular file; only files can be followed", path_);
        close_file();
        return false;
    }
    return true;
}

void RingFile::close_file() {
    if (file_ >= 0) {
        close(file_);
        file_ = -1;
    }
}

// Whether that changed anything.
bool RingFile::read_at(size_t offset, size_t length) {
    std::vector<unsigned char> fresh(length);
    size_t done = 0;
    while (done < length) {
        const ssize_t got = pread(file_, &fresh[done], length - done, static_cast<off_t>(offset + done));
        if (got <= 0) {
            break; // cut off meanwhile
        }
        done += static_cast<size_t>(got);
    }
    if (std::memcmp(&bytes_[offset], fresh.data(), done) == 0) {
        return false;
    }
    std::memcpy(&bytes_[offset], fresh.data(), done);
    return true;
}

bool RingFile::read_new(uint64_t from) {
    if (bytes_.size() < kHeaderBytes) {
        return false; // too short for records; it would have grown
    }
    const std::vector<unsigned char> description(bytes_.begin(), bytes_.begin() + sizeof(Description));
    const bool has_new = read_at(kHeads, kHeadsLength);
    if (!has_new && head() == from) {
        return false;
    }
    bool changed = has_new && read_at(0, kHeads);
    changed |= has_new && read_at(offsetof(Header, anchors), sizeof(Header::anchors));
    const uint64_t slots = (bytes_.size() - kHeaderBytes) / kSlot;
    const bool is_another = std::memcmp(description.data(), bytes_.data(), description.size()) != 0;
    if (is_another || head() < from || head() - from >= slots || slots * kSlot != word(offsetof(Description, size))) {
        if (has_new) {
            read_whole();
        }
        return has_new;
    }
    // The record before it shows whether this is still the ring that was read before.
    for (uint64_t sequence = from - (has_new && from > 0 ? 1 : 0); sequence != head(); ++sequence) {
        changed |= read_at(kHeaderBytes + static_cast<size_t>(sequence % slots) * kSlot, kSlot);
    }
    return read_at(kHeads, kHeadsLength) || changed || has_new;
}

uint32_t RingFile::word(size_t offset) const {
    const auto at = [&](size_t place) {
        uint32_t value = 0;
        std::memcpy(&value, &bytes_[place], sizeof value);
        return value;
    };
    const bool is_swapped = at(offsetof(Description, byte_order)) != trace_kbuf::kByteOrderMark;
    return is_swapped ? __builtin_bswap32(at(offset)) : at(offset);
}

uint64_t RingFile::head() const {
    return uint64_t{word(offsetof(Header, turns))} << 32 | word(offsetof(Header, head));
}

} // namespace ksltrace
