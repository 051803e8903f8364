// SPDX-License-Identifier: Apache-2.0
// The registers through which the address table is walked and searched.
#include "chip/addresses.h"
#include "chip/behaviour.h"
#include "state/transaction.h"

#include <algorithm>

namespace hwa {
namespace {

// First byte of the registers.
constexpr uint8_t kStart = 0x80;
constexpr uint8_t kMore = 0x80;  // a walk has another entry; a search goes on
constexpr uint8_t kFound = 0x01; // the search has a result

void store(Transaction &transaction, const TableAccessImage &access, const ScanImage &scan,
           const AddressImage &result) {
    transaction.store(access.scan.index, scan.index);
    for (size_t port = 0; port < kPorts; ++port) {
        transaction.store(access.scan.learned[port], scan.learned[port]);
    }
    transaction.store(access.result.raw, result.raw);
    transaction.store(access.result.vid, result.vid);
}

void begin(Transaction &transaction, const ChipImage &chip, TableAccessMode mode) {
    const TableAccessImage &access = chip.table_access;
    transaction.store(access.mode, mode);
    transaction.store(access.looks, 0);
    store(transaction, access, {}, {});
}

void deliver(std::span<const uint8_t> value, std::span<uint8_t> bytes) {
    std::copy_n(value.begin(), std::min(value.size(), bytes.size()), bytes.begin());
}

// Makes the scan's next entry the result. False after the last.
bool fetch(Transaction &transaction, const ChipImage &chip) {
    const TableAccessImage &access = chip.table_access;
    AddressScan scan(chip, access.scan);
    const AddressImage *const entry = scan.next();
    store(transaction, access, scan.image(), entry != nullptr ? *entry : AddressImage{});
    return entry != nullptr;
}

bool is_more(const ChipImage &chip) {
    return AddressScan(chip, chip.table_access.scan).next() != nullptr;
}

void write_search(Transaction &transaction, const ChipImage &chip, std::span<const uint8_t> bytes) {
    begin(transaction, chip, !bytes.empty() && (bytes[0] & kStart) != 0 ? kSearching : kIdle);
}

// One look at what the search has found.
void read_search(Transaction &transaction, const ChipImage &chip, std::span<uint8_t> bytes) {
    const TableAccessImage &access = chip.table_access;
    if (access.mode != kSearching) {
        return;
    }
    const uint8_t looks = access.looks;
    transaction.store(access.looks, static_cast<uint8_t>((looks + 1) % (kResultsAtOnce + 1)));
    if (looks == 0) {
        bytes[0] = kMore;
        return;
    }
    const bool found = fetch(transaction, chip);
    const bool more = is_more(chip);
    if (!more) {
        transaction.store(access.mode, kIdle);
    }
    bytes[0] = static_cast<uint8_t>((more ? kMore : 0) | (found ? kFound : 0));
}

void write_entry(Transaction &transaction, const ChipImage &chip, std::span<const uint8_t> bytes) {
    if (!bytes.empty() && (bytes[0] & kStart) != 0) {
        begin(transaction, chip, kWalking);
    }
}

// A single byte is the walk's status, more is an entry.
void read_entry(Transaction &transaction, const ChipImage &chip, std::span<uint8_t> bytes) {
    const TableAccessImage &access = chip.table_access;
    if (bytes.size() == 1) {
        bytes[0] = access.mode == kWalking && is_more(chip) ? kMore : 0;
        return;
    }
    if (access.mode == kWalking) {
        fetch(transaction, chip);
    }
    deliver(access.result.raw, bytes);
}

void read_vid(Transaction &, const ChipImage &chip, std::span<uint8_t> bytes) {
    deliver(chip.table_access.result.vid, bytes);
}

void write_vid(Transaction &, const ChipImage &, std::span<const uint8_t>) {}

constexpr Window kWindows[] = {
    {ksl_address_search_control_register, "addresses", read_search, write_search},
    {ksl_address_entry_register, "addresses", read_entry, write_entry},
    {ksl_address_vlan_register, "addresses", read_vid, write_vid},
};

} // namespace

const std::span<const Window> kAddressTable = kWindows;

} // namespace hwa
