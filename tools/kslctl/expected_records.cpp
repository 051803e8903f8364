// SPDX-License-Identifier: Apache-2.0
#include "kslctl/expected_records.h"

#include <algorithm>
#include <register_areas.h>

namespace kslctl {

namespace {

bool is_last(const ksl_cfg_record &record) {
    return record.page == 0 && record.offset == 0 && record.end_flag == 1;
}

} // namespace

std::array<Bytes, KSL_PORTS> expected_pvids(const ksl_cfg_record *records) {
    std::array<Bytes, KSL_PORTS> pvids{};
    for (const ksl_cfg_record *record = records; !is_last(*record); ++record) {
        if (record->page != kslcfg::kVlanPage || record->offset < kslcfg::kPvidOffset) {
            continue;
        }
        if (const uint32_t port = (record->offset - kslcfg::kPvidOffset) / 2; port < KSL_PORTS) {
            pvids[port] = {record->value[0], record->value[1]};
        }
    }
    return pvids;
}

ExpectedVlanEntry expected_vlan_entry(const ksl_cfg_record *records, uint32_t vid) {
    ExpectedVlanEntry expected{{}, false};
    for (const ksl_cfg_record *record = records; !is_last(*record); ++record) {
        if (record->page != kslcfg::kTablePage) {
            continue;
        }
        if (record->offset == kslcfg::kTableDataOffset) {
            std::copy(std::begin(record->value), std::end(record->value), expected.bytes.begin());
        } else if (record->offset == kslcfg::kTableAddressOffset &&
                   ((record->value[1] & 0x0FU) << 8 | record->value[2]) == vid) {
            expected.named = true;
            break;
        }
    }
    return expected;
}

} // namespace kslctl
