// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include <array>

namespace ksl::test {
namespace {

class Lifecycle : public Scripted {
protected:
    ~Lifecycle() override {
        if (ksl_hwa_handle != nullptr) {
            ksl_terminate();
        }
    }

    const Call open_trace = platform_call("trace_kbuf_init_buffer ksl_trace_buffer XKSL 32768");
    const Call open_first = platform_call("dlopen libhwa.so RTLD_NOW|RTLD_GLOBAL");
    const Call open_second = platform_call("dlopen libqrthwa.gen1.so RTLD_NOW|RTLD_GLOBAL");
    const Call ask_loader = platform_call("dlerror");
    const Call allocate = platform_call("malloc 131072");

    // The file names are constants of the library; the trace has their addresses alone.
    Call missing(TracePoint point) {
        for (const Call &call : platform.calls) {
            if (call.identifier == point.identifier) {
                return call;
            }
        }
        return platform_call("no record of the missing library");
    }
};

TEST_F(Lifecycle, InitBindsTheFirstLibrary) {
    ksl_init();
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, record(points::lower_library_bound), allocate}));
    EXPECT_EQ(ksl_hwa_handle, kFirstHandle);
    EXPECT_EQ(ksl_trace_buffer, kDescriptor);
    ASSERT_EQ(platform.allocated.size(), 1u);
    EXPECT_EQ(ksl_scratch_buffer, platform.allocated[0]);
}

TEST_F(Lifecycle, InitBindsTheSecondLibraryIfTheFirstIsAbsent) {
    platform.libraries = {"libqrthwa.gen1.so"};
    ksl_init();
    const Call first_missing = missing(points::first_lower_library_missing);
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, ask_loader, first_missing, open_second,
                                      record(points::lower_library_bound), allocate}));
    EXPECT_EQ(ksl_hwa_handle, kSecondHandle);
}

TEST_F(Lifecycle, InitGoesOnWithoutAnyLibrary) {
    platform.libraries = {};
    ksl_init();
    const Call first_missing = missing(points::first_lower_library_missing);
    const Call second_missing = missing(points::second_lower_library_missing);
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, ask_loader, first_missing, open_second, ask_loader,
                                      second_missing, allocate}));
    EXPECT_EQ(ksl_hwa_handle, nullptr);
    EXPECT_NE(ksl_scratch_buffer, nullptr);
    ksl_terminate();
}

TEST_F(Lifecycle, AMissingLibraryIsTracedWithTheLoadersTextAndTheFileName) {
    platform.libraries = {};
    ksl_init();
    const Calls calls = platform.take();
    const std::array<const char *, 2> names{"libhwa.so", "libqrthwa.gen1.so"};
    ASSERT_EQ(platform.opened_names.size(), 2u);
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_STREQ(platform.opened_names[i], names[i]);
    }
    EXPECT_EQ(calls[3].text, record(points::first_lower_library_missing, kLoaderError, platform.opened_names[0]).text);
    EXPECT_EQ(calls[6].text, record(points::second_lower_library_missing, kLoaderError, platform.opened_names[1]).text);
    ksl_terminate();
}

TEST_F(Lifecycle, BoundRecordsOfBothLibrariesDifferInTheirLineOnly) {
    ksl_init();
    const Call first = platform.take()[2];
    ksl_terminate();
    platform.libraries = {"libqrthwa.gen1.so"};
    platform.take();
    ksl_init();
    const Call second = platform.take()[5];
    EXPECT_EQ(first.text, record(points::lower_library_bound).text);
    EXPECT_EQ(second.text, first.text);
    EXPECT_GT(second.line, first.line);
}

TEST_F(Lifecycle, ASecondInitKeepsTheLibraryAndAllocatesAgain) {
    ksl_init();
    platform.take();
    ksl_init();
    EXPECT_EQ(platform.take(), (Calls{open_trace, record(points::lower_library_already_bound), allocate}));
    EXPECT_EQ(ksl_hwa_handle, kFirstHandle);
    ASSERT_EQ(platform.allocated.size(), 2u);
    EXPECT_EQ(ksl_scratch_buffer, platform.allocated[1]);
}

TEST_F(Lifecycle, ASecondInitTriesAgainIfNoLibraryWasBound) {
    platform.libraries = {};
    ksl_init();
    platform.take();
    platform.libraries = {"libqrthwa.gen1.so"};
    ksl_init();
    const Call first_missing = missing(points::first_lower_library_missing);
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, ask_loader, first_missing, open_second,
                                      record(points::lower_library_bound), allocate}));
    EXPECT_EQ(ksl_hwa_handle, kSecondHandle);
}

TEST_F(Lifecycle, ASecondInitWithoutMemoryForgetsTheWorkArea) {
    ksl_init();
    platform.take();
    platform.malloc_fails = true;
    ksl_init();
    EXPECT_EQ(platform.take(), (Calls{open_trace, record(points::lower_library_already_bound), allocate,
                                      record(points::scratch_buffer_missing)}));
    EXPECT_EQ(ksl_scratch_buffer, nullptr);
    ksl_terminate();
    EXPECT_EQ(platform.take().back().text, "free null");
}

TEST_F(Lifecycle, InitGoesOnWithoutATraceBuffer) {
    platform.trace_result = -1;
    ksl_init();
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, record(points::lower_library_bound), allocate}));
    EXPECT_EQ(ksl_hwa_handle, kFirstHandle);
}

TEST_F(Lifecycle, AFailedAllocationIsTracedAndNothingElse) {
    platform.malloc_fails = true;
    ksl_init();
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, record(points::lower_library_bound), allocate,
                                      record(points::scratch_buffer_missing)}));
    EXPECT_EQ(ksl_scratch_buffer, nullptr);
    EXPECT_EQ(ksl_hwa_handle, kFirstHandle);
}

TEST_F(Lifecycle, TerminateReleasesEverythingButThePointerToTheWorkArea) {
    ksl_init();
    platform.take();
    void *const scratch = ksl_scratch_buffer;
    ksl_terminate();
    EXPECT_EQ(platform.take(), (Calls{platform_call("trace_kbuf_free ksl_trace_buffer"), platform_call("dlclose first"),
                                      platform_call("free an allocated block")}));
    EXPECT_EQ(ksl_hwa_handle, nullptr);
    EXPECT_EQ(ksl_scratch_buffer, scratch);
    EXPECT_TRUE(platform.allocated.empty());
}

TEST_F(Lifecycle, TerminateWithoutALibraryClosesNone) {
    platform.libraries = {};
    ksl_init();
    platform.take();
    ksl_terminate();
    EXPECT_EQ(platform.take(),
              (Calls{platform_call("trace_kbuf_free ksl_trace_buffer"), platform_call("free an allocated block")}));
}

// The second call frees the same block again. Only its caller is to blame for that; here the pointer is null.
TEST_F(Lifecycle, TerminateFreesThePointersBlockEachTime) {
    platform.malloc_fails = true;
    ksl_init();
    const Call free_trace = platform_call("trace_kbuf_free ksl_trace_buffer");
    const Call free_nothing = platform_call("free null");
    ksl_terminate();
    platform.take();
    ksl_terminate();
    EXPECT_EQ(platform.take(), (Calls{free_trace, free_nothing}));

    char block;
    ksl_scratch_buffer = &block;
    for (int i = 0; i < 2; ++i) {
        ksl_terminate();
        EXPECT_EQ(platform.take(), (Calls{free_trace, platform_call("free ?")}));
        EXPECT_EQ(ksl_scratch_buffer, &block);
    }
    ksl_scratch_buffer = nullptr;
}

TEST_F(Lifecycle, InitAfterTerminateOpensTheLibraryAgain) {
    ksl_init();
    ksl_terminate();
    platform.take();
    ksl_init();
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, record(points::lower_library_bound), allocate}));
    EXPECT_EQ(ksl_hwa_handle, kFirstHandle);
}

TEST_F(Lifecycle, TheTraceBufferHasOneAddressFromTheStart) {
    uint32_t *before = nullptr;
    ksl_get_trace_buffer(&before);
    EXPECT_EQ(before, &ksl_trace_buffer);
    EXPECT_EQ(platform.take(), Calls{});
    ksl_init();
    uint32_t *after = nullptr;
    ksl_get_trace_buffer(&after);
    EXPECT_EQ(after, before);
    EXPECT_EQ(*after, kDescriptor);
}

TEST_F(Lifecycle, InitAndTerminateLeaveTheTimingFlagAlone) {
    ksl_enable_time();
    EXPECT_EQ(ksl_time_enabled, 1u);
    ksl_init();
    EXPECT_EQ(ksl_time_enabled, 1u);
    ksl_terminate();
    EXPECT_EQ(ksl_time_enabled, 1u);
    ksl_disable_time();
    EXPECT_EQ(ksl_time_enabled, 0u);
    ksl_init();
    ksl_terminate();
    EXPECT_EQ(ksl_time_enabled, 0u);
}

TEST_F(Lifecycle, IsNotTimedItself) {
    ksl_enable_time();
    ksl_init();
    EXPECT_EQ(platform.take(), (Calls{open_trace, open_first, record(points::lower_library_bound), allocate}));
    uint32_t *buffer = nullptr;
    ksl_get_trace_buffer(&buffer);
    EXPECT_EQ(platform.take(), Calls{});
    ksl_terminate();
    EXPECT_EQ(platform.take().size(), 3u);
    ksl_disable_time();
}

TEST_F(Lifecycle, TimingSwitchedOnBeforeInitTimesTheOperations) {
    ksl_enable_time();
    ksl_init();
    EXPECT_EQ(ksl_set_MAC_filter(0, 0), 0);
    EXPECT_EQ(platform.take().back().text, record(points::elapsed_time, platform.clock_step).text);
    ksl_disable_time();
}

TEST_F(Lifecycle, RecordsBeforeInitCarryTheDescriptorAsItIs) {
    ksl_trace_buffer = 0;
    platform.missing_entry_points = {"hwa_resetswitch"};
    EXPECT_EQ(__hwa_reset_switch_chip(0), -1);
    EXPECT_EQ(platform.take(), (Calls{lookup_missing("hwa_resetswitch"), record(points::resetswitch_missing)}));
    ksl_init();
    EXPECT_NE(record(points::resetswitch_missing).text.find("0x5eed0001"), std::string::npos);
}

} // namespace
} // namespace ksl::test
