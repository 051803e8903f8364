// SPDX-License-Identifier: Apache-2.0
// A trace file that is looked at again and again: only what is new is read.
#pragma once

#include "ksltrace/snapshot.h"

#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace ksltrace {

class RingFile {
public:
    enum class Look {
        missing,   // there is no such file
        unusable,  // it cannot be read: `problem` says why
        unchanged, // nothing is new
        changed,
        replaced // there is another file of that name
    };

    explicit RingFile(std::string path) : path_(std::move(path)) {}
    RingFile(const RingFile &) = delete;
    RingFile &operator=(const RingFile &) = delete;
    ~RingFile() { close_file(); }

    // Reads the records from number `from` on, the others once.
    Look look(uint64_t from);
    // Reads all of it.
    void read_whole();

    // Of what was read last.
    Snapshot snapshot() const;
    const std::string &path() const { return path_; }
    const std::string &problem() const { return problem_; }

private:
    bool open_file();
    void close_file();
    bool read_at(size_t offset, size_t length);
    bool read_new(uint64_t from);
    uint32_t word(size_t offset) const;
    uint64_t head() const;

    std::string path_;
    std::string problem_;
    int file_ = -1; // stays open, so that no other file gets its inode number
    struct stat status_ {};
    std::vector<unsigned char> bytes_;
};

} // namespace ksltrace
