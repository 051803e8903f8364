// SPDX-License-Identifier: Apache-2.0
// Which of a chip's addresses are in its address table.
#pragma once

#include "state/image.h"

#include <ksl/decode.h>

namespace hwa {

inline size_t port_of(const AddressImage &address) {
    return ksl_decode_arl_entry(address.raw.data()).port;
}

inline bool is_static(const AddressImage &address) {
    return ksl_decode_arl_entry(address.raw.data()).flag55 != 0;
}

// Goes through the table in its order. A scan can be stored in the chip and continued later.
class AddressScan {
public:
    explicit AddressScan(const ChipImage &chip) : chip_(&chip) {}
    AddressScan(const ChipImage &chip, const ScanImage &image);

    // The next entry; null after the last.
    const AddressImage *next();

    // The number of learned addresses of a port so far.
    uint16_t learned(size_t port) const { return learned_[port]; }

    ScanImage image() const;

private:
    const ChipImage *chip_;
    size_t index_ = 0;
    std::array<uint16_t, kPorts> learned_{};
};

} // namespace hwa
