// SPDX-License-Identifier: Apache-2.0
// The rules applied to a chip and its ports.
#pragma once

#include "kslctl/hub/rules.h"

namespace kslctl::hub {

struct Finding {
    const Rule *rule;
    std::vector<uint32_t> ports; // that it is about; none: the whole chip
    std::string seen;
    std::string command; // what follows "kslctl"
};

// A rule that may be met or not.
struct NotJudged {
    const Rule *rule;
    std::vector<uint32_t> ports; // none: of the chip
    Failure because;
};

struct Diagnosis {
    std::vector<Finding> findings; // the worst first, then by ports
    std::vector<NotJudged> not_judged;
};

// Findings of the chip that are about other ports than those of the facts are left out.
Diagnosis diagnose(const ChipFacts &facts);

} // namespace kslctl::hub
