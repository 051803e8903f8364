// SPDX-License-Identifier: Apache-2.0
// The address table entry by entry, walked through its access register. The walk has no frame: it leaves no trace and
// ignores every result.
#include "frame/lower_library.h"

#include <hwa.h>
#include <ksl/registers.h>

namespace {

using namespace ksl;

// Command and status are the first byte of the register that holds the entry.
constexpr ksl_register kEntry = ksl_address_entry_register;

constexpr uint8_t kEntryReady = 0x80;

} // namespace

extern "C" void __KSL_READ_ARL_TABLE(uint32_t chip, void (*callback)(const uint8_t *entry)) {
    uint8_t status = 0;
    uint8_t entry[kEntry.length] = {};
    const uint8_t start[kEntry.length] = {kEntryReady};

    __hwa_setreg(chip, kEntry.page, kEntry.offset, 1, start);
    __hwa_getreg(chip, kEntry.page, kEntry.offset, 1, &status);
    // These call the lower library by its link-time name: an entry costs two accesses and no look-up.
    while (status == kEntryReady) {
        hwa_getreg(low_byte(chip), kEntry.page, kEntry.offset, kEntry.length, entry);
        callback(entry);
        hwa_getreg(low_byte(chip), kEntry.page, kEntry.offset, 1, &status);
    }
}
