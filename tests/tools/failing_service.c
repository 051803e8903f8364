/* SPDX-License-Identifier: Apache-2.0 */
/* A service that reads the link status of a chip that does not exist, and dies. */
#include <ksl/ksl.h>
#include <signal.h>

int main(void) {
    uint8_t link[4];
    ksl_init();
    (void)ksl_read_link_status_reg(0, link);
    (void)ksl_read_link_status_reg(9, link);
    return raise(SIGKILL);
}
