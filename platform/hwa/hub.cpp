// SPDX-License-Identifier: Apache-2.0
#include "hub.h"

#include "clock.h"
#include "hwa_sim.h"
#include "log.h"
#include "problem.h"
#include "registers.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace hwa {
namespace {

std::string environment(const char *name) {
    const char *const value = std::getenv(name);
    return value != nullptr ? value : "";
}

// Runs a step of the set-up; what goes wrong is told with the place that it concerns.
template <typename Step>
auto with_place(const std::string &place, Step step) {
    try {
        return step();
    } catch (const Unusable &problem) {
        throw Unusable(place + ": " + problem.what());
    }
}

// The hub as this process has it, by the environment at its first use.
class Hub {
public:
    Hub() {
        try {
            if (const std::string log = environment("HWA_SIM_LOG"); !log.empty())
                log_ = Log(log);
            const std::string path = environment("HWA_SIM_SCENARIO");
            scenario_ = path.empty()
                            ? with_place("the built-in scenario", [] { return parse_scenario(kDefaultScenario); })
                            : with_place("HWA_SIM_SCENARIO: " + path, [&] { return load_scenario(path); });
            faults_ = with_place("HWA_SIM_FAULTS", [] { return Faults(environment("HWA_SIM_FAULTS")); });
            clock_ = with_place("HWA_SIM_CLOCK", [] { return Clock(environment("HWA_SIM_CLOCK")); });
            state_ = std::make_unique<StateFile>(state_folder(), scenario_);
            description_ = "simulated hub \"" + scenario_.name + "\" (" +
                           (path.empty() ? "built-in scenario" : "scenario " + path) + "), state " + state_->path();
        } catch (const std::exception &problem) {
            give_up(problem.what());
        }
    }

    // From now on every access fails: a hub that is not what the user asked for would be worse than none.
    void give_up(const std::string &reason) {
        state_.reset();
        description_ = "simulated hub, unusable: " + reason;
        complain("unusable: " + reason);
    }

    StateFile *state() { return state_.get(); }
    Faults &faults() { return faults_; }
    const Clock &clock() const { return clock_; }
    Log &log() { return log_; }
    const std::string &description() const { return description_; }

private:
    Log log_;
    Scenario scenario_;
    Faults faults_{""};
    Clock clock_;
    std::unique_ptr<StateFile> state_;
    std::string description_;
};

// Guards all that follows. The state's own lock keeps processes apart, not threads.
constinit std::mutex guard;
constinit Hub *the_hub = nullptr;

// A child must find the guard free, and must not share its parent's lock of the state.
void before_fork() {
    guard.lock();
}
void after_fork_in_parent() {
    guard.unlock();
}
void after_fork_in_child() {
    if (the_hub != nullptr && the_hub->state() != nullptr)
        the_hub->state()->close();
    guard.unlock();
}

Hub &hub() {
    if (the_hub == nullptr) {
        the_hub = new Hub;
        static constinit bool registered = false;
        if (!registered)
            pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
        registered = true;
    }
    return *the_hub;
}

// The library is loaded and unloaded many times in one process.
[[gnu::destructor]] void unload() {
    const std::lock_guard lock(guard);
    delete the_hub;
    the_hub = nullptr;
}

Effects meet_faults(const Access &access) {
    Effects effects;
    {
        const std::lock_guard lock(guard);
        if (hub().state() != nullptr)
            effects = hub().faults().meet(access);
    }
    // A slow access keeps nobody else waiting.
    if (effects.delay.count() > 0)
        std::this_thread::sleep_for(effects.delay);
    return effects;
}

template <typename Work>
std::int32_t run(const Access &access, Describe describe, Work work) noexcept {
    try {
        const Effects effects = meet_faults(access);
        const std::lock_guard lock(guard);
        std::int32_t result = HWA_SIM_UNUSABLE;
        std::string answer;
        if (hub().state() != nullptr) {
            try {
                result = effects.code ? *effects.code : work(*hub().state(), effects, answer);
            } catch (const std::exception &problem) {
                answer.clear();
                hub().give_up(problem.what());
            }
        }
        if (hub().log().is_on())
            hub().log().write("hwa_" + std::string(name_of(access.entry)) + " " + describe() + " -> " +
                              std::to_string(result) + answer +
                              (effects.rules.empty() ? "" : " fault=" + effects.rules));
        return result;
    } catch (...) {
        return HWA_SIM_UNUSABLE;
    }
}

} // namespace

std::int32_t perform(const Access &access, Describe describe, FunctionRef<std::int32_t(const Visit &)> work) noexcept {
    return run(access, describe, [&](StateFile &state, const Effects &effects, std::string &answer) -> std::int32_t {
        Transaction transaction(state);
        const ChipImage *const chip = transaction.chip(access.chip.value());
        if (chip == nullptr)
            return HWA_SIM_NO_SUCH_CHIP;
        hub().clock().advance(transaction, *chip);
        const std::int32_t result = work({transaction, *chip, effects, answer});
        transaction.commit();
        return result;
    });
}

std::int32_t perform_without_chip(Entry entry, Describe describe, FunctionRef<std::int32_t()> work) noexcept {
    return run({.entry = entry, .chip = {}, .page = {}, .offset = {}}, describe,
               [&](StateFile &, const Effects &, std::string &) { return work(); });
}

std::int32_t read_access(Entry entry, Byte chip, Byte page, Byte offset, std::uint32_t length, Byte *buffer,
                         Describe describe) noexcept {
    return perform({entry, chip, page, offset}, describe, [&](const Visit &visit) -> std::int32_t {
        if (buffer == nullptr)
            return HWA_SIM_NULL_POINTER;
        if (!is_register(offset, length))
            return HWA_SIM_BAD_LENGTH;
        std::array<Byte, kMaxRegister> bytes{};
        const std::span<Byte> wanted = std::span(bytes).first(length);
        read_register(visit.transaction, visit.chip, page, offset, wanted);
        visit.answer = " bytes=" + hex(pass(visit.effects, wanted, buffer));
        return 0;
    });
}

std::string place(Byte page, Byte offset, std::uint32_t length) {
    return "page=" + hex(page, 2) + " offset=" + hex(offset, 2) + " length=" + std::to_string(length);
}

std::span<Byte> pass(const Effects &effects, std::span<const Byte> bytes, Byte *to) {
    const std::size_t arriving = std::min<std::size_t>(bytes.size(), effects.short_length.value_or(UINT32_MAX));
    for (std::size_t i = 0; i < arriving; ++i)
        to[i] = effects.garble ? static_cast<Byte>(~bytes[i]) : bytes[i];
    return {to, arriving};
}

const char *description() noexcept {
    try {
        const std::lock_guard lock(guard);
        return hub().description().c_str();
    } catch (...) {
        return "simulated hub, unusable: out of memory";
    }
}

} // namespace hwa
