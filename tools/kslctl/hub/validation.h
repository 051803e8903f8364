// SPDX-License-Identifier: Apache-2.0
// What is expected of the hub, and the hub compared with it.
#pragma once

#include "kslctl/hub/vlans.h"

#include <stdexcept>

namespace kslctl::hub {

// Nothing can be compared with it; the text is the reason as one sentence.
struct NoConfiguration : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An expected configuration. Opens the configuration library that hands it out; closes it in the end.
class Configuration {
public:
    // Throws NoConfiguration.
    explicit Configuration(std::string library);
    ~Configuration();
    Configuration(const Configuration &) = delete;
    Configuration &operator=(const Configuration &) = delete;

    // What the validations are to be given.
    const std::string &library() const { return library_; }
    const ksl_cfg_record *records() const { return records_; }

private:
    std::string library_;
    void *handle_ = nullptr;
    const ksl_cfg_record *records_ = nullptr;
};

// The configuration library that reads the JSON file, which is looked at first. Throws NoConfiguration.
std::string library_for_file(const std::string &file);

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
