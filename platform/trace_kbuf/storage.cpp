// SPDX-License-Identifier: Apache-2.0
#include "storage.h"

#include "blocks.h"
#include "descriptor.h"
#include "file_name.h"
#include "folder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>

#ifndef TRACE_KBUF_BUILD
#error "TRACE_KBUF_BUILD names version, architecture and compiler"
#endif

namespace trace_kbuf {

namespace {

constexpr char kBuild[] = TRACE_KBUF_BUILD;
static_assert(sizeof kBuild <= sizeof(Description::writer));

enum class Content { fresh, ours, outdated, foreign, other };

// `size` is the least that will do; of a file that is ours it becomes what it has.
Content examine(int file, off_t file_size, const char *name, uint32_t &size) {
    if (file_size == 0) {
        return Content::fresh;
    }
    Description found{};
    if (pread(file, &found, sizeof found, 0) < static_cast<ssize_t>(sizeof found.magic + 8)) {
        return Content::other;
    }
    const auto records = static_cast<uint32_t>(file_size - static_cast<off_t>(kHeaderBytes));
    const bool has_a_rings_size =
        file_size <= static_cast<off_t>(image_bytes(kMaxSize)) && std::has_single_bit(records);
    if (found.magic == decltype(found.magic){} && has_a_rings_size) {
        const bool fits = records >= size; // its maker was killed before it was ready
        size = std::max(size, records);
        return fits ? Content::fresh : Content::outdated;
    }
    if (found.magic != kMagic) {
        return Content::other;
    }
    if (found.byte_order != kByteOrderMark) {
        return Content::foreign;
    }
    if (found.version != kVersion || found.size < size || found.size != records || !has_a_rings_size ||
        found.checksum != description_checksum(reinterpret_cast<const unsigned char *>(&found))) {
        return Content::outdated;
    }
    if (found.word_bits != sizeof(void *) * 8) {
        return Content::foreign;
    }
    if (std::strcmp(found.name.data(), name) != 0) {
        return Content::other;
    }
    size = found.size;
    return Content::ours;
}

// Held only while a file is examined and made. A holder that was stopped must not stop others for good.
bool lock(int file) {
    for (int tries = 0; tries < 200; ++tries) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        const timespec pause{0, 1'000'000};
        nanosleep(&pause, nullptr);
    }
    return false;
}

bool map(Front &front, int flags, int file) {
    return mmap(ring_of(front), image_bytes(size_of(front)), PROT_READ | PROT_WRITE, MAP_FIXED | MAP_SHARED | flags,
                file, 0) != MAP_FAILED;
}

enum class Step { done, again, failed };

Step try_file(Places &places, Front *&front, int directory, const char *name, uint32_t size, const char *&problem) {
    const FileName path = file_name(name);
    const platform::Descriptor file(
        openat(directory, path.data(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600));
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        problem = errno == ELOOP ? "it is a symbolic link" : strerrordesc_np(errno);
        return Step::failed;
    }
    if (!S_ISREG(status.st_mode)) {
        problem = "it is not a regular file";
        return Step::failed;
    }
    if (status.st_uid != geteuid()) {
        problem = "it belongs to another user";
        return Step::failed;
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        problem = "it may be written by other users";
        return Step::failed;
    }
    if (!lock(file)) {
        problem = "another process keeps it locked";
        return Step::failed;
    }
    struct stat named {};
    if (fstat(file, &status) != 0 || fstatat(directory, path.data(), &named, AT_SYMLINK_NOFOLLOW) != 0 ||
        named.st_ino != status.st_ino || named.st_dev != status.st_dev) {
        return Step::again; // moved aside or removed meanwhile
    }
    if (status.st_nlink != 1) {
        problem = "it has a second name elsewhere";
        return Step::failed;
    }
    const Content content = examine(file, status.st_size, name, size);
    if (content == Content::foreign) {
        problem = "it was written on another kind of machine; remove it or choose another TRACE_KBUF_DIR";
        return Step::failed;
    }
    if (content == Content::other) {
        problem = "it is not a trace file of this buffer";
        return Step::failed;
    }
    if (content == Content::outdated) {
        std::array<char, sizeof(FileName) + 4> aside{};
        (void)std::snprintf(aside.data(), aside.size(), "%s.old", path.data());
        if (renameat(directory, path.data(), directory, aside.data()) != 0) {
            problem = "it is damaged, too small or of another version, and cannot be moved aside";
            return Step::failed;
        }
        return Step::again;
    }
    problem = reserve_blocks(file, image_bytes(size));
    front = problem == nullptr ? places.of(size) : nullptr;
    if (problem == nullptr && (front == nullptr || !map(*front, 0, file))) {
        problem = strerrordesc_np(errno);
    }
    if (problem != nullptr) {
        if (status.st_size == 0) {
            unlinkat(directory, path.data(), 0);
        }
        return Step::failed;
    }
    if (content == Content::fresh) {
        describe(header_of(*front), name, size);
    }
    // By hand: a child forked meanwhile may hold the same open file for long.
    flock(file, LOCK_UN);
    return Step::done;
}

} // namespace

// The page ahead of the ring is usable at once; its last bytes are the front.
Front *Places::of(uint32_t size) {
    Front *&front = by_size_[static_cast<uint32_t>(std::countr_zero(size) - std::countr_zero(kMinSize))];
    if (front == nullptr) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        void *start = mmap(nullptr, page + image_bytes(size), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (start == MAP_FAILED || mprotect(start, page, PROT_READ | PROT_WRITE) != 0) {
            return nullptr;
        }
        front = reinterpret_cast<Front *>(static_cast<char *>(start) + page - kFrontBytes);
        front->mask.store(size - static_cast<uint32_t>(sizeof(Slot)), std::memory_order_relaxed);
    }
    return front;
}

bool map_memory(Front &front) {
    return map(front, MAP_ANONYMOUS, -1);
}

void describe(Header &ring, const char *name, uint32_t size) {
    Description &description = ring.description;
    description.byte_order = kByteOrderMark;
    description.version = kVersion;
    description.word_bits = sizeof(void *) * 8;
    description.size = size;
    std::strncpy(description.name.data(), name, description.name.size() - 1);
    std::memcpy(description.writer.data(), kBuild, sizeof kBuild);
    description.checksum = description_checksum(reinterpret_cast<const unsigned char *>(&description));
    std::atomic_thread_fence(std::memory_order_release);
    description.magic = kMagic;
}

Front *map_file(Places &places, const char *directory, const char *name, uint32_t size, const char *&problem) {
    const platform::Descriptor folder(open_folder(directory, problem));
    if (folder < 0) {
        return nullptr;
    }
    problem = "it changes all the time";
    for (int tries = 0; tries < 8; ++tries) {
        Front *front = nullptr;
        const Step step = try_file(places, front, folder, name, size, problem);
        if (step != Step::again) {
            return step == Step::done ? front : nullptr;
        }
    }
    return nullptr;
}

} // namespace trace_kbuf
