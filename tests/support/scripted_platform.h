// SPDX-License-Identifier: Apache-2.0
// Puts a script in the place of everything below the library: the lower switch-access library, the trace library,
// the loader, the clock and the allocator. Every call that the library makes is noted in order.
#pragma once

#include "calls.h"

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#pragma GCC visibility push(default)

namespace ksl::test {

// ---- The script ----

struct ScriptedPlatform {
    ScriptedPlatform();
    ~ScriptedPlatform();
    ScriptedPlatform(const ScriptedPlatform &) = delete;
    ScriptedPlatform &operator=(const ScriptedPlatform &) = delete;

    // The calls since the last take, which forgets them.
    Calls take();

    // Register contents by page and offset, the same for every chip; all others are zero.
    std::map<std::pair<uint32_t, uint32_t>, Bytes> registers;
    // Codes by the number of the access, counted from 1 over all calls of entry points since the last take.
    std::map<uint32_t, int32_t> failures;
    // The bytes of the next reads, of any register; after them `registers` serves.
    std::deque<Bytes> successive_reads;
    // A read that succeeds delivers no more bytes than this.
    uint32_t delivered_bytes = 0xFFFFFFFF;
    // A failing read also delivers its bytes.
    bool failing_reads_deliver = false;
    // The buffers that the register accesses since the last take were given.
    std::vector<const void *> buffers;
    // Called with each call, before it takes effect.
    std::function<void(const std::string &text)> on_call;
    // The entry points that look-ups do not find.
    std::set<std::string> missing_entry_points;
    // The result of every entry point but the two register accesses, unless `failures` has one.
    int32_t result = 0;
    // Called in the place of the entry points that fill buffers, if a test sets them.
    std::function<void(ksl_reg_request *requests, uint32_t count)> on_get_multireg;
    std::function<void(void *entries, uint32_t *count)> on_getmacs;
    std::function<void(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length)>
        on_engpowercmd;

    // The files that dlopen finds.
    std::set<std::string> libraries{"libhwa.so", "libqrthwa.gen1.so", kConfigurationPath};
    // The list that the configuration library hands out, with its end; none if it is empty.
    std::vector<ksl_cfg_record> configuration{kEndOfList};
    // Its result when it is asked for its list.
    int32_t configuration_result = 0;
    // The addresses of the names that it was given.
    std::vector<const char *> opened_names;
    bool malloc_fails = false;
    // The clock: its next reading, and the step from each reading to the next.
    timeval now{1000, 0};
    uint32_t clock_step = 7;

    // Blocks that malloc has handed out and free has not taken back.
    std::vector<void *> allocated;
    // The result of every call of the trace library.
    int32_t trace_result = 0;
    // The result of dlclose.
    int close_result = 0;

    Calls calls;
    uint32_t accesses = 0;
};

// Codes that a failing access may have, among them the library's own.
inline constexpr int32_t kFailureCodes[] = {1, -1, 77, -2147483647 - 1};

// Values that the script hands out, for tests to recognise.
constexpr uint32_t kDescriptor = 0x5EED0001;
extern void *const kFirstHandle;
extern void *const kSecondHandle;
extern void *const kConfigurationHandle;
extern const char *const kLoaderError;

} // namespace ksl::test

#pragma GCC visibility pop
