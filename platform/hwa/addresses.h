// SPDX-License-Identifier: Apache-2.0
// Which of a chip's addresses are in its address table.
#pragma once

#include "image.h"

namespace hwa {

inline std::size_t port_of(const AddressImage &address) {
    return address.raw[1] & 0x1FU;
}

inline bool is_static(const AddressImage &address) {
    return (address.raw[1] & kStaticAddress) != 0;
}

// Goes through the table in its order. A scan can be put down in the chip and taken up again.
class AddressScan {
public:
    explicit AddressScan(const ChipImage &chip) : chip_(&chip) {}
    AddressScan(const ChipImage &chip, const ScanImage &image);

    // The next entry; null after the last.
    const AddressImage *next();

    // How many learned addresses of a port came so far.
    std::uint16_t learned(std::size_t port) const { return learned_[port]; }

    ScanImage image() const;

private:
    const ChipImage *chip_;
    std::size_t index_ = 0;
    std::array<std::uint16_t, kPorts> learned_{};
};

} // namespace hwa
