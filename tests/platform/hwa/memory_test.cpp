// SPDX-License-Identifier: Apache-2.0
// A process with little memory gets 105 and a sentence, whatever it is that finds no room.
#include "library.h"

#include <set>
#include <sys/resource.h>

namespace hwa_test {
namespace {

// The address space that this process uses.
size_t used_now() {
    std::ifstream file("/proc/self/statm");
    size_t pages = 0;
    file >> pages;
    return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// A stack that grows would need memory, too.
void use_stack() {
    volatile char room[64 * 1024];
    for (volatile char &byte : room) {
        byte = 0;
    }
}

int access_with(size_t more) {
    const Library library;
    uint8_t byte = 0;
    use_stack();
    const rlimit limit{used_now() + more, RLIM_INFINITY};
    if (setrlimit(RLIMIT_AS, &limit) != 0) {
        return 1;
    }
    const int32_t first = library.get(0, 0, 0, 1, &byte);
    const rlimit plenty{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &plenty);
    if (library.get(0, 0, 0, 1, &byte) != 0 || byte != 3) {
        return 2; // it recovers
    }
    return first;
}

TEST_F(HubTest, ALackOfMemoryIsSaidAndGoesBy) {
    std::set<int> results;
    for (size_t more = 0; more < size_t{6} * 1024 * 1024; more += size_t{64} * 1024) {
        StderrCapture capture;
        const int result = finish(start_child([more] { return access_with(more); }));
        results.insert(result);
        EXPECT_EQ(capture.text(), result == 0 ? ""
                                              : "simulated hub: unusable: there is not enough memory for it; raise the "
                                                "limit of this process (ulimit -v), or end others\n");
    }
    EXPECT_EQ(results, (std::set<int>{0, 105}));
}

} // namespace
} // namespace hwa_test
