// SPDX-License-Identifier: Apache-2.0
#include "frame/register_access.h"

namespace ksl {

int32_t read_register(uint32_t chip, const Register &place, uint8_t *bytes, uint32_t line) {
    const int32_t result = __hwa_getreg(chip, place.page, place.offset, place.length, bytes);
    if (result == 0) {
        __print_status_array(bytes, place.length);
    } else {
        constexpr TracePlace<3> failed = points::register_read_failed;
        trace(failed.at(line), place.page, place.offset, place.length);
    }
    return result;
}

} // namespace ksl
