// SPDX-License-Identifier: Apache-2.0
#include "chip/addresses.h"

#include "chip/ports.h"
#include "chip/stored.h"
#include "state/clock.h"

namespace hwa {
namespace {

// Bits of a learning limit. They have no room for the largest number, which is 0 instead.
constexpr unsigned kLimitBits = 0x1FFF;

// How many addresses a port may learn.
size_t learning_limit(const ChipImage &chip, size_t port) {
    const unsigned limit = ksl_value16(stored(chip, ksl_learning_limit_register, port).data()) & kLimitBits;
    return limit != 0 ? limit : kMaxAddresses;
}

// Seconds after which an address that is not heard is forgotten; 0: never.
uint64_t age_time(const ChipImage &chip) {
    return ksl_age_time(stored(chip, ksl_age_timer_register).data());
}

// After a reset the stations are heard one after the other, during the first ten seconds of link.
constexpr uint64_t kFirstHeardWithin = 10;
uint64_t first_heard(size_t index) {
    return (index * 7 % kFirstHeardWithin + 1) * kSecond;
}

// Whether a port has heard an address, and not too long ago.
bool is_heard(const ChipImage &chip, size_t index) {
    const AddressImage &address = chip.addresses[index];
    const size_t port = port_of(address);
    if (chip.was_reset != 0 && (address.silent != 0 || active_time(chip, port) < first_heard(index))) {
        return false;
    }
    const uint64_t now = time_of(chip);
    // The addresses of the scenario were heard at the start.
    const uint64_t last = address.silent != 0 ? 0 : link_of(chip, port).up ? now : from_bytes(chip.ports[port].since);
    const uint64_t age = age_time(chip);
    return age == 0 || now - last < age * kSecond;
}

} // namespace

AddressScan::AddressScan(const ChipImage &chip, const ScanImage &image)
    : chip_(&chip), index_(static_cast<size_t>(from_bytes(image.index))) {
    for (size_t port = 0; port < kPorts; ++port) {
        learned_[port] = static_cast<uint16_t>(from_bytes(image.learned[port]));
    }
}

const AddressImage *AddressScan::next() {
    const auto count = static_cast<size_t>(from_bytes(chip_->address_count));
    while (index_ < count) {
        const size_t index = index_++;
        const AddressImage &address = chip_->addresses[index];
        if (is_static(address)) {
            return &address;
        }
        const size_t port = port_of(address);
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
    for (size_t port = 0; port < kPorts; ++port) {
        image.learned[port] = to_bytes<2>(learned_[port]);
    }
    return image;
}

} // namespace hwa
