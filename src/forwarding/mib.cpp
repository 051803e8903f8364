// SPDX-License-Identifier: Apache-2.0
// The MIB counters of the ports, read in one batch for each port.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/lower_library.h"
#include "frame/status_bytes.h"
#include "frame/words.h"

#include <array>
#include <iterator>
#include <ksl/registers.h>

namespace {

using namespace ksl;

struct Counter {
    uint32_t offset;
    uint32_t length;
};

// The compiler names it in its complaint about an offset that has no counter.
inline void no_such_counter() {}

// The counter at an offset in the page of a port.
consteval Counter counter(uint32_t offset) {
#define KSL_COUNTER(its_offset, its_length)                                                                            \
    if (offset == (its_offset)) {                                                                                      \
        return {its_offset, its_length};                                                                               \
    }
    KSL_COUNTERS(KSL_COUNTER)
#undef KSL_COUNTER
    no_such_counter();
    return {};
}

// The reads of a batch. Readers of the trace count on 22 values, those of 0x08 and 0x90 twice. 0x84 and 0x10 are never
// read: callers keep what they had in their places.
constexpr Counter ksl_mib_counter_table[] = {
    counter(0x00), counter(0x7C), counter(0x18), counter(0x88), counter(0x08), counter(0x08),
    counter(0x90), counter(0x1C), counter(0x30), counter(0x38), counter(0x50), counter(0x54),
    counter(0x58), counter(0x5C), counter(0x60), counter(0x64), counter(0x68), counter(0x70),
    counter(0x74), counter(0x78), counter(0x90), counter(0x98),
};
constexpr uint32_t kRequestCount = std::size(ksl_mib_counter_table);

struct Placement {
    uint8_t offset;
    uint8_t position;
};

// Where each counter is in the block of a port.
constexpr Placement kPlacements[] = {
    {0x7C, offsetof(ksl_mib_port_block, counter_7c)}, {0x00, offsetof(ksl_mib_port_block, counter_00)},
    {0x18, offsetof(ksl_mib_port_block, counter_18)}, {0x88, offsetof(ksl_mib_port_block, counter_88)},
    {0x08, offsetof(ksl_mib_port_block, counter_08)}, {0x84, offsetof(ksl_mib_port_block, counter_84)},
    {0x10, offsetof(ksl_mib_port_block, counter_10)}, {0x1C, offsetof(ksl_mib_port_block, counter_1c)},
    {0x30, offsetof(ksl_mib_port_block, counter_30)}, {0x38, offsetof(ksl_mib_port_block, counter_38)},
    {0x50, offsetof(ksl_mib_port_block, counter_50)}, {0x70, offsetof(ksl_mib_port_block, counter_70)},
    {0x74, offsetof(ksl_mib_port_block, counter_74)}, {0x78, offsetof(ksl_mib_port_block, counter_78)},
    {0x90, offsetof(ksl_mib_port_block, counter_90)}, {0x98, offsetof(ksl_mib_port_block, counter_98)},
    {0x54, offsetof(ksl_mib_port_block, counter_54)}, {0x58, offsetof(ksl_mib_port_block, counter_58)},
    {0x5C, offsetof(ksl_mib_port_block, counter_5c)}, {0x60, offsetof(ksl_mib_port_block, counter_60)},
    {0x64, offsetof(ksl_mib_port_block, counter_64)}, {0x68, offsetof(ksl_mib_port_block, counter_68)},
};

constexpr uint8_t kNowhere = 0xFF;

// The same by register offset, so that a counter is placed without a search.
constexpr std::array<uint8_t, 256> kPositions = [] {
    std::array<uint8_t, 256> positions{};
    positions.fill(kNowhere);
    for (const Placement &placement : kPlacements) {
        positions[placement.offset] = placement.position;
    }
    return positions;
}();

// The counters of 8 bytes come first in a block. Their second half is the word that is traced.
constexpr uint32_t kFirstWord = offsetof(ksl_mib_port_block, counter_18);

constexpr uint32_t traced_word(uint32_t position) {
    return position < kFirstWord ? position + 4 : position;
}

// Services poll all counters, and each comes through here: the lengths that counters have are known to the compiler, so
// that nothing is called to copy them.
[[gnu::always_inline]] inline void place_counter(const ksl_reg_request &request, uint32_t port, uint8_t *block) {
    constexpr uint32_t kWord = sizeof(ksl_word);
    const uint32_t position = kPositions[request.offset];
    uint32_t traced = 0;
    if (position == kNowhere) [[unlikely]] {
        trace(points::read_mib_counters_at_port_unplaced);
        return;
    }
    if (position >= kFirstWord && request.length == kWord) [[likely]] {
        copy_status_bytes(request.data, block + position, kWord);
        traced = load_word(request.data);
    } else if (position < kFirstWord && request.length == 2 * kWord) {
        copy_status_bytes(request.data, block + position, 2 * kWord);
        traced = load_word(request.data + kWord);
    } else {
        copy_status_bytes(request.data, block + position, request.length);
        traced = load_word(block + traced_word(position));
    }
    trace(points::read_mib_counters_at_port_counter, port, traced);
}

[[gnu::always_inline]] inline int32_t read_counters(uint32_t chip, uint32_t port, ksl_mib_port_block &block) {
    ksl_reg_request requests[kRequestCount] = {};
    for (uint32_t i = 0; i < kRequestCount; ++i) {
        requests[i].page = low_byte(KSL_COUNTER_PAGE + port);
        requests[i].offset = low_byte(ksl_mib_counter_table[i].offset);
        requests[i].length = ksl_mib_counter_table[i].length;
    }
    const int32_t result = __hwa_get_multireg(chip, requests, kRequestCount);
    if (result != 0) {
        trace(points::read_mib_counters_at_port_read_failed, chip, requests, kRequestCount, result);
        return result;
    }
    for (const ksl_reg_request &request : requests) {
        place_counter(request, port, reinterpret_cast<uint8_t *>(&block));
    }
    return result;
}

} // namespace

extern "C" int32_t ksl_read_MIB_counters_at_port(uint32_t chip, uint32_t port, ksl_mib_port_block *blocks) {
    const CallFrame frame;
    trace(points::read_mib_counters_at_port_entry, chip, port);
    int32_t result = -1;
    if (blocks == nullptr) {
        trace(points::read_mib_counters_at_port_no_output);
    } else if (port >= KSL_PORTS) {
        trace(points::read_mib_counters_at_port_port_refused, port);
    } else {
        result = read_counters(chip, port, blocks[port]);
    }
    trace(points::read_mib_counters_at_port_exit, result);
    return frame.leave(result);
}

extern "C" int32_t ksl_read_MIB_counters(uint32_t chip, ksl_mib_port_block *blocks) {
    const UnstampedFrame frame;
    trace(points::read_mib_counters_entry, chip);
    int32_t result = 0;
    // A port that fails does not end it, and the result is that of the last port: callers ask for a port to learn of
    // its failure.
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        result = ksl_read_MIB_counters_at_port(chip, port, blocks);
        if (result != 0) {
            trace(points::read_mib_counters_port_failed, chip, port, result);
        }
    }
    trace(points::read_mib_counters_exit, result);
    return frame.leave(result);
}
