// SPDX-License-Identifier: Apache-2.0
// The batched read, which the older generation of the library lacks.
#include "hub.h"
#include "hwa.h"
#include "hwa_sim.h"

using namespace hwa;

// The first request that fails ends the batch.
extern "C" int32_t hwa_get_multireg(uint8_t chip, struct ksl_reg_request *requests, uint32_t count) {
    const auto number = [&](uint32_t request) {
        return "chip=" + std::to_string(chip) + " request=" + std::to_string(request) + "/" + std::to_string(count);
    };
    if (requests == nullptr || count == 0) {
        return perform(
            {Entry::get_multireg, chip, {}, {}}, [&] { return number(0); },
            [&](const Visit &) -> int32_t { return count == 0 ? 0 : HWA_SIM_NULL_POINTER; });
    }
    int32_t result = 0;
    for (uint32_t i = 0; i < count && result == 0; ++i) {
        ksl_reg_request &request = requests[i];
        const auto describe = [&] { return number(i + 1) + " " + place(request.page, request.offset, request.length); };
        result = read_access(Entry::get_multireg, chip, request.page, request.offset, request.length, request.data,
                             describe);
    }
    return result;
}
