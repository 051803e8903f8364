/* SPDX-License-Identifier: Apache-2.0 */
/* Two threads that write one number. */
#include <pthread.h>

static int number;

static void *count(void *argument) {
    ++number;
    return argument;
}

int main(void) {
    pthread_t thread;
    if (pthread_create(&thread, NULL, count, NULL) != 0) {
        return 2;
    }
    ++number;
    return pthread_join(thread, NULL);
}
