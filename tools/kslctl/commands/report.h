// SPDX-License-Identifier: Apache-2.0
// What went wrong: on stderr at once, and kept for the JSON document and the exit status.
#pragma once

#include "kslctl/views/failure.h"

namespace kslctl {

class Report {
public:
    // The codes of a simulated hub can be explained.
    void set_simulated(bool simulated) { simulated_ = simulated; }

    void fail(const hub::Failure &failure);
    // A failure of anything else, as one sentence.
    void fail(const std::string &sentence);

    // What the user should know although nothing went wrong.
    static void note(const std::string &sentence);

    bool has_failures() const { return has_failures_; }
    const Json &errors() const { return errors_; }
    // The same, once.
    Json take_errors();

private:
    void keep(const views::Shown &failure);

    bool simulated_ = false;
    bool has_failures_ = false;
    Json errors_ = Json::array();
};

} // namespace kslctl
