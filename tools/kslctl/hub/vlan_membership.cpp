// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/vlan_membership.h"

namespace kslctl::hub {

namespace {

std::vector<uint32_t> vlans_with(const VlanEntries &vlans, uint32_t port, bool valid) {
    std::vector<uint32_t> vids;
    for (const auto &[vid, vlan] : vlans) {
        if ((vlan.valid != 0) == valid && has_port(vlan, port)) {
            vids.push_back(vid);
        }
    }
    return vids;
}

} // namespace

bool has_port(const ksl_vlan_entry &vlan, uint32_t port) {
    return ((vlan.upper_map | vlan.lower_map) >> port & 1) != 0;
}

bool is_valid(const VlanEntries &vlans, uint32_t vid) {
    const auto vlan = vlans.find(vid);
    return vlan != vlans.end() && vlan->second.valid != 0;
}

bool leaves_out(const VlanEntries &vlans, uint32_t vid, uint32_t port) {
    return is_valid(vlans, vid) && !has_port(vlans.at(vid), port);
}

std::vector<uint32_t> valid_vlans_with(const VlanEntries &vlans, uint32_t port) {
    return vlans_with(vlans, port, true);
}

std::vector<uint32_t> invalid_vlans_with(const VlanEntries &vlans, uint32_t port) {
    return vlans_with(vlans, port, false);
}

} // namespace kslctl::hub
