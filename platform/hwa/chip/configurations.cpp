// SPDX-License-Identifier: Apache-2.0
#include "chip/configurations.h"

#include "chip/ports.h"
#include "chip/stored.h"
#include "state/transaction.h"

#include <iterator>

namespace hwa {
namespace {

struct Configuration {
    uint8_t managed;
    uint8_t forwarding;
    uint8_t vlan_enable;
};

constexpr Configuration kConfigurations[] = {
    {1, 1, kVlanEnabled}, // managed switch
    {0, 1, 0},            // plain switch
    {1, 0, kVlanEnabled}, // managed, but nothing goes from port to port
};

} // namespace

bool configure(Transaction &transaction, const ChipImage &chip, uint32_t configuration) {
    if (configuration >= std::size(kConfigurations)) {
        return false;
    }
    const Configuration &wanted = kConfigurations[configuration];
    transaction.store(chip.managed, wanted.managed);
    transaction.store(chip.forwarding, wanted.forwarding);
    const uint8_t &enable = stored(chip, ksl_vlan_enable_register)[0];
    transaction.store(enable, static_cast<uint8_t>((enable & ~kVlanEnabled) | wanted.vlan_enable));
    return true;
}

} // namespace hwa
