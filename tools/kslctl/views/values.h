// SPDX-License-Identifier: Apache-2.0
// What kslctl shows for a value, in every view that shows it.
#pragma once

#include "kslctl/hub/chip.h"
#include "kslctl/hub/forwarding.h"
#include "kslctl/hub/ports.h"
#include "kslctl/hub/vlans.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

Cell port_control(hub::PortControl control);
Cell phy_control(const hub::PhyControl &phy);

Cell self_test(const hub::SelfTest &test);
Cell mode(const hub::Mode &mode);

Cell firmware_version(const hub::FirmwareVersion &version);

Cell link_state(bool link);
Cell duplex_mode(hub::Duplex duplex);
Cell link(const hub::PortStatus &port);
Cell speed(const hub::PortStatus &port);
Cell duplex(const hub::PortStatus &port);

Cell trunk_control(bool enabled);
Cell trunk_group(const hub::TrunkGroup &group);
Cell mirror_control(const hub::MirrorControl &control);
Cell learning_limit(uint32_t limit);
Cell port_numbers(const std::vector<uint32_t> &ports);

// The value of any register that is changed or compared.
Cell value_of(const hub::Register &which, const hub::Bytes &bytes);
// The same of a fact, or with `raw` its bytes.
Cell value_or_bytes(const hub::Register &which, const hub::Fact<hub::Bytes> &fact, bool raw);

} // namespace kslctl::views
