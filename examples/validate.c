/* SPDX-License-Identifier: Apache-2.0 */
/* Tells whether the VLAN settings of chip 0 are those of an expected configuration:
 *     cc validate.c -o validate $(pkg-config --cflags --libs ksl)
 *     KSL_CFG_FILE=expectation.json ./validate libkslcfg_file.so 100 300
 * It compares the PVIDs of all ports and the table entries of the VLANs that are named. Instead of the library that
 * reads a file, one that was compiled from expectation.c will do. */
#include <ksl/ksl.h>
#include <stdio.h>
#include <stdlib.h>

/* Both count: no result but 0 is an answer, and verdict 0 is "they differ", also where the configuration library could
 * not be opened. */
static int equal(const char *about, int32_t result, uint32_t verdict) {
    if (result != 0) {
        fprintf(stderr, "%s could not be compared: code %d\n", about, (int)result);
        return 0;
    }
    printf("%s: %s\n", about, verdict ? "as expected" : "differ, or there is no such expectation");
    return verdict != 0;
}

int main(int argc, char **argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: %s CONFIGURATION-LIBRARY [VLAN]...\n", argv[0]);
        return 2;
    }
    ksl_init();
    uint32_t verdict = 0;
    int32_t result = ksl_validate_VLAN_PVID_set(0, argv[1], &verdict);
    int all = equal("PVIDs", result, verdict);
    for (int i = 2; i < argc; i++) {
        uint32_t vlan = (uint32_t)strtoul(argv[i], NULL, 0);
        char about[40];
        snprintf(about, sizeof about, "ports of VLAN %u", (unsigned)vlan);
        verdict = 0;
        result = ksl_validate_VLAN_map(0, vlan, argv[1], &verdict);
        all &= equal(about, result, verdict);
    }
    ksl_terminate();
    return all ? 0 : 1;
}
