// SPDX-License-Identifier: Apache-2.0
// Where snapshots come from: files, bytes, and buffers of this process.
#include "trace_kbuf_reader.h"

#include "file_name.h"
#include "parse.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace trace_kbuf {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr size_t kMaxBytes = kHeaderBytes + kMaxSize;

// Reads from the file's position on, so that a pipe can be read too. Returns 0, or the reason why not.
int read_all(int file, Bytes &bytes) {
    size_t length = 0;
    for (;;) {
        bytes.resize(length + 65536);
        const ssize_t got = read(file, &bytes[length], bytes.size() - length);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return errno;
        }
        length += static_cast<size_t>(got);
        if (got == 0 || length > kMaxBytes) {
            bytes.resize(length);
            return 0;
        }
    }
}

bool reread(int file, size_t offset, size_t length, unsigned char *bytes) {
    return pread(file, bytes, length, static_cast<off_t>(offset)) == static_cast<ssize_t>(length);
}

// The file may be written while it is read. A slot counts as read once two readings in a row agree; one that
// always changes is spoilt. The heads come last, so that they count every record.
void settle(int file, Bytes &bytes) {
    constexpr size_t slots = offsetof(Header, anchors);
    Bytes again(bytes.size());
    if (bytes.size() <= kHeaderBytes || !reread(file, 0, again.size(), again.data())) {
        return;
    }
    for (size_t offset = slots; offset + sizeof(Slot) <= bytes.size(); offset += sizeof(Slot)) {
        unsigned char *first = &bytes[offset];
        unsigned char *second = &again[offset];
        bool settled = std::memcmp(first, second, sizeof(Slot)) == 0;
        for (int tries = 0; !settled && tries < 16; ++tries) {
            settled = reread(file, offset, sizeof(Slot), first) && reread(file, offset, sizeof(Slot), second) &&
                      std::memcmp(first, second, sizeof(Slot)) == 0;
        }
        if (!settled) {
            std::memcpy(first, kSpoilt.data(), sizeof(Slot));
        }
    }
    if (reread(file, 0, slots, again.data())) {
        std::copy_n(again.begin(), slots, bytes.begin());
    }
}

trace_kbuf_snapshot *read_file(const char *path) {
    const auto unreadable = [&](int reason) {
        return problem_snapshot(TRACE_KBUF_UNREADABLE, path, std::string("cannot be read: ") + strerrordesc_np(reason));
    };
    // Not waiting keeps a pipe that nobody writes into from stopping the reader; one with a writer is read as it comes.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (file < 0) {
        return unreadable(errno);
    }
    fcntl(file, F_SETFL, 0);
    Bytes bytes;
    const int reason = read_all(file, bytes);
    struct stat status {};
    if (reason == 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        settle(file, bytes);
    }
    close(file);
    return reason == 0 ? parse(bytes, path) : unreadable(reason);
}

trace_kbuf_snapshot *read_live(const char *name) {
    void *library = dlopen("libtrace_kbuf.so", RTLD_LAZY | RTLD_NOLOAD);
    const auto copy = reinterpret_cast<decltype(&trace_kbuf_copy)>(
        dlsym(library != nullptr ? library : RTLD_DEFAULT, "trace_kbuf_copy"));
    if (library != nullptr) {
        dlclose(library);
    }
    if (copy == nullptr) {
        return problem_snapshot(TRACE_KBUF_UNREADABLE, name,
                                "the trace library of this process cannot show its buffers");
    }
    Bytes bytes;
    for (size_t size = copy(name, nullptr, 0); size > bytes.size(); size = copy(name, bytes.data(), bytes.size())) {
        bytes.resize(size);
    }
    return bytes.empty() ? problem_snapshot(TRACE_KBUF_UNREADABLE, name, "no such buffer is open in this process")
                         : parse(bytes, name);
}

template <typename Reading>
trace_kbuf_snapshot *without_exceptions(Reading reading) {
    try {
        return reading();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

} // namespace

} // namespace trace_kbuf

using namespace trace_kbuf;

extern "C" trace_kbuf_snapshot *trace_kbuf_snapshot_file(const char *path) {
    return without_exceptions([&] { return read_file(path); });
}

extern "C" trace_kbuf_snapshot *trace_kbuf_snapshot_bytes(const void *bytes, size_t size, const char *label) {
    return without_exceptions([&] { return parse({static_cast<const unsigned char *>(bytes), size}, label); });
}

extern "C" trace_kbuf_snapshot *trace_kbuf_snapshot_live(const char *name) {
    return without_exceptions([&] { return read_live(name); });
}

extern "C" int trace_kbuf_file_path(char *path, size_t room, const char *directory, const char *name) {
    return is_valid_name(name) ? std::snprintf(path, room, "%s/%s", directory, file_name(name).data()) : -1;
}
