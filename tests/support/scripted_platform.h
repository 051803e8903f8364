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

// ---- The script ----

// The configuration library that the loader finds.
extern const char *const kConfigurationPath;
constexpr ksl_cfg_record kEndOfList{0, 0, 0, 1, {}};

struct ScriptedPlatform {
    ScriptedPlatform();
    ~ScriptedPlatform();
    ScriptedPlatform(const ScriptedPlatform &) = delete;
    ScriptedPlatform &operator=(const ScriptedPlatform &) = delete;

    // The calls since the last take, which forgets them.
    Calls take();

    // Register contents by page and offset, the same for every chip; zero where nothing is said.
    std::map<std::pair<uint32_t, uint32_t>, Bytes> registers;
    // Codes by the number of the access, counted from 1 over all calls of entry points since the last take.
    std::map<uint32_t, int32_t> failures;
    // What successive reads deliver, whatever they ask for; `registers` serves once it is used up.
    std::deque<Bytes> successive_reads;
    // A read that succeeds delivers no more bytes than this.
    uint32_t delivered_bytes = 0xFFFFFFFF;
    // A failing read delivers its bytes all the same.
    bool failing_reads_deliver = false;
    // The buffers that the register accesses since the last take were given.
    std::vector<const void *> buffers;
    // Called with each call, before it takes effect.
    std::function<void(const std::string &text)> on_call;
    // What a look-up does not find.
    std::set<std::string> missing_entry_points;
    // Result of every entry point other than the two register accesses, where `failures` says nothing.
    int32_t result = 0;
    // Called in the place of the entry points that fill buffers, where a test sets them.
    std::function<void(ksl_reg_request *requests, uint32_t count)> on_get_multireg;
    std::function<void(void *entries, uint32_t *count)> on_getmacs;
    std::function<void(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length)>
        on_engpowercmd;

    // The files that dlopen finds.
    std::set<std::string> libraries{"libhwa.so", "libqrthwa.gen1.so", kConfigurationPath};
    // The list that the configuration library hands out, its end included; none where it is empty.
    std::vector<ksl_cfg_record> configuration{kEndOfList};
    // What it answers when it is asked for its list.
    int32_t configuration_result = 0;
    // The very names that it was given.
    std::vector<const char *> opened_names;
    bool malloc_fails = false;
    // The clock: its next reading, and the step from each reading to the next.
    timeval now{1000, 0};
    uint32_t clock_step = 7;

    // What malloc has handed out and free has not taken back.
    std::vector<void *> allocated;
    // What the trace library answers to every call.
    int32_t trace_result = 0;
    // What dlclose answers.
    int close_result = 0;

    Calls calls;
    uint32_t accesses = 0;
};

// Codes that a failing access may have, among them the one that the library has itself.
inline constexpr int32_t kFailureCodes[] = {1, -1, 77, -2147483647 - 1};

// The values by which tests recognise what the script hands out.
constexpr uint32_t kDescriptor = 0x5EED0001;
extern void *const kFirstHandle;
extern void *const kSecondHandle;
extern void *const kConfigurationHandle;
extern const char *const kLoaderError;

} // namespace ksl::test

#pragma GCC visibility pop
