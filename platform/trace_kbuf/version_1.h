// SPDX-License-Identifier: Apache-2.0
// What was different in files of version 1, for the reader: the checksum of a slot.
#pragma once

#include "format.h"

namespace trace_kbuf {

constexpr uint32_t slot_checksum_of_version_1(const SlotWords &words, uint32_t sequence) {
    constexpr SlotWords key = {0x9e3779b9, 0x85ebca6b, 0xc2b2ae35, 0x27d4eb2f, 0x165667b1, 0xd3a2646d,
                               0xfd7046c5, 0xb55a4f09, 0x94d049bb, 0xbf58476d, 0x369dea0f, 0xa0761d65,
                               0xe7037ed1, 0x8ebc6af1, 0x589965cd, 0x1d8e4e27};
    uint64_t sum = uint64_t{sequence + key[kCommit]} * key[kChecksum];
    for (uint32_t i = kTicksHigh; i < kSlotWords; i += 2) {
        sum += uint64_t{words[i] + key[i]} * (words[i + 1] + key[i + 1]);
    }
    return static_cast<uint32_t>(sum >> 32) ^ static_cast<uint32_t>(sum);
}

static_assert(slot_checksum_of_version_1({}, 0) != 0, "a slot that was never used is no record");
static_assert(slot_checksum_of_version_1(kSpoilt, kSpoilt[kCommit]) != kSpoilt[kChecksum]);

} // namespace trace_kbuf
