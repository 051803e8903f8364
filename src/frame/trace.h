// SPDX-License-Identifier: Apache-2.0
// Writing trace records. A record is numbers only: its text lives in the trace tables, for the readers.
#pragma once

#include <ksl/ksl.h>
#include <trace_kbuf.h>

#include <cstdint>
#include <type_traits>

namespace ksl {

struct TracePoint {
    uint32_t identifier;
    uint32_t values;
};

consteval uint32_t count_names(const char *names) {
    uint32_t count = 0;
    for (const char *at = names; *at != '\0'; ++at) {
        count += *at != ' ' && (at == names || at[-1] == ' ');
    }
    return count;
}

namespace points {
#define KSL_TRACE_POINT(identifier, kind, name, values, text)                                                          \
    inline constexpr TracePoint name{identifier, count_names(values)};
#include "frame/trace_points.def"
} // namespace points

// The compiler names it in its complaint about a record whose values do not fit its trace point.
inline void values_do_not_match_the_trace_point() {}

// A trace point at the line that writes it.
template <uint32_t Values>
struct TracePlace {
    consteval TracePlace(TracePoint point, uint32_t line = __builtin_LINE())
        : header(Values << 16 | line), identifier(point.identifier) {
        if (point.values != Values || Values > 9 || line > 0xFFFF) {
            values_do_not_match_the_trace_point();
        }
    }

    // The same point at another line: a helper writes the record at the line of its operation.
    constexpr TracePlace at(uint32_t line) const {
        TracePlace place = *this;
        place.header = Values << 16 | line;
        return place;
    }

    uint32_t header;
    uint32_t identifier;
};

constexpr uint32_t trace_value(uint32_t value) {
    return value;
}

constexpr uint32_t trace_value(int32_t value) {
    return static_cast<uint32_t>(value);
}

inline uint32_t trace_value(const void *address) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address));
}

// Records of up to five values for sources that are not polled; each is one call there.
int32_t write_record(uint32_t identifier, uint32_t header);
int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0);
int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1);
int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1, uint32_t v2);
int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3);
int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3,
                     uint32_t v4);

// The helpers are inline in the sources that services poll (KSL_POLLED) and shared in all others. The linker sees two
// names for the two forms.
#ifdef KSL_POLLED
constexpr bool kCompact = false;
inline namespace fast {
#else
constexpr bool kCompact = true;
inline namespace compact {
#endif

// Writes one record; the result is the trace library's and may be ignored. Slots without a value are zero.
template <class... Values>
inline int32_t trace(std::type_identity_t<TracePlace<sizeof...(Values)>> place, Values... values) {
    constexpr auto count = sizeof...(Values);
    const uint32_t slots[9] = {trace_value(values)...};
    if constexpr (kCompact && count <= 5) {
        return write_record(place.identifier, place.header, trace_value(values)...);
    } else if constexpr (count == 0) {
        return trace_kbuf_write_all(ksl_trace_buffer, place.identifier, " ", place.header, 0);
    } else if constexpr (count <= 5) {
        return trace_kbuf_write_ints5(ksl_trace_buffer, place.header, place.identifier, slots[0], slots[1], slots[2],
                                      slots[3], slots[4]);
    } else {
        return trace_kbuf_write_ints9(ksl_trace_buffer, place.header, place.identifier, slots[0], slots[1], slots[2],
                                      slots[3], slots[4], slots[5], slots[6], slots[7], slots[8]);
    }
}

} // namespace fast or compact

} // namespace ksl
