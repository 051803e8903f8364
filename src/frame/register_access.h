// SPDX-License-Identifier: Apache-2.0
// Register accesses as the operations make them: a read leaves a dump of its bytes, a failed access a failure record.
#pragma once

#include "frame/lower_library.h"
#include "frame/status_bytes.h"

namespace ksl {

// A place on the chip; the shims truncate page and offset, the failure records do not.
struct Register {
    uint32_t page;
    uint32_t offset;
    uint32_t length;
};

// No register is longer.
constexpr uint32_t kRegisterBytes = 8;

// Writes one of the failure records, which all carry the place as it was asked for. Its arguments fit into registers,
// as every access has a call of it.
[[gnu::cold]] void trace_failure(uint32_t header, uint32_t identifier, uint32_t page, uint32_t offset, uint32_t length);

// The accesses for sources that are compiled for size: there each is one call.
int32_t fetch_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *bytes, uint32_t header,
                      uint32_t identifier);
int32_t read_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *bytes, uint32_t header,
                     uint32_t identifier);
int32_t write_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, const uint8_t *bytes,
                      uint32_t header, uint32_t identifier);

#ifdef __OPTIMIZE_SIZE__
inline namespace compact {
#else
inline namespace fast {
#endif

// Reads a register without a dump of its bytes, or writes the given failure record.
[[gnu::always_inline]] inline int32_t fetch_register(uint32_t chip, const Register &place, uint8_t *bytes,
                                                     TracePlace<3> failure) {
    if constexpr (kCompact) {
        return fetch_or_fail(chip, place.page, place.offset, place.length, bytes, failure.header, failure.identifier);
    }
    const int32_t result = getreg(chip, place.page, place.offset, place.length, bytes);
    if (result != 0) {
        trace_failure(failure.header, failure.identifier, place.page, place.offset, place.length);
    }
    return result;
}

// Reads a register and dumps its bytes, or writes the given failure record.
[[gnu::always_inline]] inline int32_t read_register(uint32_t chip, const Register &place, uint8_t *bytes,
                                                    TracePlace<3> failure) {
    if constexpr (kCompact) {
        return read_or_fail(chip, place.page, place.offset, place.length, bytes, failure.header, failure.identifier);
    }
    const int32_t result = fetch_register(chip, place, bytes, failure);
    if (result == 0) {
        trace_status_bytes(bytes, place.length);
    }
    return result;
}

// The same with the failure record that nearly every operation shares, at the operation's line.
[[gnu::always_inline]] inline int32_t read_register(uint32_t chip, const Register &place, uint8_t *bytes,
                                                    uint32_t line = __builtin_LINE()) {
    constexpr TracePlace<3> failed = points::register_read_failed;
    return read_register(chip, place, bytes, failed.at(line));
}

// Writes a register, or the given failure record.
[[gnu::always_inline]] inline int32_t write_register(uint32_t chip, const Register &place, const uint8_t *bytes,
                                                     TracePlace<3> failure) {
    if constexpr (kCompact) {
        return write_or_fail(chip, place.page, place.offset, place.length, bytes, failure.header, failure.identifier);
    }
    const int32_t result = setreg(chip, place.page, place.offset, place.length, bytes);
    if (result != 0) {
        trace_failure(failure.header, failure.identifier, place.page, place.offset, place.length);
    }
    return result;
}

} // namespace fast or compact

} // namespace ksl
