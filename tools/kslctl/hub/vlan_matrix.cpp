// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/vlan_matrix.h"

#include <algorithm>
#include <utility>

namespace kslctl::hub {

namespace {

bool has_entry(uint32_t vid) {
    return vid >= kFirstVlan && vid <= kLastVlan;
}

// Of a VLAN that is neither valid nor has ports.
Fact<Bytes> entry_outside(const Fact<VlanTable> &table, uint32_t chip, uint32_t vid, Failures &failures) {
    if (const Failure *const failure = table.failure()) {
        return *failure;
    }
    return has_entry(vid) ? read_vlan_entry(chip, vid, failures) : Fact<Bytes>();
}

std::optional<Failure> add_whole_table(VlanState &state, uint32_t chip, Failures &failures) {
    const Fact<VlanTable> table = read_vlan_table(chip, failures, VlanChoice::valid_or_with_ports);
    std::map<uint32_t, Fact<Bytes>> rows;
    if (table.is_read()) {
        rows.insert(table->begin(), table->end());
    }
    for (const PortPvid &port : state.ports) {
        if (port.pvid.is_read() && !rows.contains(port.pvid->vid)) {
            rows[port.pvid->vid] = entry_outside(table, chip, port.pvid->vid, failures);
        }
    }
    for (const auto &[vid, bytes] : rows) {
        add_entry(state, vid, bytes);
    }
    return table.is_read() ? std::nullopt : std::optional(*table.failure());
}

// A VLAN that the table cannot have is never valid.
VlanEntries judged(const VlanState &state) {
    VlanEntries entries;
    for (const VlanEntry &vlan : state.entries) {
        if (vlan.entry.failure() == nullptr) {
            entries[vlan.vid] = vlan.entry.is_read() ? *vlan.entry : ksl_vlan_entry{};
        }
    }
    return entries;
}

class Contradictions {
public:
    void add(const char *rule, uint32_t vid, uint32_t port) { found_[{vid, &rule_named(rule)}].push_back(port); }

    // In the order of the VLANs, the worst of a VLAN first.
    std::vector<Contradiction> list() const {
        std::vector<Contradiction> list;
        for (const auto &[of, ports] : found_) {
            list.push_back({of.second, of.first, ports});
        }
        return list;
    }

private:
    // Rules are in the order of their severities.
    std::map<std::pair<uint32_t, const Rule *>, std::vector<uint32_t>> found_;
};

std::vector<Contradiction> contradictions_of(const VlanState &state) {
    const VlanEntries entries = judged(state);
    Contradictions found;
    for (const auto &[port, pvid] : state.ports) {
        if (pvid.is_read() && entries.contains(pvid->vid) && !is_valid(entries, pvid->vid)) {
            found.add("pvid_vlan_invalid", pvid->vid, port);
        }
        if (pvid.is_read() && leaves_out(entries, pvid->vid, port)) {
            found.add("pvid_not_member", pvid->vid, port);
        }
        for (const uint32_t vid : invalid_vlans_with(entries, port)) {
            found.add("member_of_invalid_vlan", vid, port);
        }
    }
    return found.list();
}

} // namespace

VlanMatrix read_vlan_matrix(uint32_t chip, std::span<const uint32_t> vids, Failures &failures) {
    VlanMatrix matrix{.state = read_vlan_enable(chip, failures), .contradictions = {}};
    add_pvids(matrix.state, chip, all_ports(), failures);
    if (vids.empty()) {
        matrix.unread_table = add_whole_table(matrix.state, chip, failures);
    } else {
        add_entries(matrix.state, chip, vids, failures);
    }
    matrix.contradictions = contradictions_of(matrix.state);
    return matrix;
}

} // namespace kslctl::hub
