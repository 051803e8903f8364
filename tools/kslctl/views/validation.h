// SPDX-License-Identifier: Apache-2.0
// The hub compared with what is expected of it.
#pragma once

#include "kslctl/hub/validation.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// With `raw` the values are bytes.
Shown pvid_validation(const hub::PvidValidation &validation, bool raw, const Style &style);
Shown vlan_validations(const std::vector<hub::VlanValidation> &validations, bool raw, const Style &style);
Shown vlan_enable_validation(const hub::Verdict &verdict, const Style &style);

} // namespace kslctl::views
