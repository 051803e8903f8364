// SPDX-License-Identifier: Apache-2.0
// Bytes of a trace file as words and slots of this machine, whichever machine wrote them.
#pragma once

#include "ring.h"
#include "version_1.h"

#include <bit>
#include <cstring>
#include <span>

namespace trace_kbuf {

class Image {
public:
    // At least a description.
    Image(std::span<const unsigned char> bytes, std::endian order)
        : bytes_(bytes), order_(order), version_(word(offsetof(Description, version))) {}

    std::endian order() const { return order_; }
    uint32_t version() const { return version_; }
    size_t size() const { return bytes_.size(); }
    const unsigned char *at(size_t offset) const { return &bytes_[offset]; }

    uint32_t word(size_t offset) const {
        const unsigned char *b = at(offset);
        return order_ == std::endian::big ? word_of(b[0], b[1], b[2], b[3]) : word_of(b[3], b[2], b[1], b[0]);
    }

    SlotWords slot(size_t offset) const {
        SlotWords words{};
        for (uint32_t i = 0; i < kSlotWords; ++i) {
            words[i] = word(offset + i * sizeof(uint32_t));
        }
        return words;
    }

    bool is_record(SlotWords &words, uint32_t index, uint32_t slots) const {
        if (version_ != 1) {
            return trace_kbuf::is_record(words, index, slots);
        }
        return is_committed(words, index, slots) &&
               words[kChecksum] == slot_checksum_of_version_1(words, words[kCommit]);
    }

private:
    static uint32_t word_of(uint32_t first, uint32_t second, uint32_t third, uint32_t fourth) {
        return (first << 24) | (second << 16) | (third << 8) | fourth;
    }

    std::span<const unsigned char> bytes_;
    std::endian order_;
    uint32_t version_;
};

} // namespace trace_kbuf
