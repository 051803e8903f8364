// SPDX-License-Identifier: Apache-2.0
#include "kslctl/dumped_registers.h"

#include <string_view>

namespace kslctl {

namespace {

bool is_point(const ksltrace::Line &line, std::string_view name) {
    return line.point != nullptr && line.point->name == name;
}

// The bytes in the record behind that of the register.
std::optional<Bytes> bytes_of(const ksltrace::Line &line, size_t length) {
    if (line.point == nullptr || !line.point->name.starts_with("status_bytes_") || line.lost_before != 0 ||
        line.record->value_count != length || length > Bytes().size()) {
        return std::nullopt;
    }
    Bytes bytes{};
    for (size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<uint8_t>(line.record->values[i]);
    }
    return bytes;
}

} // namespace

std::optional<std::vector<DumpedRegister>> dumped_registers(const ksltrace::Trace &trace) {
    std::optional<std::vector<DumpedRegister>> registers;
    const std::vector<ksltrace::Line> &lines = trace.lines;
    for (size_t i = 0; i < lines.size(); ++i) {
        const ksltrace::Line &line = lines[i];
        if (is_point(line, "dump_reg_entry")) {
            registers.emplace();
        } else if (registers && line.lost_before != 0) {
            registers.reset();
        } else if (registers && is_point(line, "dump_reg_register")) {
            const uint32_t *const values = line.record->values;
            const std::optional<Bytes> bytes = i + 1 < lines.size() ? bytes_of(lines[i + 1], values[2]) : std::nullopt;
            if (!bytes) {
                return std::nullopt;
            }
            registers->push_back({values[0], values[1], values[2], *bytes});
        }
    }
    return registers && !registers->empty() ? registers : std::nullopt;
}

} // namespace kslctl
