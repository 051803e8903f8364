// SPDX-License-Identifier: Apache-2.0
// Layout of a trace file, which is also the layout of a ring in memory:
//
//   0     what the ring is: written once, with a checksum
//   256   heads: written by every writer, on cache lines of their own
//   2048  anchors: a small ring of slots that tie ticks to the clock
//   4096  records: a ring of slots, a power of two of them
//
// A slot is 64 bytes, one cache line, for an anchor as for a record. All of it is made of 32-bit words
// in the writer's byte order (a 64-bit number is two, high one first) and of characters, so that
// readers of any machine need nothing but an optional swap of each word.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace trace_kbuf {

inline constexpr std::array<char, 8> kMagic = {'T', 'R', 'C', 'E', 'K', 'B', 'U', 'F'};
inline constexpr uint32_t kByteOrderMark = 0x01020304;
inline constexpr uint32_t kVersion = 1;
inline constexpr char kFileSuffix[] = ".kbuf";

inline constexpr uint32_t kMinSize = 128;     // two slots
inline constexpr uint32_t kMaxSize = 1 << 24; // more is a mistake of the caller
inline constexpr uint32_t kAnchors = 32;
inline constexpr uint32_t kValues = 9;

// Words of a slot. The first is the commit word: the record's sequence number when the slot is whole,
// its complement while it is being written. A slot that was never used is all zero.
enum SlotWord : uint32_t {
    kCommit,
    kChecksum,
    kTicksHigh,
    kTicksLow,
    kWriter,
    kIdentifier,
    kHeaderWord,
    kFirstValue,
    kSlotWords = kFirstValue + kValues
};

using SlotWords = std::array<uint32_t, kSlotWords>;

struct alignas(64) Slot {
    SlotWords words;
};

// An anchor is a slot with this identifier and five values.
enum AnchorWord : uint32_t { kClockHigh = kFirstValue, kClockLow, kRecordsHead, kCalibrationTicks, kCalibrationNs };
inline constexpr uint32_t kAnchorValues = 5;
inline constexpr uint32_t kAnchorIdentifier = 0x434c434b;

struct Description {
    std::array<char, 8> magic; // written last when a file is made
    uint32_t byte_order;
    uint32_t version;
    uint32_t word_bits;
    uint32_t size; // bytes of records
    uint32_t checksum;
    uint32_t unused;
    std::array<char, 64> name;
    std::array<char, 96> writer;
};

struct Header {
    Description description;
    alignas(64) std::array<uint32_t, 16> unused;
    alignas(64) std::atomic<uint32_t> head; // sequence number of the next record
    std::atomic<uint32_t> turns;            // how often the head went past 2^32
    alignas(64) std::atomic<uint32_t> anchors_head;
    alignas(2048) std::array<Slot, kAnchors> anchors;
};

inline constexpr size_t kHeaderBytes = 4096;
static_assert(sizeof(Slot) == 64 && sizeof(Description) == 192 && sizeof(Header) == kHeaderBytes);
static_assert(offsetof(Header, head) == 256 && offsetof(Header, turns) == 260);
static_assert(offsetof(Header, anchors_head) == 320 && offsetof(Header, anchors) == 2048);
static_assert(std::atomic<uint32_t>::is_always_lock_free && sizeof(std::atomic<uint32_t>) == 4);

// Checksum of a slot's words but the checksum itself. It refuses a mixture of two records, which a writer
// leaves behind that was stopped in mid-record while the ring made a whole turn. A sum or an exclusive-or
// would let mixtures pass whose values differ by opposite amounts; products of keyed pairs do not, and they
// are independent of each other, so that eight multiplications hide under the time stamp.
constexpr uint32_t slot_checksum(const SlotWords &words, uint32_t sequence) {
    constexpr SlotWords key = {0x9e3779b9, 0x85ebca6b, 0xc2b2ae35, 0x27d4eb2f, 0x165667b1, 0xd3a2646d,
                               0xfd7046c5, 0xb55a4f09, 0x94d049bb, 0xbf58476d, 0x369dea0f, 0xa0761d65,
                               0xe7037ed1, 0x8ebc6af1, 0x589965cd, 0x1d8e4e27};
    uint64_t sum = uint64_t{sequence + key[kCommit]} * key[kChecksum];
    for (uint32_t i = kTicksHigh; i < kSlotWords; i += 2) {
        sum += uint64_t{words[i] + key[i]} * (words[i + 1] + key[i + 1]);
    }
    return static_cast<uint32_t>(sum >> 32) ^ static_cast<uint32_t>(sum);
}
static_assert(kSlotWords % 2 == 0 && kTicksHigh % 2 == 0);

static_assert(slot_checksum({}, 0) != 0, "a slot that was never used is no record");

// No record, in either byte order and in any slot: stands where a record could not be copied whole.
inline constexpr SlotWords kSpoilt = [] {
    SlotWords words{};
    words.fill(UINT32_MAX);
    return words;
}();
static_assert(slot_checksum(kSpoilt, kSpoilt[kCommit]) != kSpoilt[kChecksum]);

// Checksum of a description's bytes, without magic and checksum: the same on machines of either byte order.
inline uint32_t description_checksum(const unsigned char *bytes) {
    uint32_t hash = 0x811c9dc5;
    for (size_t i = sizeof kMagic; i < sizeof(Description); ++i) {
        if (i / 4 != offsetof(Description, checksum) / 4) {
            hash = (hash ^ bytes[i]) * 0x01000193;
        }
    }
    return hash;
}

} // namespace trace_kbuf
