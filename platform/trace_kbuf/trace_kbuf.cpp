// SPDX-License-Identifier: Apache-2.0
// The five operations over a table of open buffers.
//
// Writing takes no lock and no system call: stamp, next sequence number, one cache line. ticks.h tells what that
// costs. Numbers handed out to a thread in blocks of 16 were tried in a copy of the loop (13 ns instead of 18):
// rejected, since a short-lived or killed process would leave holes in the ring, and records of several threads would
// be out of order.
//
// Nothing that a writer touches ever disappears under it: a freed buffer's addresses stay reserved and get
// empty pages, so a thread that still writes while another one frees hits nothing and harms nobody.
#include "trace_kbuf.h"

#include "clock.h"
#include "file_name.h"
#include "ring.h"
#include "storage.h"
#include "ticks.h"
#include "trace_kbuf_reader.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#define EXPORTED extern "C" [[gnu::visibility("default")]]

namespace trace_kbuf {

namespace {

constexpr uint32_t kBuffers = 16;
constexpr uint32_t kSizes = 18; // powers of two of slots, from kMinSize to kMaxSize
static_assert(kMinSize / sizeof(Slot) == 2 && kMaxSize / sizeof(Slot) == 1 << kSizes);

struct alignas(64) Buffer {
    // generation * kBuffers + index while open, 0 while not: a descriptor of an earlier buffer never fits again
    std::atomic<uint32_t> descriptor;
    std::atomic<uint32_t> period; // the last period of ticks in which the clock was looked at
    // The ring's address, a whole page's, plus its size as a power of two of slots: both are known by one load,
    // whatever becomes of the buffer meanwhile.
    std::atomic<char *> ring;

    uint32_t generation;
    std::array<char, kMaxName + 1> name;
    std::array<void *, kSizes + 1> places; // addresses reserved so far, by size
};

constinit std::array<Buffer, kBuffers> buffers{};
constinit pthread_mutex_t table_lock = PTHREAD_MUTEX_INITIALIZER; // for opening, freeing, copying

class Locked {
public:
    Locked() { pthread_mutex_lock(&table_lock); }
    ~Locked() { pthread_mutex_unlock(&table_lock); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;
};

// The initial-exec model keeps this one load, without a call to the loader.
[[gnu::tls_model("initial-exec")]] constinit thread_local uint32_t thread_id = 0;

[[gnu::noinline, gnu::cold]] uint32_t ask_thread_id() {
    return thread_id = static_cast<uint32_t>(syscall(SYS_gettid));
}

uint32_t writer() {
    return thread_id != 0 ? thread_id : ask_thread_id();
}

// A child has a thread of another id, and must not inherit a lock whose holder it has not.
void watch_forks() {
    static constinit bool done = false;
    if (!done) {
        done = pthread_atfork([] { pthread_mutex_lock(&table_lock); }, [] { pthread_mutex_unlock(&table_lock); },
                              [] {
                                  thread_id = 0;
                                  pthread_mutex_unlock(&table_lock);
                              }) == 0;
    }
}

uint32_t bits_of(const char *ring) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(ring) % kHeaderBytes);
}

uint32_t slots_of(const char *ring) {
    return uint32_t{1} << bits_of(ring);
}

Header &header_of(char *ring) {
    return *reinterpret_cast<Header *>(ring - bits_of(ring));
}

Slot *records_of(char *ring) {
    return reinterpret_cast<Slot *>(ring - bits_of(ring) + kHeaderBytes);
}

size_t bytes_of(const char *ring) {
    return kHeaderBytes + slots_of(ring) * sizeof(Slot);
}

[[gnu::noinline, gnu::cold]] void new_period(Buffer &buffer, char *ring, uint32_t period) {
    buffer.period.store(period, std::memory_order_relaxed);
    check_clock(header_of(ring), writer());
}

[[gnu::always_inline]] inline int write(uint32_t descriptor, uint32_t header, uint32_t identifier,
                                        std::array<uint32_t, kValues> values) {
    Buffer &buffer = buffers[descriptor % kBuffers];
    if (descriptor == 0 || buffer.descriptor.load(std::memory_order_acquire) != descriptor) {
        return -1;
    }
    char *const ring = buffer.ring.load(std::memory_order_relaxed);
    const uint64_t ticks = read_ticks();
    if (const auto period = static_cast<uint32_t>(ticks >> kPeriodBits);
        period != buffer.period.load(std::memory_order_relaxed)) [[unlikely]] {
        new_period(buffer, ring, period);
    }
    Header &heads = header_of(ring);
    const uint32_t sequence = heads.head.fetch_add(1, std::memory_order_relaxed);
    if (sequence == UINT32_MAX) [[unlikely]] {
        heads.turns.fetch_add(1, std::memory_order_relaxed);
    }
    write_slot(records_of(ring)[sequence & (slots_of(ring) - 1)], sequence,
               {0, 0, static_cast<uint32_t>(ticks >> 32), static_cast<uint32_t>(ticks), writer(), identifier, header,
                values[0], values[1], values[2], values[3], values[4], values[5], values[6], values[7], values[8]});
    return 0;
}

Buffer *find(const char *name) {
    for (Buffer &buffer : buffers) {
        if (buffer.descriptor.load(std::memory_order_relaxed) != 0 && std::strcmp(buffer.name.data(), name) == 0) {
            return &buffer;
        }
    }
    return nullptr;
}

void complain_once(const char *name, const char *directory, const char *problem) {
    static constinit bool done = false;
    if (!done) {
        done = true;
        (void)std::fprintf(stderr, "trace_kbuf: cannot keep buffer \"%s\" in %s/%s: %s; recording in memory instead\n",
                           name, directory, file_name(name).data(), problem);
    }
}

// Maps and describes a ring at `place`.
bool make_ring(void *place, const char *name, uint32_t size) {
    const char *directory = secure_getenv("TRACE_KBUF_DIR");
    if (directory != nullptr && directory[0] != '\0') {
        const char *problem = map_file(place, directory, name, size);
        if (problem == nullptr) {
            return true;
        }
        complain_once(name, directory, problem);
    }
    if (!map_memory(place, image_bytes(size))) {
        return false;
    }
    describe(*static_cast<Header *>(place), name, size);
    return true;
}

uint32_t open_buffer(const char *name, uint32_t wanted) {
    if (const Buffer *open = find(name)) {
        return open->descriptor.load(std::memory_order_relaxed);
    }
    const uint32_t size = std::bit_ceil(wanted < kMinSize ? kMinSize : wanted);
    const auto bits = static_cast<uint32_t>(std::countr_zero(size / static_cast<uint32_t>(sizeof(Slot))));
    for (uint32_t index = 0; index < kBuffers; ++index) {
        Buffer &buffer = buffers[index];
        if (buffer.descriptor.load(std::memory_order_relaxed) != 0) {
            continue;
        }
        void *&place = buffer.places[bits];
        if (place == nullptr) {
            place = reserve(image_bytes(size));
        }
        if (place == nullptr || !make_ring(place, name, size)) {
            return 0;
        }
        buffer.name = {};
        std::memcpy(buffer.name.data(), name, std::strlen(name));
        buffer.ring.store(static_cast<char *>(place) + bits, std::memory_order_relaxed);
        new_period(buffer, buffer.ring, static_cast<uint32_t>(read_ticks() >> kPeriodBits));
        buffer.generation = (buffer.generation + 1) % (UINT32_MAX / kBuffers);
        const uint32_t descriptor = (buffer.generation + 1) * kBuffers + index;
        buffer.descriptor.store(descriptor, std::memory_order_release);
        return descriptor;
    }
    return 0;
}

} // namespace

} // namespace trace_kbuf

using namespace trace_kbuf;

EXPORTED int trace_kbuf_init_buffer(uint32_t *descriptor, const char *name, uint32_t size) {
    if (descriptor == nullptr) {
        return -1;
    }
    *descriptor = 0;
    if (!is_valid_name(name) || size == 0 || size > kMaxSize) {
        return -1;
    }
    const Locked locked;
    watch_forks();
    *descriptor = open_buffer(name, size);
    return *descriptor == 0 ? -1 : 0;
}

EXPORTED int trace_kbuf_write_ints5(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                                    uint32_t v2, uint32_t v3, uint32_t v4) {
    return write(descriptor, header, identifier, {v0, v1, v2, v3, v4, 0, 0, 0, 0});
}

EXPORTED int trace_kbuf_write_ints9(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                                    uint32_t v2, uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7,
                                    uint32_t v8) {
    return write(descriptor, header, identifier, {v0, v1, v2, v3, v4, v5, v6, v7, v8});
}

EXPORTED int trace_kbuf_write_all(uint32_t descriptor, uint32_t identifier, const char * /*text*/, uint32_t line,
                                  uint32_t /*zero*/) {
    return write(descriptor, line & 0xffff, identifier, {});
}

EXPORTED int trace_kbuf_free(uint32_t *descriptor) {
    if (descriptor == nullptr) {
        return -1;
    }
    const uint32_t freed = *descriptor;
    *descriptor = 0;
    const Locked locked;
    Buffer &buffer = buffers[freed % kBuffers];
    if (freed == 0 || buffer.descriptor.load(std::memory_order_relaxed) != freed) {
        return -1;
    }
    buffer.descriptor.store(0, std::memory_order_release);
    char *const ring = buffer.ring.load(std::memory_order_relaxed);
    check_clock(header_of(ring), writer());
    map_memory(&header_of(ring), bytes_of(ring));
    return 0;
}

EXPORTED size_t trace_kbuf_copy(const char *name, void *bytes, size_t room) {
    const Locked locked;
    Buffer *buffer = is_valid_name(name) ? find(name) : nullptr;
    if (buffer == nullptr) {
        return 0;
    }
    char *const ring = buffer->ring.load(std::memory_order_relaxed);
    Header &header = header_of(ring);
    const size_t size = bytes_of(ring);
    if (size > room) {
        return size;
    }
    check_clock(header, writer());
    // The heads last: a record may then be counted and not be there, but never the other way round.
    auto *out = static_cast<unsigned char *>(bytes);
    SlotWords words;
    for (uint32_t i = 0; i < slots_of(ring); ++i) {
        copy_slot(records_of(ring)[i], words);
        std::memcpy(out + kHeaderBytes + i * sizeof(Slot), words.data(), sizeof(Slot));
    }
    for (uint32_t i = 0; i < kAnchors; ++i) {
        copy_slot(header.anchors[i], words);
        std::memcpy(out + offsetof(Header, anchors) + i * sizeof(Slot), words.data(), sizeof(Slot));
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    std::memset(out, 0, offsetof(Header, anchors));
    std::memcpy(out, &header.description, sizeof header.description);
    for (const std::atomic<uint32_t> *counter : {&header.head, &header.turns, &header.anchors_head}) {
        const uint32_t value = counter->load(std::memory_order_relaxed);
        const ptrdiff_t offset = reinterpret_cast<const char *>(counter) - reinterpret_cast<const char *>(&header);
        std::memcpy(out + offset, &value, sizeof value);
    }
    return size;
}
