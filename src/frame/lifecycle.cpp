// SPDX-License-Identifier: Apache-2.0
// Opening and closing the library.
#include "frame/trace.h"

#include <cstdlib>
#include <dlfcn.h>

namespace {

using namespace ksl;

constexpr char kTraceBufferName[] = "XKSL";
constexpr uint32_t kTraceBufferSize = 32768;
constexpr size_t kScratchSize = 131072;

constexpr char kFirstLowerLibrary[] = "libhwa.so";
constexpr char kSecondLowerLibrary[] = "libqrthwa.gen1.so";

// Global, because the address-table walk calls hwa_getreg by its link-time name.
void *open_lower_library(const char *name) {
    return dlopen(name, RTLD_NOW | RTLD_GLOBAL);
}

void bind_lower_library() {
    if (ksl_hwa_handle != nullptr) {
        trace(points::lower_library_already_bound);
        return;
    }
    ksl_hwa_handle = open_lower_library(kFirstLowerLibrary);
    if (ksl_hwa_handle != nullptr) {
        trace(points::lower_library_bound);
        return;
    }
    trace(points::first_lower_library_missing, dlerror(), kFirstLowerLibrary);
    ksl_hwa_handle = open_lower_library(kSecondLowerLibrary);
    if (ksl_hwa_handle != nullptr) {
        trace(points::lower_library_bound);
        return;
    }
    trace(points::second_lower_library_missing, dlerror(), kSecondLowerLibrary);
}

} // namespace

extern "C" void ksl_init() {
    trace_kbuf_init_buffer(&ksl_trace_buffer, kTraceBufferName, kTraceBufferSize);
    bind_lower_library();
    // Also when the library is opened again; the block before is lost then.
    ksl_scratch_buffer = malloc(kScratchSize);
    if (ksl_scratch_buffer == nullptr) {
        trace(points::scratch_buffer_missing);
    }
}

extern "C" void ksl_terminate() {
    trace_kbuf_free(&ksl_trace_buffer);
    if (ksl_hwa_handle != nullptr) {
        dlclose(ksl_hwa_handle);
    }
    ksl_hwa_handle = nullptr;
    free(ksl_scratch_buffer);
}

extern "C" void ksl_get_trace_buffer(uint32_t **out) {
    *out = &ksl_trace_buffer;
}
