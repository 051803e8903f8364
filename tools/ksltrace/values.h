// SPDX-License-Identifier: Apache-2.0
// Values, times and durations as people read them.
#pragma once

#include "ksltrace/decoder.h"

#include <string>
#include <string_view>

namespace ksltrace {

// A value by its type: "-1", "0x34", "0xbffff600", "0f".
std::string render_value(ValueType type, uint32_t value);

// "31 us", "1.24 ms": three digits, "µs" where the terminal can show it.
std::string render_duration(double microseconds, bool unicode);

// A time in UTC: ISO 8601 with microseconds.
std::string render_time(uint64_t time_ns);

// The register that a record names by page and offset; empty when it names none, or one without a name.
std::string register_of(const Line &line);

// How an entry without an exit, or an exit without an entry, is marked; empty for others.
std::string_view note_of(Pairing pairing);

} // namespace ksltrace
