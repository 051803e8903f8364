// SPDX-License-Identifier: Apache-2.0
// Every operation over a lower library of any result and any content: what it returns, what it writes where, and that
// nothing happens behind a failure.
#include "input.h"
#include "outputs.h"
#include "platform.h"
#include "require.h"

#include <ksl/ksl.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <iterator>

namespace {

using namespace fuzz;

// What the result of an operation has to be.
enum class Result {
    first_failure, // 0, or the first failing access's, behind which there is no other
    last_access,   // that of the last access
    own,           // checked by the operation's own part
};

// What becomes of the outputs when the result is not 0.
enum class Outputs { untouched, partly_written };

// One call of an operation.
class Call {
public:
    explicit Call(Platform &called) : platform(called), input(called.input), chip(called.input.word()) {}

    Output &output(size_t size) { return outputs_.emplace_back(size); }

    template <class Type = uint8_t>
    Type *memory(size_t count = 1) {
        return output(sizeof(Type) * count).template get<Type>();
    }

    // The same, or a null pointer, which the operation refuses.
    template <class Type = uint8_t>
    Type *memory_or_null(size_t count = 1) {
        if (refuse(input.byte() == 0xFF)) {
            return nullptr;
        }
        return memory<Type>(count);
    }

    bool refuse(bool condition) {
        refused_ = refused_ || condition;
        return condition;
    }

    // Any number, mostly near the ports' own.
    uint32_t any_port() {
        const uint32_t port = input.up_to(30);
        return port == 30 ? input.word() : port;
    }

    uint32_t port() {
        const uint32_t number = any_port();
        refuse(number >= KSL_PORTS);
        return number;
    }

    bool refused() const { return refused_; }
    const std::deque<Output> &outputs() const { return outputs_; }

    Platform &platform;
    Input &input;
    uint32_t chip;

private:
    std::deque<Output> outputs_; // which stay where they are
    bool refused_ = false;
};

// ---- Operations with rules of their own ----

int32_t validate_vlan_enable(Call &call) {
    auto *const verdict = call.memory<uint32_t>();
    const int32_t result = ksl_validate_VLAN_enable(call.chip, verdict);
    require(*verdict <= (result == 0 ? 1U : 0U), "a verdict is 0 or 1, and 0 without an answer");
    return result;
}

int32_t validate_trunk_group(Call &call) {
    const uint32_t group = call.input.up_to(2);
    call.refuse(group > 1);
    const uint32_t port_a = call.port();
    const uint32_t port_b = call.port();
    auto *const verdict = call.memory_or_null<uint32_t>();
    const int32_t result = ksl_validate_trunk_group(call.chip, group, port_a, port_b, verdict);
    if (!call.refused()) {
        require(*verdict <= (result == 0 && group == 0 ? 1U : 0U), "a verdict is 0 or 1, and never 1 for group 1");
    }
    return result;
}

int32_t set_port_speed(Call &call) {
    constexpr uint32_t kSpeeds[] = {10, 100, 0, 1000};
    const uint32_t speed = kSpeeds[call.input.up_to(3)];
    call.refuse(speed != 10 && speed != 100);
    const uint32_t port = call.any_port();
    return ksl_set_port_speed(call.chip, port, speed);
}

int32_t get_port_speed(Call &call) {
    const uint32_t port = call.any_port();
    auto *const speed = call.memory<uint32_t>();
    const int32_t result = ksl_get_port_speed(call.chip, port, speed);
    require(result != 0 || *speed <= 1, "a speed indication is 0 or 1");
    return result;
}

int32_t read_vlan_map(Call &call) {
    constexpr uint32_t kBounds[] = {0, 1, 4094, 4095};
    const uint32_t choice = call.input.up_to(7);
    const uint32_t vid = choice < std::size(kBounds) ? kBounds[choice] : call.input.word();
    call.refuse(vid == 0 || vid > 4094);
    return ksl_read_VLAN_map(call.chip, vid, call.memory_or_null(8));
}

// Those of a port, where the number must not stay what it was.
template <int32_t (*Read)(uint32_t, uint32_t, uint32_t *)>
int32_t read_learning(Call &call) {
    const uint32_t port = call.port();
    auto *const number = call.memory<uint32_t>();
    const int32_t result = Read(call.chip, port, number);
    require(result == 0 ? *number <= 0x1FFF : *number == 1234, "a number has 13 bits, or is the placeholder");
    return result;
}

int32_t set_threshold(Call &call) {
    const uint32_t port = call.port();
    const uint32_t threshold = 8190 + call.input.up_to(4);
    call.refuse(threshold > 8192);
    return ksl_set_learning_threshold_at_port(call.chip, port, threshold);
}

int32_t read_mib_at_port(Call &call) {
    auto *const blocks = call.memory_or_null<ksl_mib_port_block>(KSL_PORTS);
    const uint32_t port = call.port();
    const int32_t result = ksl_read_MIB_counters_at_port(call.chip, port, blocks);
    if (!call.refused()) {
        require(call.outputs().front().is_untouched_from((port + 1) * sizeof *blocks), "other ports keep their blocks");
    }
    return result;
}

int32_t read_mib(Call &call) {
    const int32_t result = ksl_read_MIB_counters(call.chip, call.memory<ksl_mib_port_block>(KSL_PORTS));
    return result;
}

int32_t read_arl_table(Call &call) {
    constexpr uint32_t kRoom = 32;
    const uint32_t all_ports = call.input.flag() ? 1 : 0;
    const uint32_t room = call.input.up_to(kRoom);
    auto &entries = call.output(room * sizeof(ksl_arl_entry));
    uint32_t count = room;
    const int32_t result = ksl_read_ARL_table(call.chip, all_ports, entries.get<ksl_arl_entry>(), &count);
    const Platform &platform = call.platform;
    if (platform.first_failure != 0 || platform.found > room) {
        require(result == (platform.first_failure != 0 ? platform.first_failure : -1), "the failure is passed on");
        require(count == room && entries.is_untouched(), "nothing is written without success");
        return result;
    }
    require(result == 0 && count <= platform.found, "no more entries than there are");
    require(all_ports == 0 || count == platform.found, "every entry");
    require(entries.is_untouched_from(count * sizeof(ksl_arl_entry)), "nothing behind the entries");
    for (uint32_t i = 0; i < count; ++i) {
        const ksl_arl_entry &entry = entries.get<ksl_arl_entry>()[i];
        require(entry.port >= (all_ports != 0 ? 0U : 2U) && entry.port <= 31 && entry.flag55 <= 1,
                "an entry is of a port that was asked for");
        require(entry.unused[0] == 0xA5 && entry.unused[1] == 0xA5, "unused bytes are not written");
    }
    return result;
}

uint32_t walked;

int32_t walk_arl_table(Call &call) {
    walked = 0;
    __KSL_READ_ARL_TABLE(call.chip, [](const uint8_t *entry) {
        walked += 1;
        look_at(entry, sizeof(ksl_raw_arl_entry));
    });
    require(walked <= kCutOff / 2 + 1, "the walk ends where its register says so");
    require(call.platform.records.size() <= 2 &&
                (call.platform.missing_entry_points != 0 || call.platform.records.empty()),
            "the walk traces nothing but that an entry point is missing");
    return 0;
}

int32_t search_arl_table(Call &call) {
    auto &words = call.output(kCutOff * sizeof(ksl_word));
    auto &entries = call.output(kCutOff * sizeof(ksl_raw_arl_entry));
    auto *const count = call.memory<uint32_t>();
    const int32_t result =
        dbg_ksl_search_ARL_table(call.chip, words.get<ksl_word>(), entries.get<ksl_raw_arl_entry>(), count);
    require(*count <= kCutOff / 3, "a result takes three reads");
    const size_t with_failed = *count + (result != 0 ? 1U : 0U);
    require(words.is_untouched_from(with_failed * sizeof(ksl_word)), "no word behind the results");
    require(entries.is_untouched_from(*count * sizeof(ksl_raw_arl_entry)), "no entry behind the results");
    for (uint32_t i = 0; i < *count; ++i) {
        const auto *const word = words.get() + i * sizeof(ksl_word);
        require((word[0] & 0xF0) == 0xA0 && word[2] == 0xA5 && word[3] == 0xA5, "the caller keeps all but the VLAN id");
        require((entries.get<ksl_raw_arl_entry>()[i].bytes[0] & 1) == 1, "the caller keeps bit 56");
    }
    return result;
}

int32_t read_firmware(Call &call) {
    auto &version = call.output(9);
    auto *const length = call.memory<uint32_t>();
    const int32_t result = ksl_read_EPN_firmware_version(call.chip, version.get(), length);
    require(result != 0 || *length == 9, "a version has 9 bytes");
    return result;
}

int32_t set_configuration(Call &call) {
    const uint32_t configuration = call.input.up_to(4);
    call.refuse(configuration > 2);
    return dbg_ksl_set_EPN_configuration(call.chip, configuration);
}

int32_t set_mac_filter(Call &call) {
    const int32_t result = ksl_set_MAC_filter(call.chip, call.input.word());
    require(result == 0 && call.platform.accesses == 0, "the filter goes nowhere");
    return result;
}

int32_t set_mirror(Call &call) {
    const uint32_t capture = call.port();
    const uint32_t first = call.port();
    const uint32_t last = call.port();
    return ksl_set_mirror_port(call.chip, capture, first, last);
}

int32_t set_pvid(Call &call) {
    const uint32_t vid = call.input.word();
    const uint32_t priority = call.input.word();
    return ksl_set_PVID(call.chip, vid, priority, call.port());
}

// Any length, and a buffer of just that.
template <class Access>
int32_t raw(Call &call, Access access) {
    const uint32_t page = call.input.word();
    const uint32_t offset = call.input.word();
    const uint32_t length = call.input.up_to(20);
    return access(call.chip, page, offset, length, call.memory(length));
}

int32_t get_multireg(Call &call) {
    const uint32_t count = call.input.up_to(6);
    auto *const requests = call.memory<ksl_reg_request>(count);
    for (uint32_t i = 0; i < count; ++i) {
        requests[i].page = call.input.byte();
        requests[i].offset = call.input.byte();
        requests[i].length = 1 + call.input.up_to(7);
    }
    const int32_t result = __hwa_get_multireg(call.chip, requests, count);
    for (uint32_t i = 0; i < count; ++i) {
        require(requests[i].length <= 8 && std::all_of(requests[i].data + requests[i].length, requests[i].data + 8,
                                                       [](uint8_t byte) { return byte == 0xA5; }),
                "a request receives no more than its length");
    }
    return result;
}

int32_t send_command(Call &call) {
    const uint32_t length = call.input.up_to(40);
    const uint8_t *const command = call.memory(length);
    uint32_t room = call.input.up_to(40);
    return __hwa_engpowercmd(command, length, call.memory(room), &room);
}

int32_t get_macs(Call &call) {
    uint32_t count = 8192;
    static ksl_raw_arl_entry table[8192];
    return __hwa_getmacs(call.chip, table, &count);
}

int32_t dump_bytes(Call &call) {
    const uint32_t length = call.input.up_to(20);
    __print_status_array(call.memory(length), length);
    require(call.platform.records.size() == 1, "one record, whatever the length");
    return 0;
}

int32_t dump_time(Call &call) {
    timeval times[2] = {};
    for (timeval &time : times) {
        time.tv_sec = static_cast<time_t>(call.input.word());
        time.tv_usec = static_cast<suseconds_t>(call.input.word() & 0xFFFFF);
    }
    __print_time_diff(&times[0], &times[1]);
    return 0;
}

int32_t switch_time(Call &call) {
    call.input.flag() ? ksl_enable_time() : ksl_disable_time();
    return 0;
}

// ---- All of them ----

struct Operation {
    int32_t (*run)(Call &call);
    Result result = Result::first_failure;
    Outputs outputs = Outputs::untouched;
};

constexpr Operation kOperations[] = {
    {[](Call &call) { return ksl_read_bist_status_reg(call.chip, call.memory_or_null(8)); }},
    {[](Call &call) {
         auto *const second = call.memory(4);
         return ksl_read_link_status_regs(call.chip, call.memory_or_null(4), second);
     },
     Result::first_failure, Outputs::partly_written},
    {[](Call &call) { return ksl_read_link_status_reg(call.chip, call.memory_or_null(4)); }},
    {[](Call &call) { return ksl_read_switch_mode_reg(call.chip, call.memory_or_null(4)); }},
    {[](Call &call) { return ksl_read_port_speed_reg(call.chip, call.memory_or_null(4)); }},
    {[](Call &call) { return ksl_read_port_duplex_reg(call.chip, call.memory_or_null(4)); }},
    {get_port_speed},
    {set_port_speed},
    {[](Call &call) { return ksl_activate_port(call.chip, call.port()); }},
    {[](Call &call) { return ksl_deactivate_port(call.chip, call.port()); }},
    {[](Call &call) { return ksl_read_port_cntrl_reg(call.chip, call.port(), call.memory<ksl_word>()); }},
    {[](Call &call) { return ksl_reset_PHY(call.chip, call.port()); }},
    {[](Call &call) { return ksl_read_VLAN_PVID_regs(call.chip, call.memory_or_null<ksl_word>(KSL_PORTS)); },
     Result::first_failure, Outputs::partly_written},
    {set_pvid},
    {[](Call &call) { return ksl_read_VLAN_enable(call.chip, call.memory_or_null<ksl_word>()); }},
    {validate_vlan_enable, Result::first_failure, Outputs::partly_written},
    {read_vlan_map},
    {[](Call &call) { return ksl_read_extended_VLAN_cntrl_regs(call.chip, call.any_port(), call.memory<ksl_word>()); }},
    {read_mib_at_port, Result::last_access},
    {read_mib, Result::last_access, Outputs::partly_written},
    {[](Call &call) { return ksl_read_age_timer_reg(call.chip, call.memory_or_null<ksl_word>()); }},
    {[](Call &call) { return ksl_set_age_timer_reg(call.chip, call.input.word()); }},
    {[](Call &call) { return ksl_read_cntrl_regs(call.chip, call.memory_or_null<ksl_cntrl_regs>()); },
     Result::first_failure, Outputs::partly_written},
    {[](Call &call) { return ksl_read_trunk_group_regs(call.chip, call.memory_or_null<ksl_trunk_group_regs>()); },
     Result::first_failure, Outputs::partly_written},
    {validate_trunk_group, Result::first_failure, Outputs::partly_written},
    {set_mirror},
    {[](Call &call) { return ksl_unset_mirror_port(call.chip, call.port()); }},
    {read_arl_table, Result::own},
    {walk_arl_table, Result::own},
    {search_arl_table, Result::first_failure, Outputs::partly_written},
    {read_learning<ksl_get_SA_count_at_port>, Result::first_failure, Outputs::partly_written},
    {read_learning<ksl_get_learning_threshold_at_port>, Result::first_failure, Outputs::partly_written},
    {set_threshold},
    {set_mac_filter},
    {read_firmware},
    {[](Call &call) { return ksl_reset_switch(call.chip); }},
    {set_configuration},
    {[](Call &call) { return raw(call, dbg_ksl_get_reg); }, Result::first_failure, Outputs::partly_written},
    {[](Call &call) { return raw(call, dbg_ksl_set_reg); }},
    {[](Call &call) { return dbg_ksl_dump_reg(call.chip); }, Result::last_access},
    {[](Call &call) { return raw(call, __hwa_getreg); }, Result::first_failure, Outputs::partly_written},
    {[](Call &call) { return raw(call, __hwa_setreg); }},
    {get_multireg, Result::last_access, Outputs::partly_written},
    {send_command, Result::first_failure, Outputs::partly_written},
    {get_macs},
    {[](Call &call) { return __hwa_setswitchconfig(call.chip, call.input.word()); }},
    {[](Call &call) { return __hwa_setmacfilter(call.chip, call.input.word()); }},
    {[](Call &call) { return __hwa_reset_switch_chip(call.chip); }},
    {dump_bytes},
    {dump_time},
    {switch_time},
};

void check_result(const Operation &operation, const Call &call, int32_t result) {
    const Platform &platform = call.platform;
    if (call.refused()) {
        require(result == -1 && platform.accesses == 0, "a refused argument gives -1 before any access");
    } else if (operation.result == Result::first_failure) {
        require(result == platform.first_failure, "the first failure is the result, and 0 without one");
        require(platform.accesses_after_failure == 0, "nothing is accessed behind a failure");
    } else if (operation.result == Result::last_access) {
        require(result == platform.last_result, "the last access's result is the operation's");
    }
}

void check_outputs(const Operation &operation, const Call &call, int32_t result) {
    for (const Output &output : call.outputs()) {
        require(output.margins_are_untouched(), "nothing is written beside an output");
        require(result == 0 || operation.outputs == Outputs::partly_written || output.is_untouched(),
                "a failed operation writes no output");
    }
}

void check_records(const Platform &platform) {
    const auto count = [&](Kind kind) { return std::count(platform.records.begin(), platform.records.end(), kind); };
    require(count(Kind::exit) <= count(Kind::entry), "what exits was entered");
    require(ksl_time_enabled != 0 || count(Kind::elapsed) == 0 || platform.records.size() == 1,
            "run times are traced when they are wanted");
}

void run_one(const Operation &operation, Platform &platform) {
    // Entry points go missing now and then.
    const uint8_t missing = platform.input.byte();
    platform.missing_entry_points = missing >= 0xC0 ? platform.input.byte() : 0;
    Call call(platform);
    platform.begin();
    const int32_t result = operation.run(call);
    check_result(operation, call, result);
    check_outputs(operation, call, result);
    check_records(platform);
}

// Each operation on the same bytes.
void run_all(const Input &bytes) {
    for (const Operation &operation : kOperations) {
        Input input = bytes;
        Platform platform(input);
        run_one(operation, platform);
    }
}

// One operation after the other, until the bytes are used up.
void run_sequence(Input &input) {
    Platform platform(input);
    while (!input.used_up()) {
        run_one(kOperations[input.byte() % std::size(kOperations)], platform);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    Input input(bytes, size);
    {
        const Platform opening(input);
        ksl_init();
    }
    if (input.byte() == 1) {
        run_all(input);
    } else {
        run_sequence(input);
    }
    const Platform closing(input);
    ksl_disable_time();
    ksl_terminate();
    return 0;
}
