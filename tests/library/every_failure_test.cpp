// SPDX-License-Identifier: Apache-2.0
// Every exported function with each of its accesses failing, and with each entry point missing: what it gives back,
// what it calls and traces, and what it leaves in the caller's memory. Nothing may happen after a failure but what
// exports/ states.
#include "exports/export.h"

#include <gtest/gtest.h>

namespace ksl::test {
namespace {

testing::AssertionResult same(const Outcome &found, const Outcome &expected, bool timed) {
    const Calls calls = timed ? with_run_times(expected.calls) : expected.calls;
    if (found.calls != calls) {
        return testing::AssertionFailure() << "called:" << found.calls << "but expected:" << calls;
    }
    if (found.result != expected.result) {
        return testing::AssertionFailure() << "gave " << found.result << ", not " << expected.result;
    }
    for (size_t i = 0; i < kMemorySize; ++i) {
        if (found.memory[i] != expected.memory[i]) {
            return testing::AssertionFailure()
                   << "left " << int{found.memory[i]} << " in byte " << i << ", not " << int{expected.memory[i]};
        }
    }
    if (found.configuration_open != expected.configuration_open) {
        return testing::AssertionFailure() << "left the configuration library open: " << found.configuration_open;
    }
    return testing::AssertionSuccess();
}

// What it leaves where nothing fails, as far as the table states it.
Bytes delivered_by_all(const Export &exported) {
    Fault none;
    Story story(none);
    story.leaves(exported.at_once);
    for (const Access &access : exported.accesses) {
        story.leaves(access.delivers);
    }
    return story.outcome.memory;
}

Calls calls_of(const std::vector<Access> &accesses) {
    Calls calls;
    for (const Access &access : accesses) {
        calls += {access.call};
    }
    return calls;
}

TEST(EveryExport, SucceedsByTheAccessesOfTheTable) {
    for (const Export &exported : exports()) {
        SCOPED_TRACE(exported.title());
        Outcome good = observe(exported, {}, false);
        if (exported.story) {
            EXPECT_TRUE(same(good, expect(exported, good, {}), false));
        } else {
            Calls made;
            for (const size_t at : access_positions(good.calls)) {
                made.push_back(good.calls[at]);
            }
            EXPECT_EQ(made, masked(calls_of(exported.accesses)));
            EXPECT_EQ(good.memory, delivered_by_all(exported));
            EXPECT_EQ(good.result, exported.result);
            EXPECT_FALSE(good.configuration_open);
        }
        EXPECT_TRUE(same(observe(exported, {}, true), good, true));
    }
}

TEST(EveryExport, StopsAtEachAccessThatFails) {
    for (const Export &exported : exports()) {
        const Outcome good = observe(exported, {}, false);
        const size_t accesses = access_positions(good.calls).size();
        for (size_t access = 0; access < accesses; ++access) {
            SCOPED_TRACE(exported.title() + ", access " + std::to_string(access));
            const Fault positive{.access = access, .code = 77};
            EXPECT_TRUE(same(observe(exported, positive, false), expect(exported, good, positive), false));
            // Those that go on after a failure may use what it delivers: their own tests say how.
            const Fault negative{.access = access, .code = -2147483647 - 1, .delivers = !exported.story};
            EXPECT_TRUE(same(observe(exported, negative, true), expect(exported, good, negative), true));
        }
    }
}

TEST(EveryExport, StopsAtEachEntryPointThatIsMissing) {
    for (const Export &exported : exports()) {
        const Outcome good = observe(exported, {}, false);
        bool timed = false;
        for (const EntryPoint &entry_point : kEntryPoints) {
            SCOPED_TRACE(exported.title() + " without " + entry_point.name);
            const Fault fault{.missing = {entry_point.name}};
            EXPECT_TRUE(same(observe(exported, fault, timed), expect(exported, good, fault), timed));
            timed = !timed;
        }
    }
}

TEST(EveryExport, FindsNothingWhereNoLowerLibraryIsBound) {
    for (const Export &exported : exports()) {
        SCOPED_TRACE(exported.title());
        const Outcome good = observe(exported, {}, false);
        const Fault fault{.unbound = true};
        EXPECT_TRUE(same(observe(exported, fault, false), expect(exported, good, fault), false));
        EXPECT_TRUE(same(observe(exported, fault, true), expect(exported, good, fault), true));
    }
}

} // namespace
} // namespace ksl::test
