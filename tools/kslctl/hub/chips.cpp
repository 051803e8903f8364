// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/chips.h"

#include <algorithm>
#include <ksl/decode.h>
#include <numeric>

namespace kslctl::hub {

std::vector<uint32_t> all_chip_numbers() {
    std::vector<uint32_t> numbers(UINT8_MAX + 1); // the library passes on the low 8 bits
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

ChipSearch search_chips(std::span<const uint32_t> numbers) {
    ChipSearch search;
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(search.found),
                 [&](uint32_t chip) { return answers(chip, search.silent); });
    return search;
}

ChipSummary read_chip_summary(uint32_t chip, Failures &failures) {
    const ChipStatus status =
        read_status(chip, {&registers::switch_mode, &registers::self_test, &registers::link_status}, failures);
    const auto count = [](const Bytes &links) {
        return static_cast<uint32_t>(ports_of(ksl_value32(links.data())).size());
    };
    return {chip, status.mode, status.self_test, status.registers[2].bytes.map(count),
            read_firmware_version(chip, failures)};
}

} // namespace kslctl::hub
