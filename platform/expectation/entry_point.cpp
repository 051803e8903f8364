// SPDX-License-Identifier: Apache-2.0
// libkslcfg_file.so: the configuration library of the file that KSL_CFG_FILE names.
//
// No list of records makes every comparison fail: a chip can hold any PVID that a record can state. So the library has
// no entry point as long as the file cannot be used, and nothing is compared. The entry point is an indirect function:
// dlsym() calls the look-up below and returns its result, the function that hands out the records, or null.
#include "expectation.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <forward_list>
#include <unistd.h>

namespace {

using Records = std::vector<ksl_cfg_record>;

// Every list that was handed out lives until the library is unloaded. The first is that of the last look-up.
std::forward_list<Records> lists;

bool same(const Records &one, const Records &other) {
    return one.size() == other.size() && std::memcmp(one.data(), other.data(), one.size() * sizeof one.front()) == 0;
}

// Equal lists are kept once.
void keep(Records records) {
    for (auto before = lists.before_begin(), list = lists.begin(); list != lists.end(); before = list++) {
        if (same(*list, records)) {
            lists.splice_after(lists.before_begin(), lists, before);
            return;
        }
    }
    lists.push_front(std::move(records));
}

void complain(const std::string &sentence) {
    const std::string line = "libkslcfg_file.so: " + sentence + "\n";
    // A single write keeps the lines of several processes apart; there is nowhere to report its failure.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

std::string named_file() {
    const char *const path = std::getenv("KSL_CFG_FILE");
    if (path == nullptr || *path == '\0') {
        throw kslcfg::Unusable("KSL_CFG_FILE must name the JSON file of the expected configuration");
    }
    return path;
}

int32_t hand_out(const ksl_cfg_record **records) {
    *records = lists.front().data();
    return 0;
}

} // namespace

extern "C" decltype(&__ksl_get_cfg) kslcfg_look_up() noexcept {
    try {
        keep(kslcfg::records(kslcfg::load(named_file())));
        return hand_out;
    } catch (const std::exception &problem) {
        complain(problem.what());
        return nullptr;
    }
}

extern "C" __attribute__((ifunc("kslcfg_look_up"))) int32_t __ksl_get_cfg(const ksl_cfg_record **records);
