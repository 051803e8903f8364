// SPDX-License-Identifier: Apache-2.0
// One access to the hub's state: no other runs at the same time, and it takes effect as a whole or not at all.
#pragma once

#include "state/state_file.h"

namespace hwa {

class Transaction {
public:
    // Throws Unusable.
    explicit Transaction(StateFile &state) : state_(state), hub_(state.lock()) {}
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    ~Transaction() {
        state_.roll_back();
        state_.unlock();
    }

    // The chip of a number, or null. Throws Unusable.
    const ChipImage *chip(uint32_t number) const { return state_.chip(number); }

    // Changes one byte of a chip.
    void store(const uint8_t &place, uint8_t value) { state_.store(place, value); }
    // Changes the bytes of a field that differ.
    template <size_t Size>
    void store(const std::array<uint8_t, Size> &place, const std::array<uint8_t, Size> &value) {
        for (size_t i = 0; i < Size; ++i) {
            if (place[i] != value[i]) {
                store(place[i], value[i]);
            }
        }
    }
    void commit() { state_.commit(); }

    // Resets a chip, with effect at once.
    void reset(const ChipImage &chip) { state_.reset_chip(static_cast<size_t>(&chip - hub_.chips.data())); }

private:
    StateFile &state_;
    const HubImage &hub_;
};

} // namespace hwa
