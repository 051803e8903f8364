// SPDX-License-Identifier: Apache-2.0
#include "addresses.h"

#include "clock.h"
#include "ports.h"

namespace hwa {
namespace {

constexpr unsigned kThresholdBits = 0x1FFF;

// A port may learn so many addresses; the field has no room for the largest number, which is 0 instead.
std::size_t learning_limit(const ChipImage &chip, std::size_t port) {
    const auto &page = chip.pages[kLearningPage];
    const std::size_t offset = kThreshold + 2 * port;
    const unsigned threshold = static_cast<unsigned>(page[offset] << 8 | page[offset + 1]) & kThresholdBits;
    return threshold != 0 ? threshold : kMaxAddresses;
}

// Seconds after which an address that is not heard is forgotten; 0: never.
std::uint64_t age_time(const ChipImage &chip) {
    const auto &page = chip.pages[kAgePage];
    return static_cast<std::uint64_t>((page[kAgeTimer + 1] & 0x0F) << 16 | page[kAgeTimer + 2] << 8 |
                                      page[kAgeTimer + 3]);
}

// After a reset the stations are heard for the first time one after the other, over ten seconds of link.
constexpr std::uint64_t kFirstHeardWithin = 10;
std::uint64_t first_heard(std::size_t index) {
    return (index * 7 % kFirstHeardWithin + 1) * kSecond;
}

// Whether a port has heard an address, and not too long ago.
bool is_heard(const ChipImage &chip, std::size_t index) {
    const AddressImage &address = chip.addresses[index];
    const std::size_t port = port_of(address);
    if (chip.was_reset != 0 && (address.silent != 0 || active_time(chip, port) < first_heard(index)))
        return false;
    const std::uint64_t now = time_of(chip);
    // What stands in the scenario was heard at the start.
    const std::uint64_t last = address.silent != 0      ? 0
                               : link_of(chip, port).up ? now
                                                        : from_bytes(chip.ports[port].since);
    const std::uint64_t age = age_time(chip);
    return age == 0 || now - last < age * kSecond;
}

} // namespace

AddressScan::AddressScan(const ChipImage &chip, const ScanImage &image)
    : chip_(&chip), index_(static_cast<std::size_t>(from_bytes(image.index))) {
    for (std::size_t port = 0; port < kPorts; ++port)
        learned_[port] = static_cast<std::uint16_t>(from_bytes(image.learned[port]));
}

const AddressImage *AddressScan::next() {
    const auto count = static_cast<std::size_t>(from_bytes(chip_->address_count));
    while (index_ < count) {
        const std::size_t index = index_++;
        const AddressImage &address = chip_->addresses[index];
        if (is_static(address))
            return &address;
        const std::size_t port = port_of(address);
        if (is_heard(*chip_, index) && learned_[port] < learning_limit(*chip_, port)) {
            ++learned_[port];
            return &address;
        }
    }
    return nullptr;
}

ScanImage AddressScan::image() const {
    ScanImage image{};
    image.index = to_bytes<2>(index_);
    for (std::size_t port = 0; port < kPorts; ++port)
        image.learned[port] = to_bytes<2>(learned_[port]);
    return image;
}

} // namespace hwa
