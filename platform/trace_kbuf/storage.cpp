// SPDX-License-Identifier: Apache-2.0
#include "storage.h"

#include "file_name.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#ifndef TRACE_KBUF_BUILD
#error "TRACE_KBUF_BUILD names version, architecture and compiler"
#endif

namespace trace_kbuf {

namespace {

constexpr char kBuild[] = TRACE_KBUF_BUILD;
static_assert(sizeof kBuild <= sizeof(Description::writer));

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    operator int() const { return number_; }

private:
    int number_;
};

enum class Content { fresh, ours, outdated, foreign, other };

Content examine(int file, off_t file_size, const char *name, uint32_t size) {
    if (file_size == 0) {
        return Content::fresh;
    }
    Description found{};
    if (pread(file, &found, sizeof found, 0) < static_cast<ssize_t>(sizeof found.magic + 8)) {
        return Content::other;
    }
    const auto bytes = static_cast<off_t>(image_bytes(size));
    if (found.magic == decltype(found.magic){} && file_size == bytes) {
        return Content::fresh; // its maker was killed before it was ready
    }
    if (found.magic != kMagic) {
        return Content::other;
    }
    if (found.byte_order != kByteOrderMark) {
        return Content::foreign;
    }
    if (found.version != kVersion || found.size != size || file_size != bytes ||
        found.checksum != description_checksum(reinterpret_cast<const unsigned char *>(&found))) {
        return Content::outdated;
    }
    if (found.word_bits != sizeof(void *) * 8) {
        return Content::foreign;
    }
    return std::strcmp(found.name.data(), name) == 0 ? Content::ours : Content::other;
}

// Makes sure that every page has its place on the disk.
const char *allocate(int file, size_t bytes) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < bytes) {
        return strerrordesc_np(EFBIG); // asked first: going past the limit would raise SIGXFSZ
    }
    const int result = posix_fallocate(file, 0, static_cast<off_t>(bytes));
    return result == 0 ? nullptr : strerrordesc_np(result);
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

bool map(void *place, size_t bytes, int flags, int file) {
    return mmap(place, bytes, PROT_READ | PROT_WRITE, MAP_FIXED | MAP_SHARED | flags, file, 0) != MAP_FAILED;
}

enum class Step { done, again, failed };

Step try_file(void *place, int directory, const char *name, uint32_t size, const char *&problem) {
    const FileName path = file_name(name);
    const Descriptor file(
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
            problem = "it is damaged or of another size or version, and cannot be moved aside";
            return Step::failed;
        }
        return Step::again;
    }
    problem = allocate(file, image_bytes(size));
    if (problem == nullptr && !map(place, image_bytes(size), 0, file)) {
        problem = strerrordesc_np(errno);
    }
    if (problem != nullptr) {
        if (status.st_size == 0) {
            unlinkat(directory, path.data(), 0);
        }
        return Step::failed;
    }
    if (content == Content::fresh) {
        describe(*static_cast<Header *>(place), name, size);
    }
    // By hand: a child forked meanwhile may hold the same open file for long.
    flock(file, LOCK_UN);
    return Step::done;
}

} // namespace

void *reserve(size_t bytes) {
    void *place = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return place == MAP_FAILED ? nullptr : place;
}

bool map_memory(void *place, size_t bytes) {
    return map(place, bytes, MAP_ANONYMOUS, -1);
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

const char *map_file(void *place, const char *directory, const char *name, uint32_t size) {
    if (mkdir(directory, 0700) != 0 && errno != EEXIST) {
        return strerrordesc_np(errno);
    }
    const Descriptor folder(open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder < 0) {
        return strerrordesc_np(errno);
    }
    const char *problem = "it changes all the time";
    for (int tries = 0; tries < 8; ++tries) {
        const Step step = try_file(place, folder, name, size, problem);
        if (step != Step::again) {
            return step == Step::done ? nullptr : problem;
        }
    }
    return problem;
}

} // namespace trace_kbuf
