/* SPDX-License-Identifier: Apache-2.0 */
/* The library in a program that brings no C++ of its own. */
#include <dlfcn.h>
#include <ksl/ksl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int asked(void *library, int port, int vid) {
    int32_t (*get_cfg)(const struct ksl_cfg_record **) = NULL;
    *(void **)&get_cfg = dlsym(library, "__ksl_get_cfg");
    if (get_cfg == NULL) {
        return 0;
    }
    const struct ksl_cfg_record *records = NULL;
    return get_cfg(&records) == 0 && records[port].page == 0x34 && records[port].value[1] == vid;
}

int main(void) {
    const char text[] = "{\"pvids\": [{\"ports\": [\"0-22\"], \"vid\": 7}, {\"ports\": [23], \"vid\": 9}]}";
    char path[] = "cfg-XXXXXX";
    const int file = mkstemp(path);
    void *const library = dlopen(CONFIGURATION_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
    if (library == NULL || file < 0 || setenv("KSL_CFG_FILE", path, 1) != 0) {
        perror("c_program_test");
        return 1;
    }
    const int empty = asked(library, 0, 7);
    const int written = write(file, text, strlen(text)) == (ssize_t)strlen(text);
    const int stated = asked(library, 22, 7) && asked(library, 23, 9);
    unlink(path);
    const int removed = asked(library, 0, 7);
    close(file);
    dlclose(library);
    printf("empty %d, written %d, stated %d, removed %d\n", empty, written, stated, removed);
    return !(!empty && written && stated && !removed);
}
