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
inline constexpr uint32_t kVersion = 2; // 1 had another checksum of slots: see version_1.h
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

// The checksum of a slot refuses a mixture of two records: what a writer leaves that was stopped in mid-record while
// the others wrote a whole turn of the ring, and then went on over the newer record. Words are added to keys and
// multiplied in pairs, the products of 64 bits are added up, and the halves of the sum meet the sequence number.
//
// Why a mixture does not pass, unless chance helps (one in 2^32):
// - Commit word and checksum decide which record a mixture claims to be. If all other words are of one record, only the
//   sequence number differs, and so does the checksum.
// - A word that differs by d changes the sum by d times its partner plus key: never 0, unless that partner happens to
// be
//   the negative of its key.
// - Two words that differ by opposite amounts, or are swapped, or differ in one bit each, change the sum by multiples
// of
//   two unlike numbers, since the keys differ. A plain sum, or an exclusive-or, would let them pass. The high halves of
//   the products are part of the sum, so that the top bits of words count as much as the low ones.
// - Values are never chosen to deceive: the keys need not be secret, only unlike anything that programs record.
//
// A record of up to five values writes and covers no more than these; a reader finds out which of the two sums fits.
//
// Keys have a high half only, which PowerPC adds in one instruction. A product needs nothing of the one before it, and
// registers for two words at a time.
constexpr uint64_t checksum_of_pair(const SlotWords &words, uint32_t first) {
    constexpr SlotWords key = {0,          0,          0xc2b20000, 0x27d50000, 0x16570000, 0xd3a30000,
                               0x7d710000, 0xb55b0000, 0x94d10000, 0x3f590000, 0x369d0000, 0xa0770000,
                               0x67030000, 0x8ebd0000, 0x58990000, 0x1d8f0000};
    return uint64_t{words[first] + key[first]} * (words[first + 1] + key[first + 1]);
}

constexpr uint32_t finish_checksum(uint64_t sum, uint32_t sequence) {
    return static_cast<uint32_t>(sum >> 32) ^ static_cast<uint32_t>(sum) ^ sequence;
}

inline constexpr uint32_t kFewValues = 5;
static_assert(kTicksHigh % 2 == 0 && (kFirstValue + kFewValues) % 2 == 0 && kSlotWords % 2 == 0);

// Of a record that has room for `values`: kFewValues or kValues.
constexpr uint32_t slot_checksum(const SlotWords &words, uint32_t sequence, uint32_t values) {
    uint64_t sum = 0;
    for (uint32_t i = kTicksHigh; i < kFirstValue + values; i += 2) {
        sum += checksum_of_pair(words, i);
    }
    return finish_checksum(sum, sequence);
}

static_assert(slot_checksum({}, 0, kFewValues) != 0 && slot_checksum({}, 0, kValues) != 0,
              "a slot that was never used is no record");

// No record, in either byte order and in any slot: it marks a record that could not be copied whole.
inline constexpr SlotWords kSpoilt = [] {
    SlotWords words{};
    words.fill(UINT32_MAX);
    return words;
}();
static_assert(slot_checksum(kSpoilt, kSpoilt[kCommit], kFewValues) != kSpoilt[kChecksum]);
static_assert(slot_checksum(kSpoilt, kSpoilt[kCommit], kValues) != kSpoilt[kChecksum]);

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
