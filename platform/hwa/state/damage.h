// SPDX-License-Identifier: Apache-2.0
// What a state can be. A state file can hold anything: its user may write it, and a disk may fail.
#pragma once

#include "state/image.h"

namespace hwa {

struct HubImage;

// Whether the making of the file was cut off: each byte of its magic is right, or not yet written.
bool is_unfinished(const HubImage &hub);

// The part of the marks and notes of a killed process that no access can have left so, in a hub of so many chips; null
// when there is none.
const char *damaged_part(const HubImage &hub, size_t chips);

// The same of a chip that began as `start`.
const char *damaged_part(const ChipImage &chip, const ChipImage &start);

} // namespace hwa
