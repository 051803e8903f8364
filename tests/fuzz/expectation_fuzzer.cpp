// SPDX-License-Identifier: Apache-2.0
// Any text as an expected configuration: one that can be written and read again and become records, or one clear
// sentence.
#include "lines.h"

#include <expectation.h>
#include <expected_records.h>

namespace {

using namespace fuzz;
using kslcfg::Expectation;

void check_values(const Expectation &expectation) {
    for (const kslcfg::Pvid &pvid : expectation.pvids) {
        require(pvid.vid <= kslcfg::kLastPvid && pvid.priority <= kslcfg::kLastPriority, "a PVID fits its register");
    }
    for (const kslcfg::VlanEntry &entry : expectation.vlans) {
        require(entry.vid >= 1 && entry.vid <= kslcfg::kLastVid && entry.field <= kslcfg::kLastField &&
                    (entry.upper | entry.lower) >> kslcfg::kMapBits == 0,
                "an entry fits the VLAN table");
        require(kslcfg::find_vlan(expectation, entry.vid) == &entry, "a VLAN is stated once");
    }
    for (const kslcfg::Setting &setting : expectation.registers) {
        require(!setting.bytes.empty() && setting.bytes.size() <= kslcfg::kRegisterBytesMax &&
                    setting.offset + setting.bytes.size() <= 256,
                "a register has 1 to 8 bytes within its page");
    }
}

void check_records(const Expectation &expectation) {
    const std::vector<ksl_cfg_record> records = kslcfg::records(expectation);
    require(std::find_if(records.begin(), records.end(), kslcfg::is_last) == records.end() - 1,
            "the last record alone ends");
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        require(kslcfg::pvid_from(records[port].value) == expectation.pvids[port], "the first records are the PVIDs");
    }
    for (const kslcfg::VlanEntry &entry : expectation.vlans) {
        const kslcfg::ExpectedVlanEntry found = kslcfg::expected_vlan_entry(records.data(), entry.vid);
        require(found.named && kslcfg::vlan_entry_from(entry.vid, found.bytes.data()) == entry,
                "the records name each VLAN after all of its entry");
    }
    const size_t others = KSL_PORTS + expectation.registers.size() + 2 * expectation.vlans.size();
    require(records.size() == others + 2,
            "nothing else is among the records but an entry that is not valid and the end");
    require(!kslcfg::vlan_entry_from(0, records[others].value).valid, "an entry that is not valid is the last");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    Expectation expectation;
    try {
        expectation = kslcfg::parse({reinterpret_cast<const char *>(bytes), size});
    } catch (const kslcfg::Unusable &problem) {
        require_complaint(problem.what());
        return 0;
    }
    check_values(expectation);
    check_records(expectation);
    require(kslcfg::parse(kslcfg::to_json(expectation)) == expectation, "what is written is read as the same");
    return 0;
}
