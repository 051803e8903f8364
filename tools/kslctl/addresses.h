// SPDX-License-Identifier: Apache-2.0
// The address table, read in the library's three ways.
#pragma once

#include "kslctl/mac_pattern.h"
#include "kslctl/report.h"
#include "kslctl/status_bits.h"

#include <optional>
#include <vector>

namespace kslctl {

struct Address {
    Mac mac;
    uint32_t port; // 0 to 31
    bool is_static;
    std::optional<Bytes> raw;     // the entry; none where the library does not hand it out
    std::optional<Bytes> vid_raw; // the VLAN id's register; none where it is not read
};

uint32_t vid_of(const Bytes &vid_raw);

struct Addresses {
    std::vector<Address> entries;
    bool whole = true; // else reading them failed, which is reported
};

// In one request. Without `all_ports`, the table ends before the first address at port 0 or 1.
Addresses list_addresses(uint32_t chip, bool all_ports, Report &report);
// Entry by entry. The library does not tell when an access fails.
Addresses walk_addresses(uint32_t chip, Report &report);
// By the chip's search engine, with VLAN ids. After a failure, those before it are there.
Addresses search_addresses(uint32_t chip, Report &report);

} // namespace kslctl
