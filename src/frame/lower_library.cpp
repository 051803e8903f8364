// SPDX-License-Identifier: Apache-2.0
// The only way to the lower switch-access library: a shim for each entry point, which it looks up by name on every
// call.
#include "frame/lower_library.h"

#include <cstring>

using namespace ksl;

void ksl::trace_getreg_missing() {
    trace(points::getreg_missing);
}

void ksl::trace_setreg_missing() {
    trace(points::setreg_missing);
}

extern "C" int32_t __hwa_getreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *buffer) {
    return getreg(chip, page, offset, length, buffer);
}

extern "C" int32_t __hwa_get_multireg(uint32_t chip, ksl_reg_request *requests, uint32_t count) {
    const auto get_multireg = look_up<decltype(hwa_get_multireg)>(kGetMultireg);
    if (get_multireg != nullptr) {
        return get_multireg(low_byte(chip), requests, count);
    }
    // A failed read does not end the batch. Callers get the bytes of every request, and the result of the last.
    int32_t result = 0;
    for (uint32_t i = 0; i < count; ++i) {
        ksl_reg_request &request = requests[i];
        uint8_t bytes[sizeof request.data] = {};
        result = __hwa_getreg(low_byte(chip), request.page, request.offset, request.length, bytes);
        memcpy(request.data, bytes, request.length);
    }
    return result;
}

extern "C" int32_t __hwa_setreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, const uint8_t *buffer) {
    return setreg(chip, page, offset, length, buffer);
}

extern "C" int32_t __hwa_getmacs(uint32_t chip, void *entries, uint32_t *count) {
    const auto getmacs = look_up<decltype(hwa_getmacs)>(kGetmacs);
    if (getmacs == nullptr) {
        trace(points::getmacs_missing);
        return kMissing;
    }
    return getmacs(low_byte(chip), entries, count);
}

extern "C" int32_t __hwa_engpowercmd(const uint8_t *command, uint32_t length, uint8_t *response,
                                     uint32_t *response_length) {
    const auto engpowercmd = look_up<decltype(hwa_engpowercmd)>(kEngpowercmd);
    if (engpowercmd == nullptr) {
        trace(points::engpowercmd_missing);
        return kMissing;
    }
    return engpowercmd(command, length, response, response_length);
}

extern "C" int32_t __hwa_setswitchconfig(uint32_t chip, uint32_t configuration) {
    const auto setswitchconfig = look_up<decltype(hwa_setswitchconfig)>(kSetswitchconfig);
    if (setswitchconfig == nullptr) {
        trace(points::setswitchconfig_missing);
        return kMissing;
    }
    return setswitchconfig(low_byte(chip), configuration);
}

extern "C" int32_t __hwa_setmacfilter(uint32_t chip, uint32_t filter) {
    const auto setmacfilter = look_up<decltype(hwa_setmacfilter)>(kSetmacfilter);
    if (setmacfilter == nullptr) {
        trace(points::setmacfilter_missing);
        return kMissing;
    }
    return setmacfilter(low_byte(chip), filter);
}

extern "C" int32_t __hwa_reset_switch_chip(uint32_t chip) {
    const auto resetswitch = look_up<decltype(hwa_resetswitch)>(kResetswitch);
    if (resetswitch == nullptr) {
        trace(points::resetswitch_missing);
        return kMissing;
    }
    return resetswitch(chip);
}
