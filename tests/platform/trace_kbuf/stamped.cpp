// SPDX-License-Identifier: Apache-2.0
// A writer to be killed and a checker of what it left, for scripts that bring the two onto different machines:
//     trace_kbuf_stamped write COUNT-FILE     writes without end into STAMPED of TRACE_KBUF_DIR; the file's first
//                                             word counts what it finished, in this machine's byte order
//     trace_kbuf_stamped check TRACE COUNT    whether such a writer's file shows what it has to
#include "checker.h"
#include "sized_buffer.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

int write_without_end(const char *count_file) {
    const int file = open(count_file, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    uint32_t descriptor = 0;
    if (file < 0 || ftruncate(file, sizeof(uint32_t)) != 0 || init_sized(&descriptor, "STAMPED", 32768) != 0) {
        std::perror(count_file);
        return 2;
    }
    const stamped::Finished finished(1, file);
    while (finished.write_next(descriptor, 0) == 0) {
    }
    return 1;
}

int check(const char *trace, const char *count) {
    const stamped::Finished finished(1);
    finished[0] = static_cast<uint32_t>(std::strtoul(count, nullptr, 10));
    const std::unique_ptr<trace_kbuf_snapshot, decltype(&trace_kbuf_snapshot_free)> snapshot{
        trace_kbuf_snapshot_file(trace), &trace_kbuf_snapshot_free};
    stamped::Checker checker(finished);
    checker.killed(0, snapshot->written);
    const std::string problem = checker.completeness(*snapshot);
    if (!problem.empty() || finished[0] == 0) {
        (void)std::fprintf(stderr, "%s: %s\n", trace, problem.empty() ? "nothing was written" : problem.c_str());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "write" && argc == 3) {
        return write_without_end(argv[2]);
    }
    if (what == "check" && argc == 4) {
        return check(argv[2], argv[3]);
    }
    (void)std::fputs("usage: trace_kbuf_stamped write COUNT-FILE | check TRACE COUNT\n", stderr);
    return 2;
}
