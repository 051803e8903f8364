// SPDX-License-Identifier: Apache-2.0
// The access log of HWA_SIM_LOG: one line for each access.
#pragma once

#include "state/image.h"

#include <descriptor.h>
#include <span>
#include <string>

namespace hwa {

class Log {
public:
    Log() = default;
    // Appends to a file, or writes to stderr when the name is "-". The first error is reported and ends the log; so
    // does a stderr that has become another file.
    explicit Log(const std::string &name);

    bool is_on() const { return descriptor_ >= 0; }
    void write(const std::string &line);

private:
    bool is_stderr() const { return name_ == "-"; }

    std::string name_;
    platform::Descriptor file_;
    int descriptor_ = -1;
};

// "0x0f"
std::string hex(uint32_t value, int digits);
// "00 0f ff"
std::string hex(std::span<const uint8_t> bytes);

} // namespace hwa
