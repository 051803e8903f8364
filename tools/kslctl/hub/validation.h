// SPDX-License-Identifier: Apache-2.0
// The hub compared with what is expected of it.
#pragma once

#include "kslctl/hub/configuration.h"
#include "kslctl/hub/vlans.h"

namespace kslctl::hub {

// Whether all is as expected; a failure where that is not known.
using Verdict = Fact<bool>;

// What a register or a table entry should hold, and what it holds, which is read after the library's verdict: without
// a verdict it is not read.
struct Comparison {
    uint32_t of; // port or VLAN
    Bytes expected;
    Fact<Bytes> found;
    Fact<bool> same;
};

struct PvidValidation {
    Verdict verdict;
    std::vector<Comparison> ports; // all of them
};

struct VlanValidation {
    Verdict verdict;
    bool named; // by the configuration; else the library takes the last entry, whichever VLAN that is meant for
    Comparison entry;
};

PvidValidation validate_pvids(uint32_t chip, const Configuration &configuration, Failures &failures);
VlanValidation validate_vlan(uint32_t chip, uint32_t vid, const Configuration &configuration, Failures &failures);
// VLAN support is always expected to be on.
Verdict validate_vlan_enable(uint32_t chip, Failures &failures);

} // namespace kslctl::hub
