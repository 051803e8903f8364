// SPDX-License-Identifier: Apache-2.0
// Trunk groups, mirroring, and the addresses that ports have learned.
#pragma once

#include "kslctl/hub/forwarding.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

Shown trunks(const hub::Trunks &trunks, const Style &style);
Shown trunk_answer(const hub::TrunkQuestion &question, const hub::Fact<bool> &answer, const Style &style);
Shown mirroring(const hub::Mirroring &mirroring, const Style &style);
Shown learning(const std::vector<hub::PortLearning> &ports, const Style &style);

} // namespace kslctl::views
