/* SPDX-License-Identifier: Apache-2.0 */
#include <ksl/ksl.h>

int32_t (*const header_c11)(uint32_t, uint8_t *) = ksl_read_link_status_reg;
