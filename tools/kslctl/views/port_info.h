// SPDX-License-Identifier: Apache-2.0
// Everything about a port, on one screen.
#pragma once

#include "kslctl/hub/port_info.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// `kslctl` begins each command that is proposed.
Shown port_infos(const std::vector<hub::PortInfo> &infos, hub::Time time, const hub::CounterNames &names,
                 const std::string &kslctl, const Style &style);

} // namespace kslctl::views
