// SPDX-License-Identifier: Apache-2.0
// Every function that the library exports, one row each: how tests and fuzzers call it, the trace records of its frame,
// the accesses that it makes, and what each failure leaves: its result, the calls that follow, the caller's memory. The
// rows are stated by hand, not learned from the library.
#pragma once

#include "fuzzed_call.h"
#include "scripted_platform.h"

#include <functional>
#include <optional>

namespace ksl::test {

// Its low byte alone reaches the lower library, but for the few entry points that take it whole.
constexpr uint32_t kChip = 0x102;
constexpr uint32_t kChipLow = 0x02;
constexpr uint32_t kPort = 3;

// ---- The caller's memory ----

// All outputs of a call lie in one block, so that every byte that it leaves alone is looked at.
constexpr size_t kMemorySize = 2400;
constexpr uint8_t kUntouched = 0xEE;
constexpr uint32_t kUntouchedNumber = 0xEEEEEEEE;
uint8_t *memory(size_t at = 0);
template <class T>
T *memory_as(size_t at = 0) {
    return reinterpret_cast<T *>(memory(at));
}

struct Write {
    size_t at;
    Bytes bytes;
};
using Writes = std::vector<Write>;

void apply(const Writes &writes, Bytes &memory);

// A number as the host keeps it.
Bytes native(uint32_t number);

// ---- Accesses ----

// One call of an entry point, as the library is to make it.
struct Access {
    std::string entry_point;
    Call call;
    // What a read delivers.
    Bytes answer;
    // What the trace has right after it if it fails.
    std::function<Calls(int32_t code)> failed;
    // What the caller finds as soon as it has succeeded.
    Writes delivers = {};
};

// Page and offset as the failure record has them; the lower library is given their low bytes.
Access read(uint32_t page, uint32_t offset, const Bytes &answer, const Writes &delivers = {},
            TracePoint failed = points::register_read_failed);
Access write(uint32_t page, uint32_t offset, const Bytes &bytes, TracePoint failed = points::register_write_failed);
// Any other entry point; "*" is a pointer among its arguments.
Access other(const std::string &entry_point, const std::string &arguments, std::function<Calls(int32_t code)> failed,
             const Writes &delivers = {});

// An address in the trace that is neither the caller's nor null: the operation's own memory.
constexpr uint32_t kOwnMemory = 1;

// ---- Calls ----

// The calls as the outcomes have them: an address is named by its owner, since those of an operation's own memory
// differ from run to run.
Calls masked(const Calls &calls);

// The calls of entry points among others.
std::vector<size_t> access_positions(const Calls &calls);

constexpr uint32_t kClockStep = 7;
// The calls as timing adds to them: a run time after each end stamp.
Calls with_run_times(const Calls &calls);

// ---- Failures ----

// One access fails with a code, or entry points are not to be found.
struct Fault {
    // Counted from 0.
    std::optional<size_t> access = {};
    int32_t code = 0;
    // A read delivers its bytes although it fails.
    bool delivers = false;
    std::set<std::string> missing = {};
    // Neither lower library could be opened.
    bool unbound = false;

    bool lacks(const std::string &entry_point) const { return unbound || missing.count(entry_point) != 0; }
};

struct Outcome {
    int32_t result = 0;
    Calls calls;
    Bytes memory;
    bool configuration_open = false;
};

// The outcome of a call with a fault, for calls that are described step by step.
class Story {
public:
    explicit Story(const Fault &fault);

    // Makes an access, or finds its entry point missing; gives its result.
    int32_t access(const Access &access);
    void then(const Calls &calls) { outcome.calls += calls; }
    void leaves(const Writes &writes);

    const Fault &fault;
    Outcome outcome;

private:
    size_t made = 0;
};

// ---- The table ----

// The call frame that an operation runs in.
struct Frame {
    TracePoint entry;
    TracePoint exit;
    // The values of its entry record.
    std::vector<uint32_t> values = {kChip};
    // How many operations it calls, each of which runs in a frame of its own.
    uint32_t inner_operations = 0;
    // Some leave the start stamp to the operations that they call.
    bool stamps_its_start = true;
};

struct Export {
    std::string name;
    // None for what is no operation.
    std::optional<Frame> frame = {};
    // Runs it with an argument for which it leaves at once: a null output, or a port out of range.
    std::function<int32_t()> refused = nullptr;
    // How a fuzzer calls it.
    fuzz::Operation fuzz = {};
    // Runs it so that it succeeds.
    std::function<int32_t()> run;
    // In their order; the first that fails is the last that is made.
    std::vector<Access> accesses = {};
    // The calls after the failure's own records. Where nothing is said, the frame's exit record with the result alone.
    std::function<Calls(int32_t result, size_t access)> ending = nullptr;
    // What the caller finds whatever fails.
    Writes at_once = {};
    // The lower library is given the caller's memory itself: what a failing read delivers stays there.
    bool reads_into_memory = false;
    // Whether a failure leaves the configuration library open.
    bool leaves_configuration_open = false;
    // What the platform is given before the run, in addition to the answers of the reads.
    std::function<void(ScriptedPlatform &)> prepare = [](ScriptedPlatform &) {};
    // Entry points that its lower library lacks from the start.
    std::set<std::string> without = {};
    // Described step by step instead: it goes on after failures, or depends on whether the library is bound.
    std::function<void(Story &)> story = nullptr;
    // Its result where nothing fails.
    int32_t result = 0;

    std::string title() const { return without.empty() ? name : name + " without " + *without.begin(); }
};

using Exports = std::vector<Export>;

// The records of an exit and the end stamp.
template <class... Values>
Calls leave(TracePoint exit, Values... values) {
    return {record(exit, values...), stamp_end()};
}

Exports frame_exports();
Exports port_exports();
Exports vlan_exports();
Exports counter_exports();
Exports forwarding_exports();
Exports address_table_exports();
Exports chip_exports();

// All of them.
const Exports &exports();

// ---- Running them ----

// Gives the platform what the run needs to succeed.
void prepare(ScriptedPlatform &platform, const Export &exported);

// What a call with a fault really comes to. `all`, where given, receives everything called, ksl_init() and
// ksl_terminate() included.
Outcome observe(const Export &exported, const Fault &fault, bool timed, Calls *all = nullptr);

// What it must come to; `good` is what it comes to without a fault.
Outcome expect(const Export &exported, const Outcome &good, const Fault &fault);

// Every entry point of the lower library with the record of its absence; none for the one that is optional.
struct EntryPoint {
    const char *name;
    std::optional<TracePoint> missing;
};
extern const EntryPoint kEntryPoints[8];

// The look-up that finds nothing, and the record of it.
Calls missing_calls(const std::string &entry_point);

} // namespace ksl::test
