// SPDX-License-Identifier: Apache-2.0
// The age timer of the address table.
#include "forwarding/trace_points.h"
#include "frame/call_frame.h"
#include "frame/register_access.h"
#include "frame/words.h"

namespace {

using namespace ksl;

constexpr uint32_t age_time(uint32_t word) {
    return field(word, 0, 20);
}

} // namespace

extern "C" int32_t ksl_read_age_timer_reg(uint32_t chip, ksl_word *value) {
    const CallFrame frame;
    trace(points::read_age_timer_reg_entry, chip);
    if (value == nullptr) {
        return -1;
    }
    uint8_t bytes[sizeof(ksl_word)] = {};
    const int32_t result = read_register(chip, at<ksl_age_timer_register>(), bytes);
    if (result == 0) {
        for (const uint8_t byte : bytes) {
            trace(points::read_age_timer_reg_byte, byte);
        }
        copy_status_bytes(bytes, value, sizeof bytes);
    }
    // Of the output, also after a failed read: then it is the caller's own word.
    trace(points::read_age_timer_reg_exit, age_time(load_word(value)), result);
    return frame.leave(result);
}

extern "C" int32_t ksl_set_age_timer_reg(uint32_t chip, uint32_t value) {
    const CallFrame frame;
    trace(points::set_age_timer_reg_entry, chip, value);
    uint8_t bytes[sizeof(ksl_word)];
    store_word(age_time(value), bytes);
    const int32_t result = write_register(chip, at<ksl_age_timer_register>(), bytes, points::register_write_failed);
    trace(points::set_age_timer_reg_exit, result);
    return frame.leave(result);
}
