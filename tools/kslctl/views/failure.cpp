// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/failure.h"

#include <fmt/core.h>
#include <hwa_sim.h>

namespace kslctl::views {

namespace {

std::string explain(const hub::Failure &failure, bool simulated) {
    if (failure.code == -1) {
        return failure.refusal.empty() ? "the lower library lacks an entry point" : failure.refusal;
    }
    if (!simulated) {
        return "a code of the lower library";
    }
    switch (failure.code) {
    case HWA_SIM_NO_SUCH_CHIP:
        return "the simulated hub has no such chip";
    case HWA_SIM_BAD_LENGTH:
        return "the simulated hub has no register of that length there";
    case HWA_SIM_NULL_POINTER:
        return "the simulated hub was given no buffer";
    case HWA_SIM_REFUSED:
        return "the simulated hub does not know that command";
    case HWA_SIM_UNUSABLE:
        return "the simulated hub is unusable";
    default:
        return "a code that the simulated hub was told to give";
    }
}

Shown error(const Json &chip, const Json &operation, const Json &about, const Json &code, const std::string &message) {
    return {{{"chip", chip}, {"operation", operation}, {"about", about}, {"code", code}, {"message", message}},
            message};
}

} // namespace

Shown failure(const hub::Failure &failure, bool simulated) {
    const std::string undone = fmt::format("chip {}: {} {}", failure.chip, failure.about, failure.undone);
    if (failure.operation.empty()) {
        return error(failure.chip, nullptr, nullptr, nullptr, fmt::format("{}: {}", undone, failure.reason));
    }
    return error(
        failure.chip, failure.operation, failure.about, failure.code,
        fmt::format("{}: {} returned {} ({})", undone, failure.operation, failure.code, explain(failure, simulated)));
}

Shown failure(const std::string &sentence) {
    return error(nullptr, nullptr, nullptr, nullptr, sentence);
}

std::string sentence(const hub::LibraryProblem &problem) {
    using Kind = hub::LibraryProblem::Kind;
    switch (problem.kind) {
    case Kind::no_simulated_hub:
        return fmt::format("--simulate: there is no simulated hub beside this program: {} is missing; install it with "
                           "the program, or leave --simulate out",
                           problem.library);
    case Kind::simulated_hub_unusable:
        return fmt::format("--simulate: the simulated hub cannot be opened: {}", problem.reason);
    case Kind::lower_library_unusable:
        return fmt::format("{} cannot be opened, so there is no hub to talk to: {}", problem.library, problem.reason);
    case Kind::no_lower_library:
        break;
    }
    return "neither libhwa.so nor libqrthwa.gen1.so was found, so there is no hub to talk to; name their folder in "
           "LD_LIBRARY_PATH, or use --simulate";
}

} // namespace kslctl::views
