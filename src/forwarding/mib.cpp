// SPDX-License-Identifier: Apache-2.0
// The MIB counters of the ports, fetched in one batch a port.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/lower_library.h"
#include "frame/status_bytes.h"
#include "frame/words.h"

#include <array>
#include <iterator>

namespace {

using namespace ksl;

// Each port has a page of counters.
constexpr uint32_t kFirstPortPage = 0x50;

struct Counter {
    uint32_t offset;
    uint32_t length;
};

// What a batch asks for. 0x08 and 0x90 are asked for twice, 0x84 and 0x10 never: what callers see depends on it.
constexpr Counter ksl_mib_counter_table[] = {
    {0x00, 8}, {0x7C, 8}, {0x18, 4}, {0x88, 4}, {0x08, 4}, {0x08, 4}, {0x90, 4}, {0x1C, 4},
    {0x30, 4}, {0x38, 4}, {0x50, 4}, {0x54, 4}, {0x58, 4}, {0x5C, 4}, {0x60, 4}, {0x64, 4},
    {0x68, 4}, {0x70, 4}, {0x74, 4}, {0x78, 4}, {0x90, 4}, {0x98, 4},
};
constexpr uint32_t kRequestCount = std::size(ksl_mib_counter_table);

struct Placement {
    uint8_t offset;
    uint8_t position;
};

// Where each counter stands in a port's block.
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

// The same by register offset: a counter is placed without a search.
constexpr std::array<uint8_t, 256> kPositions = [] {
    std::array<uint8_t, 256> positions{};
    positions.fill(kNowhere);
    for (const Placement &placement : kPlacements) {
        positions[placement.offset] = placement.position;
    }
    return positions;
}();

// The counters of 8 bytes come first; their second half is the word that is traced.
constexpr uint32_t traced_word(uint32_t position) {
    return position < offsetof(ksl_mib_port_block, counter_18) ? position + 4 : position;
}

void place_counter(const ksl_reg_request &request, uint32_t port, uint8_t *block) {
    const uint32_t position = kPositions[request.offset];
    if (position == kNowhere) {
        trace(points::read_mib_counters_at_port_unplaced);
        return;
    }
    // The length that nearly every counter has, known to the compiler.
    if (request.length == sizeof(ksl_word)) {
        copy_status_bytes(request.data, block + position, sizeof(ksl_word));
    } else {
        copy_status_bytes(request.data, block + position, request.length);
    }
    trace(points::read_mib_counters_at_port_counter, port, load_word(block + traced_word(position)));
}

int32_t read_counters(uint32_t chip, uint32_t port, ksl_mib_port_block &block) {
    ksl_reg_request requests[kRequestCount] = {};
    for (uint32_t i = 0; i < kRequestCount; ++i) {
        requests[i].page = low_byte(kFirstPortPage + port);
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
    // A port that fails hides no other one; the last port's result is everybody's.
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        result = ksl_read_MIB_counters_at_port(chip, port, blocks);
        if (result != 0) {
            trace(points::read_mib_counters_port_failed, chip, port, result);
        }
    }
    trace(points::read_mib_counters_exit, result);
    return frame.leave(result);
}
