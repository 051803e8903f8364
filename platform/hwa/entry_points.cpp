// SPDX-License-Identifier: Apache-2.0
// The entry points that both generations of the library have.
#include "hub.h"
#include "hwa.h"
#include "hwa_sim.h"
#include "log.h"
#include "registers.h"

using namespace hwa;

namespace {

std::string on_chip(std::uint32_t chip) {
    return "chip=" + std::to_string(chip);
}

// A command longer than any that makes sense is not shown.
constexpr std::uint32_t kLongestShown = 64;

} // namespace

extern "C" {

int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    return read_access(Entry::getreg, chip, page, offset, length, buffer,
                       [&] { return on_chip(chip) + " " + place(page, offset, length); });
}

int32_t hwa_setreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, const uint8_t *buffer) {
    const bool fits = is_register(offset, length);
    const std::span<const Byte> given = fits && buffer != nullptr ? std::span(buffer, length) : std::span<const Byte>();
    const auto describe = [&] {
        return on_chip(chip) + " " + place(page, offset, length) + (given.empty() ? "" : " bytes=" + hex(given));
    };
    return perform({Entry::setreg, chip, page, offset}, describe, [&](const Visit &visit) -> int32_t {
        if (buffer == nullptr)
            return HWA_SIM_NULL_POINTER;
        if (!fits)
            return HWA_SIM_BAD_LENGTH;
        std::array<Byte, kMaxRegister> arrived{};
        write_register(visit.transaction, visit.chip, page, offset, pass(visit.effects, given, arrived.data()));
        return 0;
    });
}

int32_t hwa_getmacs(uint8_t chip, void *entries, uint32_t *count) {
    const std::uint32_t room = count != nullptr ? *count : 0;
    const auto describe = [&] { return on_chip(chip) + " room=" + std::to_string(room); };
    return perform({Entry::getmacs, chip, {}, {}}, describe, [&](const Visit &visit) -> int32_t {
        if (entries == nullptr || count == nullptr)
            return HWA_SIM_NULL_POINTER;
        const auto known = static_cast<std::uint32_t>(from_bytes(visit.chip.address_count));
        *count = std::min(room, known);
        const std::span<const Byte> raw(visit.chip.addresses.data()->data(), *count * sizeof(AddressImage));
        pass(visit.effects, raw, static_cast<Byte *>(entries));
        visit.answer = " count=" + std::to_string(*count);
        return 0;
    });
}

int32_t hwa_engpowercmd(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length) {
    const auto describe = [&] {
        const bool shown = command != nullptr && length <= kLongestShown;
        return "length=" + std::to_string(length) + (shown ? " bytes=" + hex(std::span(command, length)) : "");
    };
    return perform_without_chip(Entry::engpowercmd, describe, [&]() -> int32_t {
        if (command == nullptr || response == nullptr || response_length == nullptr)
            return HWA_SIM_NULL_POINTER;
        return HWA_SIM_REFUSED; // the controller knows no command
    });
}

int32_t hwa_setswitchconfig(uint8_t chip, uint32_t configuration) {
    const auto describe = [&] { return on_chip(chip) + " configuration=" + std::to_string(configuration); };
    // The three configurations differ in nothing that is simulated.
    return perform({Entry::setswitchconfig, chip, {}, {}}, describe,
                   [&](const Visit &) -> int32_t { return configuration <= 2 ? 0 : HWA_SIM_REFUSED; });
}

int32_t hwa_setmacfilter(uint8_t chip, uint32_t filter) {
    const auto describe = [&] { return on_chip(chip) + " filter=" + hex(filter, 8); };
    // No traffic flows that a filter could stop.
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
