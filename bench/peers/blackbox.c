// SPDX-License-Identifier: Apache-2.0
// libqb's black box: a ring of log messages that are formatted only when it is saved.
#include "peers.h"

#include <qb/qbdefs.h>
#include <qb/qblog.h>
#include <syslog.h>

int blackbox_open(void) {
    qb_log_init("trace_bench", LOG_USER, LOG_EMERG);
    qb_log_ctl(QB_LOG_SYSLOG, QB_LOG_CONF_ENABLED, QB_FALSE);
    if (qb_log_filter_ctl(QB_LOG_BLACKBOX, QB_LOG_FILTER_ADD, QB_LOG_FILTER_FILE, "*", LOG_DEBUG) != 0 ||
        qb_log_ctl(QB_LOG_BLACKBOX, QB_LOG_CONF_SIZE, 65536) != 0) {
        return -1;
    }
    return qb_log_ctl(QB_LOG_BLACKBOX, QB_LOG_CONF_ENABLED, QB_TRUE);
}

void blackbox_five_values(uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3, uint32_t v4) {
    qb_log(LOG_DEBUG, "%u %u %u %u %u", v0, v1, v2, v3, v4);
}

long blackbox_save(const char *path) {
    return (long)qb_log_blackbox_write_to_file(path);
}

void blackbox_close(void) {
    qb_log_fini();
}
