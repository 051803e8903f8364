// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/diagnosis.h"

#include <algorithm>
#include <fmt/core.h>
#include <utility>

namespace kslctl::hub {

namespace {

bool is_asked_for(const ChipFacts &facts, const std::vector<uint32_t> &ports) {
    return ports.empty() || std::any_of(facts.ports.begin(), facts.ports.end(), [&](const PortFacts &port) {
               return std::find(ports.begin(), ports.end(), port.status.port) != ports.end();
           });
}

// Ports that one failure concerns are named together.
void add_not_judged(std::vector<NotJudged> &list, const Rule &rule, std::vector<uint32_t> ports,
                    const Failure &because) {
    const auto same = std::find_if(list.begin(), list.end(), [&](const NotJudged &other) {
        return other.rule == &rule && other.because == because;
    });
    if (same == list.end()) {
        list.push_back({&rule, std::move(ports), because});
    } else {
        same->ports.insert(same->ports.end(), ports.begin(), ports.end());
    }
}

Finding finding_of(const Rule &rule, const Sight &sight, std::vector<uint32_t> ports) {
    const std::string argument = sight.argument.empty() && !ports.empty() ? std::to_string(ports[0]) : sight.argument;
    return {&rule, std::move(ports), sight.text, fmt::format(fmt::runtime(rule.command), argument)};
}

// The worst come first, those of the chip before those of ports. Whole lists of ports are not compared: on big-endian
// machines the C++ library of GCC 12 takes {4} and {12} for equal.
std::pair<Severity, uint32_t> place_of(const Finding &finding) {
    return {finding.rule->severity, finding.ports.empty() ? 0 : finding.ports[0] + 1};
}

} // namespace

Diagnosis diagnose(const ChipFacts &facts) {
    Diagnosis diagnosis;
    const auto add = [&](const Rule &rule, const Verdict &verdict, const std::vector<uint32_t> &ports) {
        if (const Failure *const failure = verdict.failure()) {
            add_not_judged(diagnosis.not_judged, rule, ports, *failure);
        } else if (verdict.is_read() && is_asked_for(facts, verdict->ports)) {
            diagnosis.findings.push_back(finding_of(rule, *verdict, ports.empty() ? verdict->ports : ports));
        }
    };
    for (const Rule &rule : rules()) {
        if (rule.of_chip != nullptr) {
            add(rule, rule.of_chip(facts), {});
            continue;
        }
        for (const PortFacts &port : facts.ports) {
            add(rule, rule.of_port(facts, port), {port.status.port});
        }
    }
    std::stable_sort(diagnosis.findings.begin(), diagnosis.findings.end(),
                     [](const Finding &a, const Finding &b) { return place_of(a) < place_of(b); });
    return diagnosis;
}

} // namespace kslctl::hub
