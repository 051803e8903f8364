// SPDX-License-Identifier: Apache-2.0
// The chip's VLAN settings compared with those that a configuration library expects.
#include "frame/call_frame.h"
#include "vlan/table.h"
#include "vlan/trace_points.h"

#include <cstring>
#include <dlfcn.h>
#include <ksl/decode.h>
#include <ksl/registers.h>

extern "C" {
// The configuration library; null at load and after a comparison.
void *ksl_cfg_handle;
}

namespace {

using namespace ksl;

// The records written on the way to the expected settings.
struct ConfigurationPlaces {
    TracePlace<0> no_path;
    TracePlace<1> not_opened;
    TracePlace<0> opened;
    TracePlace<0> no_entry_point;
    TracePlace<0> asking;
};

// Opens the configuration library and returns the first of its records, or null if it has none to compare with. A
// missing path and the library's own answer set `result`; a library that is of no use leaves it, and so the operation
// succeeds without a verdict. The library stays open, also after a failure: only a comparison closes it.
const ksl_cfg_record *open_configuration(const char *path, const ConfigurationPlaces &places, int32_t &result) {
    if (path == nullptr) {
        trace(places.no_path);
        result = -1;
        return nullptr;
    }
    // A handle that an earlier operation left is given up, and its library stays loaded.
    ksl_cfg_handle = dlopen(path, RTLD_NOW | RTLD_GLOBAL);
    if (ksl_cfg_handle == nullptr) {
        trace(places.not_opened, dlerror());
        return nullptr;
    }
    trace(places.opened);
    const auto get_cfg = reinterpret_cast<decltype(&__ksl_get_cfg)>(dlsym(ksl_cfg_handle, "__ksl_get_cfg"));
    if (get_cfg == nullptr) {
        trace(places.no_entry_point);
        return nullptr;
    }
    trace(places.asking);
    const ksl_cfg_record *records = nullptr;
    result = get_cfg(&records);
    return records;
}

void close_configuration() {
    dlclose(ksl_cfg_handle);
    ksl_cfg_handle = nullptr;
}

constexpr bool is_last(const ksl_cfg_record &record) {
    return record.page == 0 && record.offset == 0 && record.end_flag == 1;
}

// ---- PVIDs ----

// The expected PVID registers by port; a later record of a port replaces an earlier one.
void expect_pvids(const ksl_cfg_record *record, ksl_word (&expected)[KSL_PORTS]) {
    constexpr ksl_register kPvid = ksl_pvid_register;
    for (; !is_last(*record); ++record) {
        if (record->page != kPvid.page || record->offset < kPvid.offset) {
            continue;
        }
        // A record may name either byte of a register. Those after the last port's are none of a port.
        const uint32_t port = (uint32_t{record->offset} - kPvid.offset) / kPvid.offset_step;
        if (port < KSL_PORTS) {
            memcpy(&expected[port], record->value, kPvid.length);
        }
    }
}

bool same_pvid(const ksl_word &found, const ksl_word &expected) {
    return ksl_pvid_vid(&found) == ksl_pvid_vid(&expected) && ksl_pvid_priority(&found) == ksl_pvid_priority(&expected);
}

void trace_pvids(TracePlace<5> place, uint32_t port, const ksl_word &found, const ksl_word &expected) {
    trace(place, port, ksl_pvid_vid(&found), ksl_pvid_priority(&found), ksl_pvid_vid(&expected),
          ksl_pvid_priority(&expected));
}

// Traces every port, then those that differ.
bool same_pvids(const ksl_word (&found)[KSL_PORTS], const ksl_word (&expected)[KSL_PORTS]) {
    trace(points::validate_VLAN_PVID_set_comparing);
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        trace_pvids(points::validate_VLAN_PVID_set_port, port, found[port], expected[port]);
    }
    uint32_t mismatch = 0;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        if (!same_pvid(found[port], expected[port])) {
            trace_pvids(points::validate_VLAN_PVID_set_differs, port, found[port], expected[port]);
            mismatch = 1;
        }
    }
    trace(points::validate_VLAN_PVID_set_mismatch, mismatch);
    return mismatch == 0;
}

// ---- The VLAN table ----

// The last entry before the first address record of the VLAN; without such a record, the last one of all.
void expect_vlan_entry(const ksl_cfg_record *record, uint32_t vid, uint8_t *entry) {
    for (; !is_last(*record); ++record) {
        if (record->page != ksl_vlan_table_entry_register.page) {
            continue;
        }
        if (record->offset == ksl_vlan_table_entry_register.offset) {
            memcpy(entry, record->value, ksl_vlan_table_entry_register.length);
        } else if (record->offset == ksl_vlan_table_address_register.offset && addressed_vlan(record->value) == vid) {
            trace(points::validate_VLAN_map_vid_found, vid);
            return;
        }
    }
}

// The field between the valid bit and the port maps does not matter.
constexpr bool same_vlan_entry(const ksl_vlan_entry &found, const ksl_vlan_entry &expected) {
    return found.valid == 1 && expected.valid == 1 && found.upper_map == expected.upper_map &&
           found.lower_map == expected.lower_map;
}

} // namespace

extern "C" int32_t ksl_validate_VLAN_PVID_set(uint32_t chip, const char *path, uint32_t *verdict) {
    static constexpr ConfigurationPlaces kPlaces{
        .no_path = points::validate_VLAN_PVID_set_no_path,
        .not_opened = points::validate_VLAN_PVID_set_not_opened,
        .opened = points::configuration_opened,
        .no_entry_point = points::validate_VLAN_PVID_set_no_entry_point,
        .asking = points::validate_VLAN_PVID_set_asking,
    };
    const CallFrame frame;
    trace(points::validate_VLAN_PVID_set_entry, chip, path, verdict);
    // Before any check: no failure leaves an old verdict.
    *verdict = 0;
    int32_t result = 0;
    const ksl_cfg_record *const records = open_configuration(path, kPlaces, result);
    if (records != nullptr) {
        trace(points::validate_VLAN_PVID_set_records, records);
        trace(points::validate_VLAN_PVID_set_first_page, records->page);
        ksl_word expected[KSL_PORTS] = {};
        expect_pvids(records, expected);
        ksl_word found[KSL_PORTS] = {};
        result = ksl_read_VLAN_PVID_regs(chip, found);
        if (result == 0) {
            *verdict = same_pvids(found, expected) ? 1 : 0;
            close_configuration();
        } else {
            trace(points::validate_VLAN_PVID_set_unread);
        }
    }
    trace(points::validate_VLAN_PVID_set_exit, *verdict, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_validate_VLAN_map(uint32_t chip, uint32_t vid, const char *path, uint32_t *verdict) {
    static constexpr ConfigurationPlaces kPlaces{
        .no_path = points::validate_VLAN_map_no_path,
        .not_opened = points::validate_VLAN_map_not_opened,
        .opened = points::configuration_opened,
        .no_entry_point = points::validate_VLAN_map_no_entry_point,
        .asking = points::validate_VLAN_map_asking,
    };
    const CallFrame frame;
    trace(points::validate_VLAN_map_entry, vid, path);
    *verdict = 0;
    int32_t result = 0;
    const ksl_cfg_record *const records = open_configuration(path, kPlaces, result);
    if (records != nullptr) {
        uint8_t bytes[ksl_vlan_table_entry_register.length] = {};
        expect_vlan_entry(records, vid, bytes);
        const ksl_vlan_entry expected = ksl_decode_vlan_entry(bytes);
        trace_vlan_entry(points::validate_VLAN_map_expected, expected);
        memset(bytes, 0, sizeof bytes);
        result = ksl_read_VLAN_map(chip, vid, bytes);
        if (result == 0) {
            const ksl_vlan_entry found = ksl_decode_vlan_entry(bytes);
            trace_vlan_entry(points::validate_VLAN_map_found, found);
            *verdict = same_vlan_entry(found, expected) ? 1 : 0;
            close_configuration();
        } else {
            trace(points::validate_VLAN_map_unread);
        }
    }
    trace(points::validate_VLAN_map_exit, *verdict, result);
    return frame.leave(result);
}
