// SPDX-License-Identifier: Apache-2.0
#include "expected_records.h"

#include <algorithm>
#include <iterator>
#include <ksl/decode.h>
#include <ksl/registers.h>

namespace kslcfg {
namespace {

bool is_at(const ksl_cfg_record &record, const ksl_register &place) {
    return record.page == place.page && record.offset == place.offset;
}

// The second and third byte of the VLAN table address end with the VLAN id.
uint32_t vid_of(const ksl_cfg_record &address) {
    return ksl_value16(address.value + 1) & 0xFFF;
}

} // namespace

bool is_last(const ksl_cfg_record &record) {
    return record.page == 0 && record.offset == 0 && record.end_flag == 1;
}

std::array<RecordValue, KSL_PORTS> expected_pvids(const ksl_cfg_record *records) {
    std::array<RecordValue, KSL_PORTS> pvids{};
    for (const ksl_cfg_record *record = records; !is_last(*record); ++record) {
        if (record->page != ksl_pvid_register.page || record->offset < ksl_pvid_register.offset) {
            continue;
        }
        const uint32_t port = (record->offset - uint32_t{ksl_pvid_register.offset}) / ksl_pvid_register.offset_step;
        if (port < KSL_PORTS) {
            pvids[port] = {};
            std::copy_n(record->value, ksl_pvid_register.length, pvids[port].begin());
        }
    }
    return pvids;
}

ExpectedVlanEntry expected_vlan_entry(const ksl_cfg_record *records, uint32_t vid) {
    ExpectedVlanEntry expected;
    for (const ksl_cfg_record *record = records; !is_last(*record); ++record) {
        if (is_at(*record, ksl_vlan_table_entry_register)) {
            std::copy(std::begin(record->value), std::end(record->value), expected.bytes.begin());
        } else if (is_at(*record, ksl_vlan_table_address_register) && vid_of(*record) == vid) {
            expected.named = true;
            break;
        }
    }
    return expected;
}

} // namespace kslcfg
