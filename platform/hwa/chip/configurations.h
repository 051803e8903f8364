// SPDX-License-Identifier: Apache-2.0
// The switch configurations that the hub can be given.
#pragma once

#include <cstdint>

namespace hwa {

class Transaction;
struct ChipImage;

// False if there is no such configuration.
bool configure(Transaction &transaction, const ChipImage &chip, uint32_t configuration);

} // namespace hwa
