// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/registers.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <numeric>

namespace kslctl::hub {

namespace {

template <int32_t (*operation)(uint32_t chip, uint8_t *out)>
int32_t read_of_chip(uint32_t chip, uint32_t, uint8_t *bytes) {
    return operation(chip, bytes);
}

template <int32_t (*operation)(uint32_t chip, ksl_word *out)>
int32_t read_word(uint32_t chip, uint32_t, uint8_t *bytes) {
    ksl_word word = 0;
    const int32_t code = operation(chip, &word);
    std::memcpy(bytes, &word, sizeof word);
    return code;
}

template <int32_t (*operation)(uint32_t chip, uint32_t port, ksl_word *out)>
int32_t read_word_of_port(uint32_t chip, uint32_t port, uint8_t *bytes) {
    ksl_word word = 0;
    const int32_t code = operation(chip, port, &word);
    std::memcpy(bytes, &word, sizeof word);
    return code;
}

struct ReadOperation {
    const Register *which;
    const char *name;
    int32_t (*read)(uint32_t chip, uint32_t port, uint8_t *bytes);
};

// The extended VLAN control registers are the PVID registers, and can be read one by one.
constexpr ReadOperation kReadOperations[] = {
    {&registers::switch_mode, "ksl_read_switch_mode_reg", read_of_chip<ksl_read_switch_mode_reg>},
    {&registers::port_control, "ksl_read_port_cntrl_reg", read_word_of_port<ksl_read_port_cntrl_reg>},
    {&registers::self_test, "ksl_read_bist_status_reg", read_of_chip<ksl_read_bist_status_reg>},
    {&registers::link_status, "ksl_read_link_status_reg", read_of_chip<ksl_read_link_status_reg>},
    {&registers::port_speed, "ksl_read_port_speed_reg", read_of_chip<ksl_read_port_speed_reg>},
    {&registers::port_duplex, "ksl_read_port_duplex_reg", read_of_chip<ksl_read_port_duplex_reg>},
    {&registers::age_timer, "ksl_read_age_timer_reg", read_word<ksl_read_age_timer_reg>},
    {&registers::vlan_enable, "ksl_read_VLAN_enable", read_word<ksl_read_VLAN_enable>},
    {&registers::pvid, "ksl_read_extended_VLAN_cntrl_regs", read_word_of_port<ksl_read_extended_VLAN_cntrl_regs>},
};

std::vector<std::string> ranges_of(const std::vector<uint32_t> &numbers) {
    std::vector<std::string> ranges;
    for (auto first = numbers.begin(); first != numbers.end();) {
        const auto last = std::adjacent_find(first, numbers.end(), [](uint32_t a, uint32_t b) { return b != a + 1; });
        const uint32_t end = last == numbers.end() ? numbers.back() : *last;
        ranges.push_back(end == *first ? fmt::format("{}", end) : fmt::format("{}-{}", *first, end));
        first = std::upper_bound(first, numbers.end(), end);
    }
    return ranges;
}

} // namespace

std::vector<uint32_t> all_ports() {
    std::vector<uint32_t> ports(KSL_PORTS);
    std::iota(ports.begin(), ports.end(), 0);
    return ports;
}

std::vector<uint32_t> ports_of(uint32_t word) {
    std::vector<uint32_t> ports = all_ports();
    std::erase_if(ports, [word](uint32_t port) { return (word >> port & 1) == 0; });
    return ports;
}

std::string describe_numbers(const std::vector<uint32_t> &numbers) {
    return fmt::format("{}", fmt::join(ranges_of(numbers), ", "));
}

std::string describe_some(const std::vector<uint32_t> &numbers) {
    constexpr size_t kFew = 6;
    std::vector<std::string> ranges = ranges_of(numbers);
    const bool has_more = ranges.size() > kFew;
    ranges.resize(std::min(kFew, ranges.size()));
    return fmt::format("{}{}", fmt::join(ranges, ", "), has_more ? " and more" : "");
}

std::string describe_ports(const std::vector<uint32_t> &ports) {
    if (ports.empty()) {
        return "no port";
    }
    return fmt::format("{} {}", ports.size() == 1 ? "port" : "ports", describe_numbers(ports));
}

Reading reading_of(const Register &which, uint32_t port, Fact<Bytes> bytes) {
    Reading reading{which.name,         std::nullopt,       which.page(port),
                    which.offset(port), which.place.length, std::move(bytes)};
    if (which.is_of_port()) {
        reading.of = {"port", port};
    }
    return reading;
}

std::string describe(const Register &which, uint32_t port) {
    const std::string of_port = which.is_of_port() ? fmt::format(" of port {}", port) : "";
    return fmt::format("{}{} (page 0x{:02x}, offset 0x{:02x})", which.text, of_port, which.page(port),
                       which.offset(port));
}

Fact<Bytes> read(const Register &which, uint32_t chip, uint32_t port, Failures &failures) {
    const auto *const own = std::find_if(std::begin(kReadOperations), std::end(kReadOperations),
                                         [&](const ReadOperation &row) { return row.which == &which; });
    const bool has_own = own != std::end(kReadOperations);
    Bytes bytes{};
    const int32_t code =
        has_own ? own->read(chip, port, bytes.data())
                : dbg_ksl_get_reg(chip, which.page(port), which.offset(port), which.place.length, bytes.data());
    if (code != 0) {
        return note(failures, {chip, has_own ? own->name : "dbg_ksl_get_reg", describe(which, port), code});
    }
    return bytes;
}

Bytes word_bytes(ksl_word word) {
    Bytes bytes{};
    std::memcpy(bytes.data(), &word, sizeof word);
    return bytes;
}

Fact<uint32_t> read_number(const Register &which, uint32_t chip, uint32_t port, const char *operation,
                           int32_t (*get)(uint32_t chip, uint32_t port, uint32_t *number), Failures &failures) {
    uint32_t number = 0;
    if (const int32_t code = get(chip, port, &number); code != 0) {
        return note(failures, {chip, operation, describe(which, port), code});
    }
    return number;
}

std::vector<Reading> read_ports(const WantedRegisters &wanted, uint32_t chip, std::span<const uint32_t> ports,
                                Failures &failures) {
    std::vector<Reading> readings;
    for (const uint32_t port : ports) {
        for (const Register *const which : wanted) {
            readings.push_back(reading_of(*which, port, read(*which, chip, port, failures)));
        }
    }
    return readings;
}

std::vector<Reading> readings_of(uint32_t chip, const char *operation, int32_t code, std::span<const Target> targets,
                                 Failures &failures) {
    std::vector<Reading> readings;
    std::optional<Failure> failure;
    for (const Target &target : targets) {
        const bool is_last = &target == &targets.back();
        const bool is_untouched =
            std::all_of(target.bytes, target.bytes + target.length, [](uint8_t byte) { return byte == kUntouched; });
        if (code != 0 && !failure && (is_untouched || is_last)) {
            failure = note(failures, {chip, operation, describe(*target.which, target.port), code});
        }
        Bytes bytes{};
        std::copy_n(target.bytes, target.length, bytes.begin());
        readings.push_back(reading_of(*target.which, target.port, failure ? Fact<Bytes>(*failure) : bytes));
    }
    return readings;
}

} // namespace kslctl::hub
