// SPDX-License-Identifier: Apache-2.0
#include "kslctl/commands/report.h"

#include "support/standard_streams.h"

#include <utility>

namespace kslctl {

void Report::fail(const hub::Failure &failure) {
    keep(views::failure(failure, simulated_));
}

void Report::fail(const std::string &sentence) {
    keep(views::failure(sentence));
}

void Report::keep(const views::Shown &failure) {
    tools::complain("kslctl", failure.text);
    errors_.push_back(failure.json);
    has_failures_ = true;
}

void Report::note(const std::string &sentence) {
    tools::complain("kslctl note", sentence);
}

Json Report::take_errors() {
    return std::exchange(errors_, Json::array());
}

} // namespace kslctl
