// SPDX-License-Identifier: Apache-2.0
// The entry points that both generations of the library have.
#include "chip/addresses.h"
#include "chip/configurations.h"
#include "chip/controller.h"
#include "chip/registers.h"
#include "hub.h"
#include "hwa.h"
#include "hwa_sim.h"
#include "state/log.h"

using namespace hwa;

namespace {

std::string on_chip(uint32_t chip) {
    return "chip=" + std::to_string(chip);
}

// The log does not show longer commands: none makes sense.
constexpr uint32_t kLongestShown = 64;

} // namespace

extern "C" {

int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    return read_access(Entry::getreg, chip, page, offset, length, buffer,
                       [&] { return on_chip(chip) + " " + place(page, offset, length); });
}

int32_t hwa_setreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, const uint8_t *buffer) {
    const bool fits = is_register(offset, length);
    const std::span<const uint8_t> given =
        fits && buffer != nullptr ? std::span(buffer, length) : std::span<const uint8_t>();
    const auto describe = [&] {
        return on_chip(chip) + " " + place(page, offset, length) + (given.empty() ? "" : " bytes=" + hex(given));
    };
    return perform({Entry::setreg, chip, page, offset}, describe, [&](const Visit &visit) -> int32_t {
        if (buffer == nullptr) {
            return HWA_SIM_NULL_POINTER;
        }
        if (!fits) {
            return HWA_SIM_BAD_LENGTH;
        }
        std::array<uint8_t, kMaxRegister> arrived{};
        write_register(visit.transaction, visit.chip, page, offset, pass(visit.effects, given, arrived.data()));
        return 0;
    });
}

int32_t hwa_getmacs(uint8_t chip, void *entries, uint32_t *count) {
    const uint32_t room = count != nullptr ? *count : 0;
    const auto describe = [&] { return on_chip(chip) + " room=" + std::to_string(room); };
    return perform({Entry::getmacs, chip, {}, {}}, describe, [&](const Visit &visit) -> int32_t {
        if (entries == nullptr || count == nullptr) {
            return HWA_SIM_NULL_POINTER;
        }
        std::vector<uint8_t> raw;
        AddressScan scan(visit.chip);
        for (*count = 0; *count < room; ++*count) {
            const AddressImage *const entry = scan.next();
            if (entry == nullptr) {
                break;
            }
            raw.insert(raw.end(), entry->raw.begin(), entry->raw.end());
        }
        pass(visit.effects, raw, static_cast<uint8_t *>(entries));
        visit.answer = " count=" + std::to_string(*count);
        return 0;
    });
}

int32_t hwa_engpowercmd(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length) {
    const auto describe = [&] {
        const bool shown = command != nullptr && length <= kLongestShown;
        return "length=" + std::to_string(length) + (shown ? " bytes=" + hex(std::span(command, length)) : "");
    };
    const bool complete = command != nullptr && response != nullptr && response_length != nullptr;
    const std::optional<uint8_t> chip = complete ? version_asked_for(std::span(command, length)) : std::nullopt;
    if (!chip) {
        return perform_without_chip(Entry::engpowercmd, describe,
                                    [&]() -> int32_t { return complete ? HWA_SIM_REFUSED : HWA_SIM_NULL_POINTER; });
    }
    return perform({Entry::engpowercmd, *chip, {}, {}}, describe, [&](const Visit &visit) -> int32_t {
        if (*response_length < kVersionLength) {
            return HWA_SIM_BAD_LENGTH;
        }
        *response_length = kVersionLength;
        visit.answer = " bytes=" + hex(pass(visit.effects, visit.chip.firmware, response));
        return 0;
    });
}

int32_t hwa_setswitchconfig(uint8_t chip, uint32_t configuration) {
    const auto describe = [&] { return on_chip(chip) + " configuration=" + std::to_string(configuration); };
    return perform({Entry::setswitchconfig, chip, {}, {}}, describe, [&](const Visit &visit) -> int32_t {
        return configure(visit.transaction, visit.chip, configuration) ? 0 : HWA_SIM_REFUSED;
    });
}

int32_t hwa_setmacfilter(uint8_t chip, uint32_t filter) {
    const auto describe = [&] { return on_chip(chip) + " filter=" + hex(filter, 8); };
    // There is no traffic for a filter to stop.
    return perform({Entry::setmacfilter, chip, {}, {}}, describe, [](const Visit &) -> int32_t { return 0; });
}

int32_t hwa_resetswitch(uint32_t chip) {
    return perform(
        {Entry::resetswitch, chip, {}, {}}, [&] { return on_chip(chip); },
        [](const Visit &visit) -> int32_t {
            visit.transaction.reset(visit.chip);
            return 0;
        });
}

const char *hwa_simulation(void) {
    return description();
}

} // extern "C"
