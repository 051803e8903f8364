// SPDX-License-Identifier: Apache-2.0
// Puts a script in the place of everything below the library: the lower switch-access library, the trace library,
// the loader, the clock and the allocator. Every call that the library makes is noted in order, so that a test can
// state an operation's whole behaviour as a list.
#pragma once

#include "frame/trace.h"

#include <ksl/ksl.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#pragma GCC visibility push(default)

namespace ksl::test {

using Bytes = std::vector<uint8_t>;

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

Call record(TracePoint point, const std::vector<uint32_t> &values);

// A record with its values, written by the operation that the point's values call for.
template <class... Values>
Call record(TracePoint point, Values... values) {
    return record(point, std::vector<uint32_t>{trace_value(values)...});
}

// ---- The script ----

struct ScriptedPlatform {
    ScriptedPlatform();
    ~ScriptedPlatform();
    ScriptedPlatform(const ScriptedPlatform &) = delete;
    ScriptedPlatform &operator=(const ScriptedPlatform &) = delete;

    // The calls since the last take, which forgets them.
    Calls take();

    // Register contents by page and offset, the same for every chip; zero where nothing is said.
    std::map<std::pair<uint32_t, uint32_t>, Bytes> registers;
    // Codes by the number of the access, counted from 1 over reads and writes since the last take.
    std::map<uint32_t, int32_t> failures;
    // What successive reads deliver, whatever they ask for; `registers` serves once it is used up.
    std::deque<Bytes> successive_reads;
    // A read that succeeds delivers no more bytes than this.
    uint32_t delivered_bytes = 0xFFFFFFFF;
    // A failing read delivers its bytes all the same.
    bool failing_reads_deliver = false;
    // What a look-up does not find.
    std::set<std::string> missing_entry_points;
    // Result of every entry point other than the two register accesses.
    int32_t result = 0;
    // Called in the place of the entry points that fill buffers, where a test sets them.
    std::function<void(ksl_reg_request *requests, uint32_t count)> on_get_multireg;

    // The files that dlopen finds.
    std::set<std::string> libraries{"libhwa.so", "libqrthwa.gen1.so"};
    // The very names that it was given.
    std::vector<const char *> opened_names;
    bool malloc_fails = false;
    // The clock: its next reading, and the step from each reading to the next.
    timeval now{1000, 0};
    uint32_t clock_step = 7;

    // What malloc has handed out and free has not taken back.
    std::vector<void *> allocated;
    // What the trace library answers to every write.
    int32_t trace_result = 0;

    Calls calls;
    uint32_t accesses = 0;
};

// The values by which tests recognise what the script hands out.
constexpr uint32_t kDescriptor = 0x5EED0001;
extern void *const kFirstHandle;
extern void *const kSecondHandle;
extern const char *const kLoaderError;

} // namespace ksl::test

#pragma GCC visibility pop
