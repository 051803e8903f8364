// SPDX-License-Identifier: Apache-2.0
// The two validations over any list of records that a configuration library can hand out. A
// model says what they should find. It looks at bytes where the library looks at words.
#include "input.h"
#include "platform.h"
#include "require.h"

#include <ksl/ksl.h>

#include <array>
#include <cstring>
#include <vector>

namespace {

using namespace fuzz;

using List = std::vector<ksl_cfg_record>;
using Entry = std::array<uint8_t, 8>;
using Pvids = std::array<std::array<uint8_t, 2>, KSL_PORTS>;

constexpr uint8_t kVlanPage = 0x34;
constexpr uint8_t kTablePage = 0x08;
constexpr uint8_t kPvids = 0x10;
constexpr uint8_t kTableAddress = 0x32;
constexpr uint8_t kTableData = 0x38;

bool ends(const ksl_cfg_record &record) {
    return record.page == 0 && record.offset == 0 && record.end_flag == 1;
}

// Records of the places that the validations look at, or near them, or of any bytes.
ksl_cfg_record take_record(Input &input, uint32_t vid) {
    ksl_cfg_record record{};
    const uint8_t kind = input.byte();
    record.reserved = kind;
    record.end_flag = kind >> 7;
    switch (kind % 4) {
    case 0:
        record.page = kVlanPage;
        record.offset = static_cast<uint8_t>(kPvids - 2 + input.up_to(2 * KSL_PORTS + 3));
        break;
    case 1:
        record.page = kTablePage;
        record.offset = kTableData;
        break;
    case 2:
        record.page = kTablePage;
        record.offset = kTableAddress;
        // That of the VLAN, but for a bit that may differ.
        record.value[1] = static_cast<uint8_t>(vid >> 8);
        record.value[2] = static_cast<uint8_t>(vid);
        {
            const uint32_t at = input.up_to(7);
            record.value[at] ^= input.byte();
        }
        return record;
    default:
        record.page = input.byte();
        record.offset = input.byte();
        record.end_flag = input.byte();
    }
    input.fill(record.value, sizeof record.value);
    return record;
}

List take_list(Input &input, uint32_t vid) {
    List list;
    for (uint32_t count = input.up_to(40); count > 0; --count) {
        list.push_back(take_record(input, vid));
    }
    list.push_back({0, 0, 0, 1, {}});
    // Nothing follows the last: a sanitizer sees who reads on.
    list.shrink_to_fit();
    return list;
}

Pvids expected_pvids(const List &list) {
    Pvids pvids{};
    for (size_t i = 0; !ends(list[i]); ++i) {
        const int at = list[i].offset - kPvids;
        if (list[i].page == kVlanPage && at >= 0 && at < 2 * KSL_PORTS) {
            std::memcpy(pvids[static_cast<size_t>(at) / 2].data(), list[i].value, 2);
        }
    }
    return pvids;
}

Entry expected_entry(const List &list, uint32_t vid) {
    Entry entry{};
    for (size_t i = 0; !ends(list[i]); ++i) {
        const ksl_cfg_record &record = list[i];
        if (record.page != kTablePage) {
            continue;
        }
        if (record.offset == kTableData) {
            std::memcpy(entry.data(), record.value, entry.size());
        } else if (record.offset == kTableAddress && ((record.value[1] & 0xFU) << 8 | record.value[2]) == vid) {
            break;
        }
    }
    return entry;
}

// But for the bit between VLAN id and priority.
bool same(const Pvids &expected, const Pvids &found) {
    for (size_t port = 0; port < KSL_PORTS; ++port) {
        if (((expected[port][0] ^ found[port][0]) & 0xEF) != 0 || expected[port][1] != found[port][1]) {
            return false;
        }
    }
    return true;
}

// Both valid, and with the same 54 bits of port maps.
bool same(const Entry &expected, const Entry &found) {
    return (expected[0] & found[0] & 0x08) != 0 && ((expected[1] ^ found[1]) & 0x3F) == 0 &&
           std::memcmp(&expected[2], &found[2], 6) == 0;
}

// What the chip has: what is expected, but for a few bits.
template <class Registers>
Registers altered(Registers registers, Input &input) {
    auto *const bytes = reinterpret_cast<uint8_t *>(registers.data());
    for (uint32_t count = input.up_to(3); count > 0; --count) {
        const size_t at = input.byte() % sizeof registers;
        bytes[at] ^= input.byte();
    }
    return registers;
}

void check(const Platform &platform, bool compared, bool same, int32_t uncompared_result, int32_t result,
           uint32_t verdict) {
    if (!compared) {
        require(result == uncompared_result && verdict == 0, "without a list there is no verdict");
    } else {
        require(result == platform.first_failure, "what could not be read is the result");
        require(verdict == (result == 0 && same ? 1U : 0U), "the verdict is that of the model");
    }
    require(platform.accesses_after_failure == 0, "nothing is accessed after a failure");
    const bool finished = compared && result == 0;
    require(platform.closed_configurations == (finished ? 1U : 0U), "a comparison closes the configuration library");
    require(!finished || ksl_cfg_handle == nullptr, "and forgets it");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    Input input(bytes, size);
    Platform platform(input);
    ksl_init();
    ksl_cfg_handle = nullptr;

    // How the list is come by; all of it goes well for bytes of zero.
    const bool of_vlan = input.flag();
    const char *const path = input.byte() == 0xFF ? nullptr : "/opt/libcfg.so";
    platform.configuration_opens = input.byte() != 0xFF;
    platform.configuration_answers = input.byte() != 0xFF;
    platform.list_result = static_cast<int32_t>(input.byte());
    const uint32_t vid = 1 + (input.up_to(255) << 4 | input.up_to(15)) % 4094;
    const List list = take_list(input, vid);
    const List as_handed_out = list;
    platform.list = input.byte() == 0xFF ? nullptr : list.data();

    const bool answers = path != nullptr && platform.configuration_opens && platform.configuration_answers;
    const bool compared = answers && platform.list != nullptr;
    const int32_t uncompared_result = path == nullptr ? -1 : answers ? platform.list_result : 0;

    const Entry entry = expected_entry(list, vid);
    const Entry chip_entry = altered(entry, input);
    const Pvids pvids = expected_pvids(list);
    const Pvids chip_pvids = altered(pvids, input);
    platform.content = [&](uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
        const bool of_table = page == kTablePage && offset == kTableData && length == 8;
        require(of_table || (page == kVlanPage && length == 2), "a validation reads nothing but what it compares");
        std::memcpy(buffer, of_table ? chip_entry.data() : chip_pvids[(offset - kPvids) / 2U].data(), length);
        return true;
    };

    uint32_t verdict = 0xA5A5A5A5;
    platform.begin();
    if (of_vlan) {
        const int32_t result = ksl_validate_VLAN_map(0, vid, path, &verdict);
        check(platform, compared, same(entry, chip_entry), uncompared_result, result, verdict);
    } else {
        const int32_t result = ksl_validate_VLAN_PVID_set(0, path, &verdict);
        check(platform, compared, same(pvids, chip_pvids), uncompared_result, result, verdict);
    }
    require(std::memcmp(list.data(), as_handed_out.data(), list.size() * sizeof list[0]) == 0, "the list is only read");
    ksl_terminate();
    return 0;
}
