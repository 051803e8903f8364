// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/failure.h"

#include <algorithm>
#include <fmt/ranges.h>
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

std::string cause_of(const hub::Failure &failure, bool simulated) {
    return failure.operation.empty()
               ? failure.reason
               : fmt::format("{} returned {} ({})", failure.operation, failure.code, explain(failure, simulated));
}

// "PVID of port 3 and 2 more not set"
std::string undone_of(const std::vector<const hub::Failure *> &alike) {
    const std::string more = alike.size() > 1 ? fmt::format(" and {} more", alike.size() - 1) : "";
    return fmt::format("{}{} {}", alike[0]->about, more, alike[0]->undone);
}

Shown error(const Json &chip, const Json &operation, const Json &about, const Json &code, const std::string &message) {
    return {{{"chip", chip}, {"operation", operation}, {"about", about}, {"code", code}, {"message", message}},
            message};
}

} // namespace

Shown failure(const hub::Failure &failure, bool simulated) {
    const std::string message = sentence(hub::Failures{failure}, simulated);
    return failure.operation.empty() ? error(failure.chip, nullptr, nullptr, nullptr, message)
                                     : error(failure.chip, failure.operation, failure.about, failure.code, message);
}

std::string sentence(const hub::Failures &of_one_cause, bool simulated) {
    std::vector<std::vector<const hub::Failure *>> kinds; // what is not read, what is not set
    for (const hub::Failure &failure : of_one_cause) {
        const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                       [&](const auto &others) { return others.front()->undone == failure.undone; });
        if (kind == kinds.end()) {
            kinds.push_back({&failure});
        } else {
            kind->push_back(&failure);
        }
    }
    std::vector<std::string> undone;
    std::transform(kinds.begin(), kinds.end(), std::back_inserter(undone), undone_of);
    const hub::Failure &first = of_one_cause.front();
    return fmt::format("chip {}: {}: {}", first.chip, fmt::join(undone, ", "), cause_of(first, simulated));
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
