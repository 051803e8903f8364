// SPDX-License-Identifier: Apache-2.0
// The calls that the library makes, each as a line of text, so that a test can state an operation's whole behaviour as
// a list.
#pragma once

#include "frame/trace.h"

#include <ksl/ksl.h>

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace ksl::test {

using Bytes = std::vector<uint8_t>;

// A register word as its bytes.
Bytes bytes_of(uint32_t word);

// One call as a line of text, in a form that tests can also write; `line` is a record's source line.
struct Call {
    std::string text;
    uint32_t line = 0;
    uint32_t identifier = 0;
    uint32_t values = 0;
};

// A list of calls that prints one to a line and compares by what it prints.
class Calls : public std::vector<Call> {
public:
    using std::vector<Call>::vector;

    // Appends what a conditional or repeated step does.
    Calls &operator+=(const Calls &more);

    std::string text() const;
    bool operator==(const Calls &other) const { return text() == other.text(); }
    friend std::ostream &operator<<(std::ostream &out, const Calls &calls) { return out << '\n' << calls.text(); }
    // GoogleTest would print it as a container of bytes.
    friend void PrintTo(const Calls &calls, std::ostream *out) { *out << calls; }
};

// ---- What a test expects ----

// The start and end stamps, taken with gettimeofday.
Call stamp_start();
Call stamp_end();

// An entry point of the lower library, looked up by name through the opened handle just before the call.
Call getreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length);
Call setreg(uint32_t chip, uint32_t page, uint32_t offset, const Bytes &bytes);
// The same, bound by the loader instead of looked up.
Call getreg_by_link(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length);
// Any other entry point, with the numbers that it was given.
Call entry_point(const std::string &name, std::initializer_list<uint64_t> arguments);
// A look-up that found nothing.
Call lookup_missing(const std::string &name);

// Anything else that the library calls: dlopen, dlclose, dlerror, malloc, free, trace_kbuf_init_buffer, ...
Call platform_call(const std::string &text);

uint32_t address(const void *pointer);
// The same with all its bits, as the entry points are given it.
uint64_t whole_address(const void *pointer);

Call record(TracePoint point, const std::vector<uint32_t> &values);

// The slots of a noted record, for values that only the library knows.
std::vector<uint32_t> slots(const Call &record);

// A record with its values, written by the operation that the point's values call for.
template <class... Values>
Call record(TracePoint point, Values... values) {
    return record(point, std::vector<uint32_t>{trace_value(values)...});
}

// The configuration library that the loader finds.
extern const char *const kConfigurationPath;
constexpr ksl_cfg_record kEndOfList{0, 0, 0, 1, {}};

// ---- How calls are written ----

extern const std::string kLookup;
std::string hex(uint64_t value);
std::string hex_bytes(const uint8_t *bytes, uint32_t length);
std::string access_text(const std::string &name, uint32_t chip, uint32_t page, uint32_t offset, uint32_t length);
std::string record_text(const char *operation, uint32_t descriptor, uint32_t count, uint32_t identifier,
                        const std::vector<uint32_t> &slots);
std::string entry_point_text(const std::string &name, const std::vector<uint64_t> &arguments);

} // namespace ksl::test

#pragma GCC visibility pop
