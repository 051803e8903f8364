// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/failures.h"

#include <algorithm>

namespace kslctl::hub {

bool have_same_cause(const Failure &one, const Failure &other) {
    // The code -1 is also the library's own, for arguments that it refuses.
    return one.chip == other.chip && one.code == other.code && one.refusal == other.refusal &&
           (one.code != 0 || one.reason == other.reason);
}

std::vector<Failures> by_cause(const Failures &failures) {
    std::vector<Failures> groups;
    for (const Failure &failure : failures) {
        const auto group = std::find_if(groups.begin(), groups.end(), [&](const Failures &others) {
            return have_same_cause(others.front(), failure);
        });
        if (group == groups.end()) {
            groups.push_back({failure});
        } else {
            group->push_back(failure);
        }
    }
    return groups;
}

} // namespace kslctl::hub
