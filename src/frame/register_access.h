// SPDX-License-Identifier: Apache-2.0
// Register accesses as operations make them: a read traces its bytes, a failed access leaves a failure record.
#pragma once

#include "frame/lower_library.h"
#include "frame/status_bytes.h"

#include <ksl/registers.h>

namespace ksl {

// A place on the chip. The shims truncate page and offset; the failure records show them whole.
template <uint32_t Length>
struct Register {
    uint32_t page;
    uint32_t offset;
};

// The place of a row of the table. Any port number makes one.
template <ksl_register Row>
[[gnu::always_inline]] constexpr Register<Row.length> at(uint32_t port = 0) {
    return {Row.page + Row.page_step * port, Row.offset + Row.offset_step * port};
}

// No register is longer.
constexpr uint32_t kRegisterBytes = 8;

// Writes one of the failure records, which all carry the place as it was asked for. Every access calls it, so its
// arguments fit into registers.
[[gnu::cold]] void trace_failure(uint32_t header, uint32_t identifier, uint32_t page, uint32_t offset, uint32_t length);

// The accesses of sources that are not polled; each is one call there.
int32_t fetch_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *bytes, uint32_t header,
                      uint32_t identifier);
int32_t read_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *bytes, uint32_t header,
                     uint32_t identifier);
int32_t write_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, const uint8_t *bytes,
                      uint32_t header, uint32_t identifier);

#ifdef KSL_POLLED
inline namespace fast {
#else
inline namespace compact {
#endif

// Reads a register without tracing its bytes, or leaves the given failure record.
template <uint32_t Length>
[[gnu::always_inline]] inline int32_t fetch_register(uint32_t chip, const Register<Length> &place, uint8_t *bytes,
                                                     TracePlace<3> failure) {
    if constexpr (kCompact) {
        return fetch_or_fail(chip, place.page, place.offset, Length, bytes, failure.header, failure.identifier);
    }
    const int32_t result = getreg(chip, place.page, place.offset, Length, bytes);
    if (result != 0) {
        trace_failure(failure.header, failure.identifier, place.page, place.offset, Length);
    }
    return result;
}

// Reads a register and traces its bytes, or leaves the given failure record.
template <uint32_t Length>
[[gnu::always_inline]] inline int32_t read_register(uint32_t chip, const Register<Length> &place, uint8_t *bytes,
                                                    TracePlace<3> failure) {
    if constexpr (kCompact) {
        return read_or_fail(chip, place.page, place.offset, Length, bytes, failure.header, failure.identifier);
    }
    const int32_t result = fetch_register(chip, place, bytes, failure);
    if (result == 0) {
        trace_status_bytes<Length>(bytes);
    }
    return result;
}

// The same with the failure record that nearly all operations share, at the line of the operation.
template <uint32_t Length>
[[gnu::always_inline]] inline int32_t read_register(uint32_t chip, const Register<Length> &place, uint8_t *bytes,
                                                    uint32_t line = __builtin_LINE()) {
    constexpr TracePlace<3> failed = points::register_read_failed;
    return read_register(chip, place, bytes, failed.at(line));
}

// Writes a register, or leaves the given failure record. No polled operation writes, so this has one form.
template <uint32_t Length>
[[gnu::always_inline]] inline int32_t write_register(uint32_t chip, const Register<Length> &place, const uint8_t *bytes,
                                                     TracePlace<3> failure) {
    return write_or_fail(chip, place.page, place.offset, Length, bytes, failure.header, failure.identifier);
}

} // namespace fast or compact

} // namespace ksl
