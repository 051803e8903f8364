// SPDX-License-Identifier: Apache-2.0
#include "kslctl/report.h"

#include "support/standard_streams.h"

#include <fmt/core.h>
#include <hwa_sim.h>
#include <utility>

namespace kslctl {

void Report::fail(const FailedOperation &failure) {
    const std::string message =
        fmt::format("chip {}: {} {}: {} returned {}{}", failure.chip, failure.about, failure.undone, failure.operation,
                    failure.code, explain(failure.code, failure.refusal));
    keep({{"chip", failure.chip},
          {"operation", failure.operation},
          {"about", failure.about},
          {"code", failure.code},
          {"message", message}});
}

void Report::fail(const std::string &sentence) {
    fail_of(nullptr, sentence);
}

void Report::fail(uint32_t chip, const std::string &sentence) {
    fail_of(chip, fmt::format("chip {}: {}", chip, sentence));
}

void Report::fail_of(const Json &chip, const std::string &message) {
    keep({{"chip", chip}, {"operation", nullptr}, {"about", nullptr}, {"code", nullptr}, {"message", message}});
}

void Report::keep(const Json &error) {
    tools::complain("kslctl", error["message"].get<std::string>());
    errors_.push_back(error);
    has_failures_ = true;
}

void Report::note(const std::string &sentence) {
    tools::complain("kslctl note", sentence);
}

Json Report::take_errors() {
    return std::exchange(errors_, Json::array());
}

std::string Report::explain(int32_t code, const char *refusal) const {
    if (code == -1) {
        return fmt::format(" ({})", refusal != nullptr ? refusal : "the lower library lacks an entry point");
    }
    if (!simulated_) {
        return " (a code of the lower library)";
    }
    switch (code) {
    case HWA_SIM_NO_SUCH_CHIP:
        return " (the simulated hub has no such chip)";
    case HWA_SIM_BAD_LENGTH:
        return " (the simulated hub has no register of that length there)";
    case HWA_SIM_NULL_POINTER:
        return " (the simulated hub was given no buffer)";
    case HWA_SIM_REFUSED:
        return " (the simulated hub does not know that command)";
    case HWA_SIM_UNUSABLE:
        return " (the simulated hub is unusable)";
    default:
        return " (a code that the simulated hub was told to give)";
    }
}

} // namespace kslctl
