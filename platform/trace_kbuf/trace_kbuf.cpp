// SPDX-License-Identifier: Apache-2.0
// The five operations over a table of open buffers.
//
// Writing takes no lock and no system call: stamp, next sequence number, one cache line. Numbers handed out to a thread
// in blocks of 16 were tried in a copy of the loop (13 ns instead of 18): rejected, since a short-lived or killed
// process would leave holes in the ring, and records of several threads would be out of order.
//
// Nothing that a writer touches ever disappears under it: a freed buffer's addresses stay reserved and get
// empty pages, so a thread that still writes while another one frees hits nothing and harms nobody.
#include "trace_kbuf.h"

#include "clock.h"
#include "file_name.h"
#include "new_ring.h"
#include "ring.h"
#include "storage.h"
#include "trace_kbuf_reader.h"

#include <algorithm>
#include <cstring>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#define EXPORTED extern "C" [[gnu::visibility("default")]]

namespace trace_kbuf {

namespace {

constexpr uint32_t kBuffers = 16;

// A descriptor is generation * kBuffers + index, so that one of an earlier buffer never fits again. While nothing is
// open at an index, its front has a descriptor of another index, which none that is asked for there can equal.
constexpr uint32_t closed(uint32_t index) {
    return index ^ 1;
}

constinit std::array<Front, 2> unused_fronts{{{closed(0), 0, {}}, {closed(1), 0, {}}}};

// Where the buffer of an index is, or was last.
constinit std::array<Front *, kBuffers> fronts = [] {
    std::array<Front *, kBuffers> all{};
    all.fill(&unused_fronts[1]);
    all[0] = &unused_fronts[0];
    return all;
}();

struct Buffer {
    uint32_t generation;
    std::array<char, kMaxName + 1> name;
    Places places;
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

// All else that is read of a buffer is reached through this pointer, which orders it.
[[gnu::always_inline]] inline Front &front_at(uint32_t index) {
    return *std::atomic_ref<Front *>(fronts[index]).load(std::memory_order_relaxed);
}

[[gnu::always_inline]] inline bool is_open(const Front &front, uint32_t descriptor) {
    return front.descriptor.load(std::memory_order_relaxed) == descriptor;
}

bool is_in_use(const Front &front, uint32_t index) {
    return front.descriptor.load(std::memory_order_relaxed) % kBuffers == index;
}

// The initial-exec model keeps this one load, without a call to the loader. 0 until the thread has asked.
[[gnu::tls_model("initial-exec")]] constinit thread_local uint32_t thread_id = 0;

uint32_t writer() {
    if (thread_id == 0) {
        thread_id = static_cast<uint32_t>(syscall(SYS_gettid));
    }
    return thread_id;
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

void look_at_clock(Front &front) {
    check_clock(header_of(front), writer());
    front.last_look.set(read_tick_words(), ticks_per_second());
}

// Writes a record, unless the thread's id is unknown or the clock has to be looked at: then it is `prepare` that does,
// and comes back. So a record calls nothing, and keeps what it needs in the registers that a function may spoil.
template <uint32_t Values, class Prepare>
[[gnu::always_inline]] inline int write(uint32_t descriptor, uint32_t header, uint32_t identifier,
                                        const std::array<uint32_t, kValues> &values, Prepare prepare) {
    Front &front = front_at(descriptor % kBuffers);
    if (!is_open(front, descriptor)) [[unlikely]] {
        return -1;
    }
    const uint32_t thread = thread_id;
    const Ticks ticks = read_tick_words();
    if (thread == 0 || front.last_look.is_long_ago(ticks)) [[unlikely]] {
        return prepare();
    }
    Header &heads = header_of(front);
    const uint32_t sequence = heads.head.fetch_add(1, std::memory_order_relaxed);
    if (sequence == UINT32_MAX) [[unlikely]] {
        heads.turns.fetch_add(1, std::memory_order_relaxed);
    }
    write_slot<Values>(slot_of(front, sequence), sequence,
                       {0, 0, ticks.high, ticks.low, thread, identifier, header, values[0], values[1], values[2],
                        values[3], values[4], values[5], values[6], values[7], values[8]});
    return 0;
}

[[gnu::noinline, gnu::cold]] int prepared_ints5(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0,
                                                uint32_t v1, uint32_t v2, uint32_t v3, uint32_t v4) {
    look_at_clock(front_at(descriptor % kBuffers));
    return trace_kbuf_write_ints5(descriptor, header, identifier, v0, v1, v2, v3, v4);
}

[[gnu::noinline, gnu::cold]] int prepared_ints9(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0,
                                                uint32_t v1, uint32_t v2, uint32_t v3, uint32_t v4, uint32_t v5,
                                                uint32_t v6, uint32_t v7, uint32_t v8) {
    look_at_clock(front_at(descriptor % kBuffers));
    return trace_kbuf_write_ints9(descriptor, header, identifier, v0, v1, v2, v3, v4, v5, v6, v7, v8);
}

// The front of the buffer, with the lock held; nullptr when no buffer has the name.
Front *find(const char *name) {
    for (uint32_t index = 0; index < kBuffers; ++index) {
        Front &front = front_at(index);
        if (is_in_use(front, index) && std::strcmp(buffers[index].name.data(), name) == 0) {
            return &front;
        }
    }
    return nullptr;
}

uint32_t open_at(uint32_t index, const char *name, uint32_t size) {
    Buffer &buffer = buffers[index];
    Front *const front = new_ring(buffer.places, name, size);
    if (front == nullptr) {
        return 0;
    }
    buffer.name = {};
    std::memcpy(buffer.name.data(), name, std::strlen(name));
    look_at_clock(*front);
    buffer.generation = (buffer.generation + 1) % (UINT32_MAX / kBuffers);
    const uint32_t descriptor = (buffer.generation + 1) * kBuffers + index;
    front->descriptor.store(descriptor, std::memory_order_release);
    std::atomic_ref<Front *>(fronts[index]).store(front, std::memory_order_release);
    return descriptor;
}

uint32_t open_buffer(const char *name, uint32_t size) {
    if (const Front *front = find(name)) {
        return front->descriptor.load(std::memory_order_relaxed);
    }
    for (uint32_t index = 0; index < kBuffers; ++index) {
        if (!is_in_use(front_at(index), index)) {
            return open_at(index, name, size);
        }
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
    return write<kFewValues>(descriptor, header, identifier, {v0, v1, v2, v3, v4},
                             [&] { return prepared_ints5(descriptor, header, identifier, v0, v1, v2, v3, v4); });
}

EXPORTED int trace_kbuf_write_ints9(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                                    uint32_t v2, uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7,
                                    uint32_t v8) {
    return write<kValues>(descriptor, header, identifier, {v0, v1, v2, v3, v4, v5, v6, v7, v8}, [&] {
        return prepared_ints9(descriptor, header, identifier, v0, v1, v2, v3, v4, v5, v6, v7, v8);
    });
}

EXPORTED int trace_kbuf_write_all(uint32_t descriptor, uint32_t identifier, const char * /*text*/, uint32_t line,
                                  uint32_t /*zero*/) {
    return trace_kbuf_write_ints5(descriptor, line & 0xffff, identifier, 0, 0, 0, 0, 0);
}

EXPORTED int trace_kbuf_free(uint32_t *descriptor) {
    if (descriptor == nullptr) {
        return -1;
    }
    const uint32_t freed = *descriptor;
    *descriptor = 0;
    const Locked locked;
    const uint32_t index = freed % kBuffers;
    Front &front = front_at(index);
    if (!is_open(front, freed)) {
        return -1;
    }
    front.descriptor.store(closed(index), std::memory_order_release);
    check_clock(header_of(front), writer());
    map_memory(front);
    return 0;
}

EXPORTED size_t trace_kbuf_copy(const char *name, void *bytes, size_t room) {
    const Locked locked;
    Front *const front = is_valid_name(name) ? find(name) : nullptr;
    if (front == nullptr) {
        return 0;
    }
    Header &header = header_of(*front);
    const uint32_t slots = size_of(*front) / static_cast<uint32_t>(sizeof(Slot));
    const size_t size = image_bytes(size_of(*front));
    if (size > room) {
        return size;
    }
    check_clock(header, writer());
    // The heads last: a record may then be counted and not be there, but never the other way round.
    auto *out = static_cast<unsigned char *>(bytes);
    SlotWords words;
    for (uint32_t i = 0; i < slots; ++i) {
        copy_slot(slot_of(*front, i), words);
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
