// SPDX-License-Identifier: Apache-2.0
// Where a ring lies in memory, with what a writer has to know of it just ahead of it.
#pragma once

#include "format.h"
#include "ticks.h"

#include <bit>

namespace trace_kbuf {

// In memory of this process alone. An address belongs to one size of ring for good, so a writer that holds it stays
// within the ring, even if the buffer is closed meanwhile.
struct Front {
    std::atomic<uint32_t> descriptor; // of the buffer that is open here
    std::atomic<uint32_t> mask;       // of a slot's offset
    LastLook last_look;
};

inline constexpr size_t kFrontBytes = 4096;

inline char *ring_of(Front &front) {
    return reinterpret_cast<char *>(&front) + kFrontBytes;
}

inline Header &header_of(Front &front) {
    return *reinterpret_cast<Header *>(ring_of(front));
}

inline Slot &slot_of(Front &front, uint32_t sequence) {
    const uint32_t offset = sequence * static_cast<uint32_t>(sizeof(Slot)) & front.mask.load(std::memory_order_relaxed);
    return *reinterpret_cast<Slot *>(ring_of(front) + kHeaderBytes + offset);
}

inline uint32_t size_of(const Front &front) {
    return front.mask.load(std::memory_order_relaxed) + static_cast<uint32_t>(sizeof(Slot));
}

inline size_t image_bytes(uint32_t size) {
    return kHeaderBytes + size;
}

// The places of one buffer, one for each size of ring. They are reserved when they are first wanted and never given
// back.
class Places {
public:
    // `size` is a power of two from kMinSize to kMaxSize. nullptr when there are no addresses left.
    Front *of(uint32_t size);

private:
    static constexpr uint32_t kSizes = std::countr_zero(kMaxSize) - std::countr_zero(kMinSize) + 1;
    std::array<Front *, kSizes> by_size_;
};

} // namespace trace_kbuf
