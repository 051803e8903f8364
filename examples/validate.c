/* SPDX-License-Identifier: Apache-2.0 */
/* Compares the VLAN settings of chip 0 with those of an expected configuration:
 *     cc validate.c -o validate $(pkg-config --cflags --libs ksl)
 *     KSL_CFG_FILE=expectation.json ./validate libkslcfg_file.so 100 300
 * It compares the PVIDs of all ports and the table entries of the named VLANs. The library compiled from expectation.c
 * also serves in place of the one that reads a file. */
#include <ksl/ksl.h>
#include <stdio.h>
#include <stdlib.h>

/* Look at both: only result 0 is an answer. Verdict 0 means that they differ, or that the configuration library could
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
