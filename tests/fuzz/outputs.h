// SPDX-License-Identifier: Apache-2.0
// Memory that a caller lends to an operation: what lies around it must not change, with or without a sanitizer.
#pragma once

#include "require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

class Output {
public:
    explicit Output(size_t size) : memory_(kMargin + size + kMargin, kFiller) {}

    template <class Type = uint8_t>
    Type *get() {
        return reinterpret_cast<Type *>(memory_.data() + kMargin);
    }

    bool margins_are_untouched() const {
        return all_filler(memory_.begin(), memory_.begin() + kMargin) &&
               all_filler(memory_.end() - kMargin, memory_.end());
    }

    bool is_untouched() const { return all_filler(memory_.begin(), memory_.end()); }

    // From a byte of it on.
    bool is_untouched_from(size_t byte) const {
        return all_filler(memory_.begin() + kMargin + static_cast<ptrdiff_t>(byte), memory_.end());
    }

private:
    using Bytes = std::vector<uint8_t>;

    static constexpr int kMargin = 64;
    static constexpr uint8_t kFiller = 0xA5;

    static bool all_filler(Bytes::const_iterator from, Bytes::const_iterator to) {
        return std::all_of(from, to, [](uint8_t byte) { return byte == kFiller; });
    }

    Bytes memory_;
};

} // namespace fuzz
