// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/chip.h"

#include "kslctl/hub/registers.h"

#include <ksl/ksl.h>

namespace kslctl::hub {

Fact<FirmwareVersion> read_firmware_version(uint32_t chip, Failures &failures) {
    FirmwareVersion version{};
    uint32_t length = 0;
    if (const int32_t code = ksl_read_EPN_firmware_version(chip, version.data(), &length); code != 0) {
        return note(failures, {chip, "ksl_read_EPN_firmware_version", "firmware version", code});
    }
    return version;
}

bool answers(uint32_t chip, Failures &failures) {
    return read(registers::switch_mode, chip, 0, failures).is_read();
}

bool can_perform(const Action &action, uint32_t chip, Failures &failures) {
    return !action.reaches_chip || answers(chip, failures);
}

bool perform(const Action &action, uint32_t chip, Failures &failures) {
    const int32_t code = action.run(chip);
    if (code != 0) {
        note(failures, {chip, action.operation, action.about, code, action.undone});
    }
    return code == 0;
}

Action reset_switch() {
    return {"ksl_reset_switch", "switch", "not reset", ksl_reset_switch};
}

Action select_configuration(uint32_t configuration) {
    return {"dbg_ksl_set_EPN_configuration", "hub configuration", "not set",
            [configuration](uint32_t chip) { return dbg_ksl_set_EPN_configuration(chip, configuration); }};
}

Action pass_mac_filter(uint32_t filter) {
    return {"ksl_set_MAC_filter", "MAC filter", "not set",
            [filter](uint32_t chip) { return ksl_set_MAC_filter(chip, filter); }, false};
}

} // namespace kslctl::hub
