// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/diagnosis.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/paragraph.h"

#include <fmt/ranges.h>

namespace kslctl::views {

namespace {

constexpr size_t kIndentation = 9;

// A finding with what is put before its command.
struct Row {
    const hub::Finding &finding;
    const std::string &kslctl;
};

const char *severity_text(hub::Severity severity) {
    constexpr const char *kTexts[] = {"fault", "warning", "note"};
    return kTexts[static_cast<size_t>(severity)];
}

// A text for people and programs alike.
Cell text_cell(const std::string &text) {
    return {text, text};
}

const Columns<Row> kFindingColumns = {
    {nullptr, "rule", Align::left, [](const Row &row) { return text_cell(row.finding.rule->id); }},
    {nullptr, "severity", Align::left,
     [](const Row &row) { return text_cell(severity_text(row.finding.rule->severity)); }},
    {nullptr, "ports", Align::left,
     [](const Row &row) {
         return Cell{{}, row.finding.ports};
     }},
    {nullptr, "title", Align::left, [](const Row &row) { return text_cell(row.finding.rule->title); }},
    {"seen", "seen", Align::left, [](const Row &row) { return text_cell(row.finding.seen); }},
    {"means", "meaning", Align::left, [](const Row &row) { return text_cell(row.finding.rule->meaning); }},
    {"try", "command", Align::left, [](const Row &row) { return text_cell(row.kslctl + " " + row.finding.command); }},
};

// "the port is switched off [port_off]"
std::string title_of(const hub::Rule &rule) {
    return fmt::format("{} [{}]", rule.title, rule.id);
}

std::string text_of(const Row &row, const Style &style) {
    const hub::Rule &rule = *row.finding.rule;
    const std::string subject = row.finding.ports.empty() ? "chip" : hub::describe_ports(row.finding.ports);
    std::string text =
        paragraph(severity_text(rule.severity), kIndentation, fmt::format("{}: {}", subject, title_of(rule)), style);
    for (const Column<Row> &column : kFindingColumns) {
        if (column.heading != nullptr) {
            text += paragraph(fmt::format("  {}", column.heading), kIndentation, column.cell(row).text, Style(false));
        }
    }
    return text;
}

std::string reason(const hub::NotJudged &not_judged) {
    return not_judged.because.about + " " + not_judged.because.undone;
}

const Columns<hub::NotJudged> kNotJudgedColumns = {
    {nullptr, "rule", Align::left, [](const hub::NotJudged &n) { return text_cell(n.rule->id); }},
    {nullptr, "ports", Align::left,
     [](const hub::NotJudged &n) {
         return Cell{{}, n.ports};
     }},
    {nullptr, "because", Align::left, [](const hub::NotJudged &n) { return text_cell(reason(n)); }},
};

// Rules that one failure hides at the same ports are named together.
std::string text_of(const std::vector<hub::NotJudged> &list, const Style &style) {
    std::vector<std::pair<std::string, std::vector<std::string>>> paragraphs;
    for (const hub::NotJudged &row : list) {
        const std::string head = fmt::format("{}, so not judged{}", reason(row),
                                             row.ports.empty() ? "" : " at " + hub::describe_ports(row.ports));
        auto same = std::find_if(paragraphs.begin(), paragraphs.end(), [&](const auto &p) { return p.first == head; });
        if (same == paragraphs.end()) {
            same = paragraphs.insert(same, {head, {}});
        }
        same->second.push_back(row.rule->id);
    }
    std::string text;
    for (const auto &[head, rules] : paragraphs) {
        text +=
            "\n" + paragraph(tools::kNotRead, kIndentation, fmt::format("{}: {}", head, fmt::join(rules, ", ")), style);
    }
    return text;
}

} // namespace

Shown diagnosis(const hub::Diagnosis &diagnosis, const std::string &kslctl, const Style &style) {
    Shown shown{{{"findings", Json::array()}, {"not_judged", objects(kNotJudgedColumns, diagnosis.not_judged)}}, {}};
    for (const hub::Finding &finding : diagnosis.findings) {
        const Row row{finding, kslctl};
        shown.json["findings"].push_back(object(kFindingColumns, row));
        shown.text += (shown.text.empty() ? "" : "\n") + text_of(row, style);
    }
    shown.answer_is_no = !diagnosis.findings.empty();
    if (diagnosis.findings.empty()) {
        shown.text =
            diagnosis.not_judged.empty() ? "nothing found\n" : "nothing found by the rules that could be judged\n";
    }
    shown.text += text_of(diagnosis.not_judged, style);
    return shown;
}

std::vector<std::string> short_findings(const hub::Diagnosis &diagnosis, const Style &style) {
    std::vector<std::string> lines;
    for (const hub::Finding &finding : diagnosis.findings) {
        const hub::Rule &rule = *finding.rule;
        lines.push_back(paragraph(severity_text(rule.severity), kIndentation, title_of(rule), style));
    }
    if (const size_t count = diagnosis.not_judged.size(); count != 0) {
        const std::string text =
            fmt::format("{} not judged", count == 1 ? "a rule is" : fmt::format("{} rules are", count));
        lines.push_back(paragraph(tools::kNotRead, kIndentation, text, style));
    }
    return lines;
}

std::string rule_list() {
    std::string text;
    for (const hub::Rule &rule : hub::rules()) {
        text += fmt::format("  {:<23}  {:<7}  {}\n", rule.id, severity_text(rule.severity), rule.title);
    }
    return text;
}

} // namespace kslctl::views
