// SPDX-License-Identifier: Apache-2.0
// Any text as an expected configuration: one that can be written and read again and become records, or one clear
// sentence.
#include "require.h"

#include <expectation.h>

#include <algorithm>
#include <string_view>

namespace {

using namespace fuzz;
using kslcfg::Expectation;

bool is_last(const ksl_cfg_record &record) {
    return record.page == 0 && record.offset == 0 && record.end_flag == 1;
}

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
    require(std::find_if(records.begin(), records.end(), is_last) == records.end() - 1, "the last record alone ends");
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        require(kslcfg::pvid_from(records[port].value) == expectation.pvids[port], "the first records are the PVIDs");
    }
    // Entries stand in pairs of content and number, behind everything else but two.
    size_t at = KSL_PORTS + expectation.registers.size();
    for (const kslcfg::VlanEntry &entry : expectation.vlans) {
        require(kslcfg::vlan_entry_from(entry.vid, records[at].value) == entry, "a record holds all of its entry");
        require(((records[at + 1].value[1] & 0xFU) << 8 | records[at + 1].value[2]) == entry.vid, "and is named after");
        at += 2;
    }
    require(at + 2 == records.size(), "nothing else is among the records");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    Expectation expectation;
    try {
        expectation = kslcfg::parse({reinterpret_cast<const char *>(bytes), size});
    } catch (const kslcfg::Unusable &problem) {
        const std::string_view words = problem.what();
        require(words.starts_with("line "), "what cannot be used is told with its line");
        const auto breaks = [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; };
        require(std::none_of(words.begin(), words.end(), breaks), "and in one line");
        return 0;
    }
    check_values(expectation);
    check_records(expectation);
    require(kslcfg::parse(kslcfg::to_json(expectation)) == expectation, "what is written is read as the same");
    return 0;
}
