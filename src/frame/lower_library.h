// SPDX-License-Identifier: Apache-2.0
// Looking up entry points of the lower library, and the accesses that nearly every operation makes.
#pragma once

#include "frame/trace.h"

#include <dlfcn.h>
#include <hwa.h>

namespace ksl {

constexpr int32_t kMissing = -1;

// Aligned, so that the loader, which compares a name on every look-up, can do so word by word.
struct alignas(16) EntryPointName {
    char text[20];
};

inline constexpr EntryPointName kGetreg{"hwa_getreg"};
inline constexpr EntryPointName kGetMultireg{"hwa_get_multireg"};
inline constexpr EntryPointName kSetreg{"hwa_setreg"};
inline constexpr EntryPointName kGetmacs{"hwa_getmacs"};
inline constexpr EntryPointName kEngpowercmd{"hwa_engpowercmd"};
inline constexpr EntryPointName kSetswitchconfig{"hwa_setswitchconfig"};
inline constexpr EntryPointName kSetmacfilter{"hwa_setmacfilter"};
inline constexpr EntryPointName kResetswitch{"hwa_resetswitch"};

// The handle is used as it is: a null one searches the process's global scope.
template <class EntryPoint>
EntryPoint *look_up(const EntryPointName &name) {
    return reinterpret_cast<EntryPoint *>(dlsym(ksl_hwa_handle, name.text));
}

constexpr uint8_t low_byte(uint32_t value) {
    return static_cast<uint8_t>(value);
}

// Record that the lower library has no such entry point.
[[gnu::cold]] void trace_getreg_missing();
[[gnu::cold]] void trace_setreg_missing();

// __hwa_getreg and __hwa_setreg inline: with a register known at build time an access costs only its platform calls.
inline int32_t getreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *buffer) {
    const auto entry_point = look_up<decltype(hwa_getreg)>(kGetreg);
    if (entry_point == nullptr) {
        trace_getreg_missing();
        return kMissing;
    }
    return entry_point(low_byte(chip), low_byte(page), low_byte(offset), length, buffer);
}

inline int32_t setreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, const uint8_t *buffer) {
    const auto entry_point = look_up<decltype(hwa_setreg)>(kSetreg);
    if (entry_point == nullptr) {
        trace_setreg_missing();
        return kMissing;
    }
    return entry_point(low_byte(chip), low_byte(page), low_byte(offset), length, buffer);
}

} // namespace ksl
