// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/untagged.h"

#include "kslctl/hub/chip_facts.h"

namespace kslctl::hub {

namespace {

std::vector<uint32_t> ports_with(uint32_t vid, const Changes &changes) {
    std::vector<uint32_t> ports;
    for (const ChangedRegister &row : changes.registers) {
        if (row.which == &registers::pvid && row.after.is_read() && decode_pvid(*row.after).vid == vid) {
            ports.push_back(row.port);
        }
    }
    return ports;
}

Fact<ksl_vlan_entry> read_entry(uint32_t chip, uint32_t vid, Failures &failures) {
    if (vid < kFirstVlan || vid > kLastVlan) {
        return ksl_vlan_entry{}; // the table has none, so it is not valid
    }
    return read_vlan_entry(chip, vid, failures).map([](const Bytes &bytes) {
        return ksl_decode_vlan_entry(bytes.data());
    });
}

} // namespace

Fact<UntaggedTrouble> read_untagged_trouble(uint32_t chip, uint32_t vid, const Changes &changes, Failures &failures) {
    std::vector<uint32_t> ports = ports_with(vid, changes);
    if (ports.empty()) {
        return {};
    }
    const Fact<bool> enabled = read_vlan_enable(chip, failures).enabled;
    if (const Failure *const failure = enabled.failure()) {
        return *failure;
    }
    if (!*enabled) {
        return {};
    }
    return read_entry(chip, vid, failures)
        .map([&](const ksl_vlan_entry &vlan) {
            if (vlan.valid != 0) {
                std::erase_if(ports, [&](uint32_t port) { return has_port(vlan, port); });
            }
            return UntaggedTrouble{vlan.valid != 0, ports};
        })
        .where([](const UntaggedTrouble &trouble) { return !trouble.ports.empty(); });
}

} // namespace kslctl::hub
