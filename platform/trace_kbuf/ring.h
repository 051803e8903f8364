// SPDX-License-Identifier: Apache-2.0
// One slot: how it is written without a lock, and how it is copied while others write.
#pragma once

#include "format.h"

namespace trace_kbuf {

// Word by word on purpose: put together from vectors a record took twice as long (36 ns instead of 18), since each
// wide load had to wait for the narrow stores before it; for the same reason the library is built without
// vectorisation.
//
// The commit word is spoilt before the first word of the record and set after the last one. Two writers
// meet in a slot only when one of them was stopped for a whole turn of the ring; the checksum shows it then.
// tests/model/slot.pml, a model of both functions below, shows that it holds where stores and loads pass each other,
// and that no fence may be left out, nor the checksum.
template <uint32_t Values>
[[gnu::always_inline]] inline void write_slot(Slot &slot, uint32_t sequence, const SlotWords &words) {
    std::atomic_ref<uint32_t> commit(slot.words[kCommit]);
    commit.store(~sequence, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    uint64_t sum = 0;
#pragma GCC unroll 16
    for (uint32_t i = kTicksHigh; i < kFirstValue + Values; i += 2) {
        std::atomic_ref<uint32_t>(slot.words[i]).store(words[i], std::memory_order_relaxed);
        std::atomic_ref<uint32_t>(slot.words[i + 1]).store(words[i + 1], std::memory_order_relaxed);
        sum += checksum_of_pair(words, i);
    }
    std::atomic_ref<uint32_t>(slot.words[kChecksum]).store(finish_checksum(sum, sequence), std::memory_order_relaxed);
    commit.store(sequence, std::memory_order_release);
}

// A copy that no writer changed meanwhile; when they are too quick for that, one that is spoilt.
inline void copy_slot(Slot &slot, SlotWords &copy) {
    std::atomic_ref<uint32_t> commit(slot.words[kCommit]);
    for (int tries = 0; tries < 16; ++tries) {
        copy[kCommit] = commit.load(std::memory_order_acquire);
        for (uint32_t i = kChecksum; i < kSlotWords; ++i) {
            copy[i] = std::atomic_ref<uint32_t>(slot.words[i]).load(std::memory_order_relaxed);
        }
        std::atomic_thread_fence(std::memory_order_acquire);
        if (commit.load(std::memory_order_relaxed) == copy[kCommit]) {
            return;
        }
    }
    copy = kSpoilt;
}

inline bool is_empty(const SlotWords &words) {
    for (const uint32_t word : words) {
        if (word != 0) {
            return false;
        }
    }
    return true;
}

// Whether the commit word says that a record of the slot `index` in a ring of `slots` slots was finished.
inline bool is_committed(const SlotWords &words, uint32_t index, uint32_t slots) {
    return (words[kCommit] & (slots - 1)) == index;
}

// Words that a record of few values does not have are what an earlier one left.
inline void forget_unused(SlotWords &words) {
    for (uint32_t i = kFirstValue + kFewValues; i < kSlotWords; ++i) {
        words[i] = 0;
    }
}

// Whether `words` is a whole record, whose unused words then become 0.
inline bool is_record(SlotWords &words, uint32_t index, uint32_t slots) {
    if (!is_committed(words, index, slots)) {
        return false;
    }
    if (words[kChecksum] == slot_checksum(words, words[kCommit], kFewValues)) {
        forget_unused(words);
        return true;
    }
    return words[kChecksum] == slot_checksum(words, words[kCommit], kValues);
}

} // namespace trace_kbuf
