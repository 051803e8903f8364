// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/any_register.h"

#include "kslctl/hub/own_trace.h"

#include <ksl/ksl.h>
#include <string_view>

namespace kslctl::hub {

namespace {

bool is_point(const ksltrace::Line &line, std::string_view name) {
    return line.point != nullptr && line.point->name == name;
}

// The bytes in the record after that of the register.
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

Register register_at(uint32_t page, uint32_t offset, uint32_t length) {
    return {"register",
            "register",
            {static_cast<uint8_t>(page), 0, static_cast<uint8_t>(offset), 0, static_cast<uint8_t>(length)}};
}

Change new_bytes(const Register &which, const Bytes &bytes) {
    return {
        .operation = "dbg_ksl_set_reg",
        .about = describe(which),
        .undone = "not written",
        .writes = {{&which, always(bytes)}},
        .run =
            [place = which.place, bytes](uint32_t chip, uint32_t, const Bytes &) {
                return dbg_ksl_set_reg(chip, place.page, place.offset, place.length, bytes.data());
            },
    };
}

std::optional<std::vector<Reading>> dumped_registers(const ksltrace::Trace &trace) {
    std::optional<std::vector<Reading>> registers;
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
            registers->push_back({"register", std::nullopt, values[0], values[1], values[2], *bytes});
        }
    }
    return registers && !registers->empty() ? registers : std::nullopt;
}

Fact<std::vector<Reading>> dump_registers(uint32_t chip, Failures &failures) {
    constexpr char kAbout[] = "dumped registers";
    const uint64_t start = now_ns();
    if (const int32_t code = dbg_ksl_dump_reg(chip); code != 0) {
        return note(failures, {chip, "dbg_ksl_dump_reg", kAbout, code});
    }
    const OwnTrace own = take_own_trace(start);
    if (const auto registers = dumped_registers(own.trace)) {
        return *registers;
    }
    const std::string problem = own.snapshot->problem;
    return note(
        failures,
        {.chip = chip, .about = kAbout, .reason = problem.empty() ? "the trace does not have all of them" : problem});
}

} // namespace kslctl::hub
