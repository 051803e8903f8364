/* SPDX-License-Identifier: Apache-2.0 */
/* Makes the mistake that its argument names, in the library where it can: a sanitizer that is on ends the program. */
#include <ksl/ksl.h>

#include <limits.h>
#include <stdlib.h>
#include <string.h>

/* The library writes an address after the end of a block. */
static void heap_overflow(void) {
    uint32_t **block = malloc(sizeof(void *) - 1);
    ksl_get_trace_buffer(block);
    free(block);
}

/* The library writes an address where none may be. */
static void misaligned(void) {
    static _Alignas(uint32_t *) char block[2 * sizeof(uint32_t *)];
    ksl_get_trace_buffer((uint32_t **)(void *)(block + 1));
}

static void signed_overflow(void) {
    volatile int number = INT_MAX;
    number = number + 1;
}

/* A block that nobody knows any more. */
static void leak(void) {
    volatile char *volatile block = malloc(77);
    block = NULL;
    (void)block;
}

int main(int argc, char **argv) {
    static const struct {
        const char *name;
        void (*make)(void);
    } mistakes[] = {{"heap_overflow", heap_overflow},
                    {"misaligned", misaligned},
                    {"signed_overflow", signed_overflow},
                    {"leak", leak}};
    for (size_t i = 0; i < sizeof mistakes / sizeof *mistakes; ++i) {
        if (argc == 2 && strcmp(argv[1], mistakes[i].name) == 0) {
            mistakes[i].make();
            return 0;
        }
    }
    return 2;
}
