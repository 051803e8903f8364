// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/diagnosis.h"

#include "kslctl/views/listing.h"

#include <fmt/ranges.h>

namespace kslctl::views {

namespace {

constexpr size_t kWidth = 80;
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

// The words of a text, on lines that begin below each other and end before the edge of a terminal. The first line
// begins after `head`, whose width it is given because emphasis has none.
std::string paragraph(const std::string &head, size_t head_width, const std::string &text) {
    std::string lines = head + std::string(kIndentation - head_width, ' ');
    size_t column = kIndentation;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find(' ', begin), text.size());
        const size_t length = end - begin;
        const bool is_first = column == kIndentation;
        if (!is_first && column + 1 + length > kWidth) {
            lines += "\n" + std::string(kIndentation, ' ');
            column = kIndentation;
        } else if (!is_first) {
            lines += " ";
            ++column;
        }
        lines += text.substr(begin, length);
        column += length;
        begin = end + 1;
    }
    return lines + "\n";
}

std::string text_of(const Row &row, const Style &style) {
    const hub::Rule &rule = *row.finding.rule;
    const std::string subject = row.finding.ports.empty() ? "chip" : hub::describe_ports(row.finding.ports);
    const std::string severity = severity_text(rule.severity);
    std::string text =
        paragraph(style.heading(severity), severity.size(), fmt::format("{}: {} [{}]", subject, rule.title, rule.id));
    for (const Column<Row> &column : kFindingColumns) {
        if (column.heading != nullptr) {
            const std::string head = fmt::format("  {}", column.heading);
            text += paragraph(head, head.size(), column.cell(row).text);
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
std::string text_of(const std::vector<hub::NotJudged> &list) {
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
        text += "\n" + paragraph("?", 1, fmt::format("{}: {}", head, fmt::join(rules, ", ")));
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
    shown.text += text_of(diagnosis.not_judged);
    return shown;
}

std::string rule_list() {
    std::string text;
    for (const hub::Rule &rule : hub::rules()) {
        text += fmt::format("  {:<23}  {:<7}  {}\n", rule.id, severity_text(rule.severity), rule.title);
    }
    return text;
}

} // namespace kslctl::views
