// SPDX-License-Identifier: Apache-2.0
// A fuzzer's bytes as numbers; once they are used up, all that follows is zero.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

class Input {
public:
    Input(const uint8_t *bytes, size_t size) : next_(bytes), end_(bytes + size) {}

    bool used_up() const { return next_ == end_; }
    uint8_t byte() { return used_up() ? uint8_t{0} : *next_++; }
    bool flag() { return (byte() & 1) != 0; }

    uint32_t word() {
        uint32_t word = 0;
        for (int i = 0; i < 4; ++i) {
            word = word << 8 | byte();
        }
        return word;
    }

    // A number below 256.
    uint32_t up_to(uint8_t most) { return byte() % (most + 1U); }

    void fill(uint8_t *bytes, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            bytes[i] = byte();
        }
    }

private:
    const uint8_t *next_;
    const uint8_t *end_;
};

} // namespace fuzz
