// SPDX-License-Identifier: Apache-2.0
#include "new_ring.h"

#include "complaint.h"
#include "file_name.h"
#include "folder.h"
#include "storage.h"

#include <cstdlib>
#include <cstring>

namespace trace_kbuf {

namespace {

// Callers ask for little, as they do of the hub's memory. A file has room for a history.
constexpr uint32_t kLeastOfAFile = 1 << 20;

// A number of bytes, KiB or MiB; 0 for anything else.
uint32_t parse_size(const char *text) {
    if (*text < '0' || *text > '9') {
        return 0;
    }
    char *end = nullptr;
    const unsigned long long number = std::strtoull(text, &end, 10);
    const unsigned shift = *end == 'K' ? 10 : *end == 'M' ? 20 : 0;
    end += shift != 0;
    if (*end != '\0' || number > kMaxSize >> shift || number << shift < kMinSize) {
        return 0;
    }
    return static_cast<uint32_t>(number << shift);
}

// What TRACE_KBUF_SIZE says; 0 when it says nothing, or nonsense.
uint32_t size_by_environment() {
    const char *text = secure_getenv("TRACE_KBUF_SIZE");
    if (text == nullptr || *text == '\0') {
        return 0;
    }
    const uint32_t size = parse_size(text);
    static constinit bool done = false;
    if (size == 0 && !done) {
        done = true;
        platform::complain(
            "trace_kbuf: TRACE_KBUF_SIZE is \"%.40s\"; give a number of bytes from %u to %u, such as 1048576, 1024K "
            "or 1M; going on as if it were not set\n",
            text, kMinSize, kMaxSize);
    }
    return size;
}

Front *ring_in_file(Places &places, const char *folder, const char *name, uint32_t size) {
    Path path{};
    const char *problem = "the name of the folder is too long";
    Front *front = expand(folder, path) ? map_file(places, path.data(), name, size, problem) : nullptr;
    static constinit bool done = false;
    if (front == nullptr && !done) {
        done = true;
        platform::complain("trace_kbuf: cannot keep buffer \"%s\" in %.1000s/%s: %s; recording in memory instead\n",
                           name, path.data(), file_name(name).data(), problem);
    }
    return front;
}

} // namespace

Front *new_ring(Places &places, const char *name, uint32_t wanted) {
    const uint32_t by_environment = size_by_environment();
    const uint32_t size = std::bit_ceil(by_environment != 0 ? by_environment : std::max(wanted, kMinSize));
    const char *folder = secure_getenv("TRACE_KBUF_DIR");
    if (folder != nullptr && folder[0] != '\0') {
        const uint32_t size_of_file = by_environment != 0 ? size : std::max(size, kLeastOfAFile);
        if (Front *front = ring_in_file(places, folder, name, size_of_file)) {
            return front;
        }
    }
    Front *front = places.of(size);
    if (front == nullptr || !map_memory(*front)) {
        return nullptr;
    }
    describe(header_of(*front), name, size);
    return front;
}

} // namespace trace_kbuf
