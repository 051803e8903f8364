// SPDX-License-Identifier: Apache-2.0
// A record of the register-read-failure point has three values; with any other number it must not compile.
#include "frame/trace.h"

int32_t write_record() {
    return ksl::trace(ksl::points::register_read_failed, VALUES);
}
