// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/monitor.h"

#include <algorithm>
#include <ksl/decode.h>
#include <tuple>
#include <utility>

namespace kslctl::hub {

namespace {

// Calls `with` with the register and the member of each value of a chip, in the order in which they are listed.
template <typename With>
void each_value_of_chip(const With &with) {
    with(registers::self_test, &Look::self_test);
    with(registers::switch_mode, &Look::mode);
    with(registers::trunk_control, &Look::trunks);
    with(registers::trunk_group_0, &Look::trunk_group);
    with(registers::mirror_control, &Look::mirror);
    with(registers::ingress_mirror_mask, &Look::ingress_mirrored);
    with(registers::egress_mirror_mask, &Look::egress_mirrored);
}

template <typename With>
void each_value_of_port(const With &with) {
    with(registers::link_status, &PortStatus::link);
    with(registers::port_speed, &PortStatus::speed);
    with(registers::port_duplex, &PortStatus::duplex);
}

template <typename T>
void add_difference(std::vector<Difference> &differences, const Register &which, std::optional<uint32_t> port,
                    const Fact<T> &before, const Fact<T> &now) {
    if (now.is_read() && now != before) {
        differences.push_back({&which, port, before.map([](const T &value) { return SeenValue(value); }), *now});
    }
}

// A value that was not read stays as it was.
template <typename T>
void update(Fact<T> &known, const Fact<T> &now) {
    if (now.failure() == nullptr) {
        known = now;
    }
}

void update(Look &known, const Look &now) {
    each_value_of_chip([&](const Register &, auto member) { update(known.*member, now.*member); });
    for (size_t i = 0; i < now.ports.size(); ++i) {
        each_value_of_port(
            [&](const Register &, auto member) { update(known.ports[i].*member, now.ports[i].*member); });
    }
    known.failures = now.failures;
}

bool contains(const PortNumbers &ports, uint32_t port) {
    return std::find(ports.begin(), ports.end(), port) != ports.end();
}

bool is_noted(const Failures &failures, const Failure &failure) {
    return std::find(failures.begin(), failures.end(), failure) != failures.end();
}

bool fails(const Failures &failures, const Failure &former) {
    return std::any_of(failures.begin(), failures.end(), [&](const Failure &failure) {
        return failure.chip == former.chip && failure.about == former.about;
    });
}

// What follows from two facts, if both are read.
template <typename A, typename B, typename See>
auto both(const Fact<A> &a, const Fact<B> &b, const See &see) -> Fact<std::invoke_result_t<See, const A &, const B &>> {
    if (!a.is_read()) {
        return a.map([&](const A &value) { return see(value, *b); });
    }
    return b.map([&](const B &value) { return see(*a, value); });
}

Fact<bool> in_trunk(const Look &look, uint32_t port) {
    return both(look.trunks, look.trunk_group, [port](bool is_on, const TrunkGroup &group) {
        return is_on && group.flag && contains(group.ports, port);
    });
}

Fact<MirrorRole> mirroring_of(const Look &look, uint32_t port) {
    const Fact<bool> is_mirrored =
        both(look.ingress_mirrored, look.egress_mirrored,
             [port](const auto &a, const auto &b) { return contains(a, port) || contains(b, port); });
    return both(look.mirror, is_mirrored, [port](const MirrorControl &control, bool mirrored) {
        if (!control.enabled) {
            return MirrorRole::none;
        }
        return contains(control.capture_ports, port) ? MirrorRole::capture
               : mirrored                            ? MirrorRole::mirrored
                                                     : MirrorRole::none;
    });
}

uint64_t errors_of(const Fact<std::vector<CounterValue>> &counters, const CounterNames &names) {
    const Fact<CounterChange> errors = counters.map([&](std::vector<CounterValue> values) {
        std::erase_if(values, [&](const CounterValue &value) { return !is_error(*value.which, names); });
        return total_of(values).is_read() ? *total_of(values) : CounterChange{};
    });
    return errors.is_read() ? errors->by : 0;
}

enum class Trouble { unread, failed, lost, errors, none };

Trouble trouble_of(const SeenPort &port) {
    if (port.is_unread()) {
        return Trouble::unread;
    }
    if (port.failed.is_read() && *port.failed) {
        return Trouble::failed;
    }
    return port.lost ? Trouble::lost : port.errors != 0 ? Trouble::errors : Trouble::none;
}

} // namespace

Look unseen(uint32_t chip, std::span<const uint32_t> ports) {
    Look look{.chip = chip};
    std::transform(ports.begin(), ports.end(), std::back_inserter(look.ports), [](uint32_t port) {
        return PortStatus{port, {}, {}, {}, {}};
    });
    return look;
}

Look look_at(uint32_t chip, std::span<const uint32_t> ports, WithCounters with_counters) {
    Look look{.chip = chip, .time = std::chrono::steady_clock::now()};
    ChipStatus status = read_status(chip,
                                    {&registers::self_test, &registers::switch_mode, &registers::link_status,
                                     &registers::port_speed, &registers::port_duplex},
                                    look.failures);
    look.self_test = std::move(status.self_test);
    look.mode = status.mode;
    for (const uint32_t port : ports) {
        PortStatus &of_port = look.ports.emplace_back(std::move(status.ports[port]));
        // Without the link nobody knows whether they mean something.
        if (const Failure *const failure = of_port.link.failure()) {
            of_port.speed = *failure;
            of_port.duplex = *failure;
        }
    }
    const Trunks trunks = read_trunks(chip, look.failures);
    look.trunks = trunks.enabled;
    look.trunk_group = trunks.group0;
    const Mirroring mirroring = read_mirroring(chip, look.failures);
    look.mirror = mirroring.control;
    look.ingress_mirrored = mirroring.ingress;
    look.egress_mirrored = mirroring.egress;
    if (with_counters == WithCounters::yes) {
        // All ports by one operation where all are wanted.
        look.counters =
            read_counters(chip, ports.size() < KSL_PORTS ? ports : std::span<const uint32_t>(), look.failures);
    }
    return look;
}

Differences differences(const Look &before, const Look &now) {
    Differences found;
    each_value_of_chip([&](const Register &which, auto member) {
        add_difference(found.values, which, std::nullopt, before.*member, now.*member);
    });
    for (size_t i = 0; i < now.ports.size(); ++i) {
        each_value_of_port([&](const Register &which, auto member) {
            add_difference(found.values, which, now.ports[i].port, before.ports[i].*member, now.ports[i].*member);
        });
    }
    std::copy_if(now.failures.begin(), now.failures.end(), std::back_inserter(found.begun),
                 [&](const Failure &failure) { return !is_noted(before.failures, failure); });
    std::copy_if(before.failures.begin(), before.failures.end(), std::back_inserter(found.ended),
                 [&](const Failure &failure) { return !fails(now.failures, failure); });
    return found;
}

Differences see(Seen &seen, Look look) {
    Differences found = differences(seen.known, look);
    for (const Difference &difference : found.values) {
        if (difference.which == &registers::link_status && difference.before.is_read() &&
            !std::get<bool>(difference.now)) {
            seen.lost[*difference.port] = look.time;
        }
    }
    update(seen.known, look);
    if (look.counters && seen.last.counters) {
        look.counters = changes_since(*seen.last.counters, *std::move(look.counters));
    }
    seen.last = std::move(look);
    return found;
}

bool SeenPort::is_unread() const {
    return failed.failure() != nullptr || status.link.failure() != nullptr || status.speed.failure() != nullptr ||
           status.duplex.failure() != nullptr || counters.failure() != nullptr;
}

double SeenPort::rate() const {
    const Fact<CounterChange> total = counters.is_read() ? total_of(*counters) : Fact<CounterChange>();
    return total.is_read() ? total->per_second : 0;
}

std::vector<SeenPort> seen_ports(const Seen &seen, const CounterNames &names) {
    const Look &look = seen.last;
    std::vector<SeenPort> ports;
    for (const PortStatus &status : look.ports) {
        SeenPort port{.chip = look.chip,
                      .status = status,
                      .failed = {},
                      .in_trunk = {},
                      .mirroring = {},
                      .counters = {},
                      .lost = {},
                      .errors = 0};
        port.failed =
            look.self_test.map([&](const SelfTest &test) { return contains(test.failed_ports, status.port); });
        port.in_trunk = in_trunk(look, status.port);
        port.mirroring = mirroring_of(look, status.port);
        if (look.counters) {
            port.counters = look.counters->ports.at(status.port);
            port.errors = errors_of(port.counters, names);
        }
        const auto lost = seen.lost.find(status.port);
        if (lost != seen.lost.end() && look.time - lost->second <= kLately) {
            port.lost = look.time - lost->second;
        }
        ports.push_back(std::move(port));
    }
    return ports;
}

void sort(std::vector<SeenPort> &ports, Order order) {
    // Ports that are equal here are in the order of their numbers.
    const auto key = [order](const SeenPort &port) {
        const Trouble trouble = order == Order::worst ? trouble_of(port) : Trouble::none;
        const double lost = trouble == Trouble::lost ? port.lost->count() : 0;
        const uint64_t no_errors = trouble == Trouble::errors ? UINT64_MAX - port.errors : 0;
        const double idle = order == Order::busiest ? -port.rate() : 0;
        return std::tuple(trouble, lost, no_errors, idle, port.chip, port.status.port);
    };
    std::sort(ports.begin(), ports.end(), [&](const SeenPort &a, const SeenPort &b) { return key(a) < key(b); });
}

} // namespace kslctl::hub
