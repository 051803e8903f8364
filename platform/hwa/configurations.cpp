// SPDX-License-Identifier: Apache-2.0
#include "configurations.h"

#include "ports.h"
#include "transaction.h"

#include <iterator>

namespace hwa {
namespace {

struct Configuration {
    Byte managed;
    Byte forwarding;
    Byte vlan_enable;
};

constexpr Configuration kConfigurations[] = {
    {1, 1, kVlanEnabled}, // managed switch
    {0, 1, 0},            // plain switch
    {1, 0, kVlanEnabled}, // managed, but nothing goes from port to port
};

} // namespace

bool configure(Transaction &transaction, const ChipImage &chip, std::uint32_t configuration) {
    if (configuration >= std::size(kConfigurations))
        return false;
    const Configuration &wanted = kConfigurations[configuration];
    transaction.store(chip.managed, wanted.managed);
    transaction.store(chip.forwarding, wanted.forwarding);
    const Byte &enable = chip.pages[kVlanPage][kVlanEnable];
    transaction.store(enable, static_cast<Byte>((enable & ~kVlanEnabled) | wanted.vlan_enable));
    return true;
}

} // namespace hwa
