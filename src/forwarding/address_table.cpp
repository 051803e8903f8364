// SPDX-License-Identifier: Apache-2.0
// The address table, walked through its access register.
#include "frame/register_access.h"

#include <hwa.h>

namespace {

using namespace ksl;

constexpr uint32_t kAddressTablePage = 0x05;
constexpr uint32_t kAccessOffset = 0x24;
constexpr uint8_t kEntryReady = 0x80;

} // namespace

extern "C" void __KSL_READ_ARL_TABLE(uint32_t chip, void (*callback)(const uint8_t *entry)) {
    uint8_t status = 0;
    uint8_t entry[kRegisterBytes] = {};
    const uint8_t start[kRegisterBytes] = {kEntryReady};

    __hwa_setreg(chip, kAddressTablePage, kAccessOffset, 1, start);
    __hwa_getreg(chip, kAddressTablePage, kAccessOffset, 1, &status);
    // Straight to the lower library: an entry costs two accesses and no look-up.
    while (status == kEntryReady) {
        hwa_getreg(static_cast<uint8_t>(chip), kAddressTablePage, kAccessOffset, kRegisterBytes, entry);
        callback(entry);
        hwa_getreg(static_cast<uint8_t>(chip), kAddressTablePage, kAccessOffset, 1, &status);
    }
}
