/* SPDX-License-Identifier: Apache-2.0 */
/* Shows the ports of a switch chip, and speed and duplex of those that have a link:
 *     cc status.c -o status $(pkg-config --cflags --libs ksl)
 *     ./status [CHIP] */
#include <ksl/decode.h>
#include <stdio.h>
#include <stdlib.h>

static int32_t show(uint32_t chip) {
    uint8_t link[4];
    uint8_t speed[4];
    uint8_t duplex[4];
    int32_t result = ksl_read_link_status_reg(chip, link);
    if (result == 0) {
        result = ksl_read_port_speed_reg(chip, speed);
    }
    if (result == 0) {
        result = ksl_read_port_duplex_reg(chip, duplex);
    }
    if (result != 0) {
        return result;
    }
    for (uint32_t port = 0; port < KSL_PORTS; port++) {
        if (ksl_port_bit(link, port)) {
            printf("port %2u  up    %3d Mb/s  %s duplex\n", (unsigned)port, ksl_port_bit(speed, port) ? 100 : 10,
                   ksl_port_bit(duplex, port) ? "full" : "half");
        } else {
            printf("port %2u  down\n", (unsigned)port);
        }
    }
    return 0;
}

int main(int argc, char **argv) {
    uint32_t chip = argc > 1 ? (uint32_t)strtoul(argv[1], NULL, 0) : 0;
    ksl_init();
    int32_t result = show(chip);
    ksl_terminate();
    if (result != 0) {
        fprintf(stderr, "the status of chip %u could not be read: code %d\n", (unsigned)chip, (int)result);
    }
    return result != 0;
}
