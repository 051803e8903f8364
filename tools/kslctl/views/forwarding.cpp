// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/forwarding.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/values.h"

namespace kslctl::views {

namespace {

using hub::Mirroring;
using hub::PortLearning;
using hub::Trunks;

const Columns<Trunks> kTrunkColumns = {
    {"trunk control", "enabled", Align::left, [](const Trunks &t) { return cell(t.enabled, trunk_control); }},
    {"trunk group 0", "group0", Align::left, [](const Trunks &t) { return cell(t.group0, trunk_group); }},
    {"trunk group 0", "group0_again", Align::left, [](const Trunks &t) { return cell(t.group0_again, trunk_group); }},
};

const Columns<Mirroring> kMirrorColumns = {
    {"mirror control", "mirror_control", Align::left,
     [](const Mirroring &m) { return cell(m.control, mirror_control); }},
    {"ingress mirror mask", "ingress_mirror_mask", Align::left,
     [](const Mirroring &m) { return cell(m.ingress, port_numbers); }},
    {"egress mirror mask", "egress_mirror_mask", Align::left,
     [](const Mirroring &m) { return cell(m.egress, port_numbers); }},
};

struct TrunkAnswer {
    hub::TrunkQuestion question;
    hub::Fact<bool> answer;
};

Cell verdict(const TrunkAnswer &asked) {
    return cell(asked.answer, [&question = asked.question](bool are_members) -> Cell {
        if (are_members) {
            return {fmt::format("has the ports {} and {}", question.port_a, question.port_b), true};
        }
        if (question.group != 0) {
            return {"is never read: the library confirms none of its ports", false};
        }
        return {fmt::format("does not have both ports {} and {}, or is off", question.port_a, question.port_b), false};
    });
}

const Columns<TrunkAnswer> kAnswerColumns = {
    {nullptr, "group", Align::left, [](const TrunkAnswer &a) { return number(a.question.group); }},
    {nullptr, "port_a", Align::left, [](const TrunkAnswer &a) { return number(a.question.port_a); }},
    {nullptr, "port_b", Align::left, [](const TrunkAnswer &a) { return number(a.question.port_b); }},
    {nullptr, "verdict", Align::left, verdict},
};

const Columns<PortLearning> kLearningColumns = {
    kPortColumn<PortLearning>,
    {"learned", "learned", Align::right, [](const PortLearning &port) { return cell(port.learned, number); }},
    {"limit", "limit", Align::right, [](const PortLearning &port) { return cell(port.limit, learning_limit); }},
};

} // namespace

Shown trunks(const Trunks &trunks, const Style &style) {
    return {object(kTrunkColumns, trunks), lines(kTrunkColumns, trunks, style)};
}

Shown trunk_answer(const hub::TrunkQuestion &question, const hub::Fact<bool> &answer, const Style &style) {
    const TrunkAnswer asked{question, answer};
    return {object(kAnswerColumns, asked),
            fmt::format("trunk group {}  {}\n", question.group, style.value(verdict(asked).text)),
            answer.is_read() && !*answer};
}

Shown mirroring(const Mirroring &mirroring, const Style &style) {
    return {object(kMirrorColumns, mirroring), lines(kMirrorColumns, mirroring, style)};
}

Shown learning(const std::vector<PortLearning> &ports, const Style &style) {
    return {{{"ports", objects(kLearningColumns, ports)}}, table(kLearningColumns, ports, style)};
}

} // namespace kslctl::views
