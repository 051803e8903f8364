// SPDX-License-Identifier: Apache-2.0
// A scripted configuration library and its records, for the tests of both validations.
#pragma once

#include "output.h"
#include "scripted_test.h"

#include "vlan/trace_points.h"

#include <algorithm>

namespace ksl::test {

// A setting. The byte that nobody examines and the bytes after a short register hold anything.
inline ksl_cfg_record setting(uint8_t page, uint8_t offset, const Bytes &value) {
    ksl_cfg_record record{0x5A, page, offset, 0, {0xC3, 0xC3, 0xC3, 0xC3, 0xC3, 0xC3, 0xC3, 0xC3}};
    std::copy(value.begin(), value.end(), record.value);
    return record;
}

class Configured : public Opened {
protected:
    Configured() { ksl_cfg_handle = nullptr; }

    void expect(std::vector<ksl_cfg_record> records) {
        records.push_back(kEndOfList);
        platform.configuration = std::move(records);
    }

    bool closed() const {
        return ksl_cfg_handle == nullptr &&
               std::count_if(platform.calls.begin(), platform.calls.end(),
                             [](const Call &call) { return call.text == "dlclose configuration"; }) == 1;
    }

    bool stays_open() const {
        return ksl_cfg_handle == kConfigurationHandle &&
               std::none_of(platform.calls.begin(), platform.calls.end(),
                            [](const Call &call) { return call.text.find("dlclose") == 0; });
    }

    bool traced(TracePoint point) const {
        return std::any_of(platform.calls.begin(), platform.calls.end(),
                           [&](const Call &call) { return call.identifier == point.identifier; });
    }

    const Call open = platform_call("dlopen /opt/libcfg.so RTLD_NOW|RTLD_GLOBAL");
    const Call look_up = platform_call("look up __ksl_get_cfg");
    const Call ask = platform_call("__ksl_get_cfg");
    const Call close = platform_call("dlclose configuration");

    uint32_t verdict = 5;
};

} // namespace ksl::test
