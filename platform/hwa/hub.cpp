// SPDX-License-Identifier: Apache-2.0
#include "hub.h"

#include "chip/registers.h"
#include "hwa_sim.h"
#include "problem.h"
#include "state/clock.h"
#include "state/log.h"

#include <atomic>
#include <complaint.h>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>
#include <thread>

namespace hwa {
namespace {

std::string environment(const char *name) {
    const char *const value = std::getenv(name);
    return value != nullptr ? value : "";
}

// Runs a step of the set-up; an error gets the name of its place in front.
template <typename Step>
auto with_place(const std::string &place, Step step) {
    try {
        return step();
    } catch (const Unusable &problem) {
        throw Unusable(place + ": " + problem.what());
    }
}

// This process' view of the hub, set up by the environment at the first use.
class Hub {
public:
    Hub() {
        try {
            if (const std::string log = environment("HWA_SIM_LOG"); !log.empty()) {
                log_ = Log(log);
            }
            const std::string path = environment("HWA_SIM_SCENARIO");
            scenario_ = path.empty()
                            ? with_place("the built-in scenario", [] { return parse_scenario(kDefaultScenario); })
                            : with_place("HWA_SIM_SCENARIO", [&] { return load_scenario(path); });
            faults_ = with_place("HWA_SIM_FAULTS", [] { return Faults(environment("HWA_SIM_FAULTS")); });
            clock_ = with_place("HWA_SIM_CLOCK", [] { return Clock(environment("HWA_SIM_CLOCK")); });
            state_ = std::make_unique<StateFile>(state_folder(), scenario_);
            description_ = "simulated hub \"" + scenario_.name + "\" (" +
                           (path.empty() ? "built-in scenario" : "scenario " + path) + "), state " + state_->path();
        } catch (const std::bad_alloc &) {
            throw;
        } catch (const std::exception &problem) {
            // Every access fails: another hub than the requested one would mislead.
            state_.reset();
            description_ = std::string("simulated hub, unusable: ") + problem.what();
            report(problem.what());
        }
    }

    // Says why accesses fail, once for each reason. A state can become usable again.
    void report(const std::string &reason) {
        if (reason != reported_) {
            reported_ = reason;
            complain("unusable: " + reason);
        }
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
    std::string reported_;
};

// Guards the hub below between threads; the state's own lock works between processes.
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
    if (the_hub != nullptr && the_hub->state() != nullptr) {
        the_hub->state()->close();
    }
    guard.unlock();
}

Hub &hub() {
    if (the_hub == nullptr) {
        the_hub = new Hub;
        static constinit bool registered = false;
        if (!registered) {
            pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
        }
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
        if (hub().state() != nullptr) {
            effects = hub().faults().meet(access);
        }
    }
    // A slow access does not keep others waiting.
    if (effects.delay.count() > 0) {
        std::this_thread::sleep_for(effects.delay);
    }
    return effects;
}

// Once, and without memory. The next access tries again.
void report_lack_of_memory() {
    static constinit std::atomic_flag reported;
    if (!reported.test_and_set()) {
        platform::complain(
            "simulated hub: unusable: there is not enough memory for it; raise the limit of this process "
            "(ulimit -v), or end others\n");
    }
}

template <typename Work>
int32_t run(const Access &access, Describe describe, Work work) noexcept {
    try {
        const Effects effects = meet_faults(access);
        const std::lock_guard lock(guard);
        int32_t result = HWA_SIM_UNUSABLE;
        std::string answer;
        if (hub().state() != nullptr) {
            try {
                result = effects.code ? *effects.code : work(*hub().state(), effects, answer);
            } catch (const std::bad_alloc &) {
                throw;
            } catch (const std::exception &problem) {
                answer.clear();
                hub().report(problem.what());
            }
        }
        if (hub().log().is_on()) {
            hub().log().write("hwa_" + std::string(name_of(access.entry)) + " " + describe() + " -> " +
                              std::to_string(result) + answer +
                              (effects.rules.empty() ? "" : " fault=" + effects.rules));
        }
        return result;
    } catch (...) {
        report_lack_of_memory();
        return HWA_SIM_UNUSABLE;
    }
}

} // namespace

int32_t perform(const Access &access, Describe describe, FunctionRef<int32_t(const Visit &)> work) noexcept {
    return run(access, describe, [&](StateFile &state, const Effects &effects, std::string &answer) -> int32_t {
        Transaction transaction(state);
        const ChipImage *const chip = transaction.chip(access.chip.value());
        if (chip == nullptr) {
            return HWA_SIM_NO_SUCH_CHIP;
        }
        hub().clock().advance(transaction, *chip);
        const int32_t result = work({transaction, *chip, effects, answer});
        transaction.commit();
        return result;
    });
}

int32_t perform_without_chip(Entry entry, Describe describe, FunctionRef<int32_t()> work) noexcept {
    return run({.entry = entry, .chip = {}, .page = {}, .offset = {}}, describe,
               [&](StateFile &state, const Effects &, std::string &) {
                   const Transaction transaction(state); // no answer from a hub that cannot be used
                   return work();
               });
}

int32_t read_access(Entry entry, uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer,
                    Describe describe) noexcept {
    return perform({entry, chip, page, offset}, describe, [&](const Visit &visit) -> int32_t {
        if (buffer == nullptr) {
            return HWA_SIM_NULL_POINTER;
        }
        if (!is_register(offset, length)) {
            return HWA_SIM_BAD_LENGTH;
        }
        std::array<uint8_t, kMaxRegister> bytes{};
        const std::span<uint8_t> wanted = std::span(bytes).first(length);
        read_register(visit.transaction, visit.chip, page, offset, wanted);
        visit.answer = " bytes=" + hex(pass(visit.effects, wanted, buffer));
        return 0;
    });
}

std::string place(uint8_t page, uint8_t offset, uint32_t length) {
    return "page=" + hex(page, 2) + " offset=" + hex(offset, 2) + " length=" + std::to_string(length);
}

std::span<uint8_t> pass(const Effects &effects, std::span<const uint8_t> bytes, uint8_t *to) {
    const size_t arriving = std::min<size_t>(bytes.size(), effects.short_length.value_or(UINT32_MAX));
    for (size_t i = 0; i < arriving; ++i) {
        to[i] = effects.garble ? static_cast<uint8_t>(~bytes[i]) : bytes[i];
    }
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
