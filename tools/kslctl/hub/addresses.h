// SPDX-License-Identifier: Apache-2.0
// The address table, read in the library's three ways.
#pragma once

#include "kslctl/hub/registers.h"

namespace kslctl::hub {

using Mac = std::array<uint8_t, 6>;

// With colons and small letters.
std::string mac_text(const Mac &mac);

struct Address {
    Mac mac;
    uint32_t port; // 0 to 31
    bool is_static;
    std::optional<Bytes> entry = std::nullopt;  // as bytes; none where the library does not deliver them
    std::optional<Bytes> vlan = std::nullopt;   // the register of the VLAN id; none where it is not read
    std::optional<uint32_t> vid = std::nullopt; // what it says
};

struct Addresses {
    std::vector<Address> entries;
    bool whole = true; // else reading them failed
};

// In one request. Without `all_ports`, the table ends before the first address at port 0 or 1.
Addresses list_addresses(uint32_t chip, bool all_ports, Failures &failures);
// Entry by entry. The library does not report an access that fails, so the register is read once more before and after.
Addresses walk_addresses(uint32_t chip, Failures &failures);
// Whether two entries in a row are the same, as after an access in between that failed.
bool repeats_an_entry(const Addresses &addresses);
// By the chip's search engine, with VLAN ids. After a failure, those before it are there.
Addresses search_addresses(uint32_t chip, Failures &failures);

// The registers whose bytes the library delivers; each belongs to an entry, counted from 0.
std::vector<Reading> registers_of(const Addresses &addresses);

} // namespace kslctl::hub
