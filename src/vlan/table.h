// SPDX-License-Identifier: Apache-2.0
// The VLAN table: the number of a VLAN in the table's address register, and the trace of an entry.
#pragma once

#include "frame/trace.h"
#include "frame/words.h"

#include <ksl/decode.h>

namespace ksl {

// The low 12 bits of the address register's 3 bytes.
inline uint32_t addressed_vlan(const uint8_t *address) {
    return field(load_half(address + 1), 0, 12);
}

// A record shows the upper port map in two parts: its bits in the first 4 bytes of the entry, and those in the last 4.
inline void trace_vlan_entry(TracePlace<5> place, const ksl_vlan_entry &entry) {
    trace(place, entry.valid, entry.field, field(entry.upper_map, 5, 22), field(entry.upper_map, 0, 5),
          entry.lower_map);
}

} // namespace ksl
