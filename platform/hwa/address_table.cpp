// SPDX-License-Identifier: Apache-2.0
// The registers through which the address table is walked and searched.
#include "addresses.h"
#include "behaviour.h"
#include "transaction.h"

#include <algorithm>

namespace hwa {
namespace {

// First byte of the registers.
constexpr Byte kStart = 0x80;
constexpr Byte kMore = 0x80;  // a walk has another entry; a search goes on
constexpr Byte kFound = 0x01; // the search has a result

// A search needs two looks for the first of so many results.
constexpr std::uint64_t kResultsAtOnce = 4;

enum Mode : Byte { kIdle, kWalking, kSearching };

void store(Transaction &transaction, const TableAccessImage &access, const ScanImage &scan,
           const AddressImage &result) {
    transaction.store(access.scan.index, scan.index);
    for (std::size_t port = 0; port < kPorts; ++port)
        transaction.store(access.scan.learned[port], scan.learned[port]);
    transaction.store(access.result.raw, result.raw);
    transaction.store(access.result.vid, result.vid);
}

void begin(Transaction &transaction, const ChipImage &chip, Mode mode) {
    const TableAccessImage &access = chip.table_access;
    transaction.store(access.mode, mode);
    transaction.store(access.looks, 0);
    store(transaction, access, {}, {});
}

void deliver(std::span<const Byte> value, std::span<Byte> bytes) {
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

void write_search(Transaction &transaction, const ChipImage &chip, std::span<const Byte> bytes) {
    begin(transaction, chip, !bytes.empty() && (bytes[0] & kStart) != 0 ? kSearching : kIdle);
}

// One look at what the search has found.
void read_search(Transaction &transaction, const ChipImage &chip, std::span<Byte> bytes) {
    const TableAccessImage &access = chip.table_access;
    if (access.mode != kSearching)
        return;
    const Byte looks = access.looks;
    transaction.store(access.looks, static_cast<Byte>((looks + 1) % (kResultsAtOnce + 1)));
    if (looks == 0) {
        bytes[0] = kMore;
        return;
    }
    const bool found = fetch(transaction, chip);
    const bool more = is_more(chip);
    if (!more)
        transaction.store(access.mode, kIdle);
    bytes[0] = static_cast<Byte>((more ? kMore : 0) | (found ? kFound : 0));
}

void write_entry(Transaction &transaction, const ChipImage &chip, std::span<const Byte> bytes) {
    if (!bytes.empty() && (bytes[0] & kStart) != 0)
        begin(transaction, chip, kWalking);
}

// A single byte is the walk's status, more is an entry.
void read_entry(Transaction &transaction, const ChipImage &chip, std::span<Byte> bytes) {
    const TableAccessImage &access = chip.table_access;
    if (bytes.size() == 1) {
        bytes[0] = access.mode == kWalking && is_more(chip) ? kMore : 0;
        return;
    }
    if (access.mode == kWalking)
        fetch(transaction, chip);
    deliver(access.result.raw, bytes);
}

void read_vid(Transaction &, const ChipImage &chip, std::span<Byte> bytes) {
    deliver(chip.table_access.result.vid, bytes);
}

void write_vid(Transaction &, const ChipImage &, std::span<const Byte>) {}

constexpr Byte kPage = 0x05;
constexpr Window kWindows[] = {
    {kPage, 0x20, 8, "addresses", read_search, write_search},
    {kPage, 0x24, 8, "addresses", read_entry, write_entry},
    {kPage, 0x2C, 2, "addresses", read_vid, write_vid},
};

} // namespace

const std::span<const Window> kAddressTable = kWindows;

} // namespace hwa
