// SPDX-License-Identifier: Apache-2.0
// Every operation over a lower library of any result and any content: what it returns, what it writes where, and that
// nothing happens after a failure. How each is called is in its row of the exported functions.
#include "export.h"
#include "fuzzed_call.h"

#include <algorithm>
#include <map>
#include <string>

namespace {

using namespace fuzz;

uint16_t number_of(const std::string &name) {
    uint32_t number = 0;
    for (const char letter : name) {
        number = number * 31 + static_cast<uint8_t>(letter);
    }
    return static_cast<uint16_t>(number);
}

// ---- The rules ----

void check_result(const Operation &operation, const Call &call, int32_t result) {
    const Platform &platform = call.platform;
    if (call.refused()) {
        require(result == -1 && platform.accesses == 0, "a refused argument gives -1 before any access");
    } else if (operation.result == Result::first_failure) {
        require(result == platform.first_failure, "the first failure is the result, and 0 without one");
        require(platform.accesses_after_failure == 0, "nothing is accessed after a failure");
    } else if (operation.result == Result::last_access) {
        require(result == platform.last_result, "the last access's result is the operation's");
    }
}

void check_outputs(const Operation &operation, const Call &call, int32_t result) {
    for (const Output &output : call.outputs()) {
        require(output.margins_are_untouched(), "nothing is written outside an output");
        require(result == 0 || operation.outputs == Outputs::partly_written || output.is_untouched(),
                "a failed operation writes no output");
    }
}

void check_records(const Platform &platform) {
    const auto count = [&](Kind kind) { return std::count(platform.records.begin(), platform.records.end(), kind); };
    require(count(Kind::exit) <= count(Kind::entry), "what exits was entered");
    require(ksl_time_enabled != 0 || count(Kind::elapsed) == 0 || platform.records.size() == 1,
            "run times are traced when they are wanted");
}

void run_one(const Operation &operation, Platform &platform) {
    // Entry points go missing now and then.
    const uint8_t missing = platform.input.byte();
    platform.missing_entry_points = missing >= 0xC0 ? platform.input.byte() : 0;
    Call call(platform);
    platform.begin();
    const int32_t result = operation.run(call);
    check_result(operation, call, result);
    check_outputs(operation, call, result);
    check_records(platform);
}

// ---- The order of the calls ----

// The rows of the exported functions that a fuzzer calls, by a number made of the name: a seed keeps its meaning when
// functions are added.
const std::map<uint16_t, Operation> &operations() {
    static const std::map<uint16_t, Operation> all = [] {
        std::map<uint16_t, Operation> found;
        for (const ksl::test::Export &exported : ksl::test::exports()) {
            if (exported.fuzz.run != nullptr && exported.without.empty()) {
                require(found.emplace(number_of(exported.name), exported.fuzz).second,
                        "a name has a number of its own");
            }
        }
        return found;
    }();
    return all;
}

// Each operation on the same bytes.
void run_all(const Input &bytes) {
    for (const auto &[number, operation] : operations()) {
        Input input = bytes;
        Platform platform(input);
        run_one(operation, platform);
    }
}

// One operation after the other, until the bytes are used up.
void run_sequence(Input &input) {
    Platform platform(input);
    while (!input.used_up()) {
        const auto number = static_cast<uint16_t>(input.byte() << 8 | input.byte());
        const auto found = operations().lower_bound(number);
        run_one(found == operations().end() ? operations().begin()->second : found->second, platform);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    Input input(bytes, size);
    {
        const Platform opening(input);
        ksl_init();
    }
    if (input.byte() == 1) {
        run_all(input);
    } else {
        run_sequence(input);
    }
    const Platform closing(input);
    ksl_disable_time();
    ksl_terminate();
    return 0;
}
