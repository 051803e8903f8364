// SPDX-License-Identifier: Apache-2.0
// What is wrong with a chip and its ports.
#pragma once

#include "kslctl/hub/diagnosis.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// `kslctl` begins each command that is proposed: "kslctl --chip 1".
Shown diagnosis(const hub::Diagnosis &diagnosis, const std::string &kslctl, const Style &style);

// A line for each finding, and one for what is not judged.
std::vector<std::string> short_findings(const hub::Diagnosis &diagnosis, const Style &style);

// A line for each rule: its identifier, severity and title.
std::string rule_list();

} // namespace kslctl::views
