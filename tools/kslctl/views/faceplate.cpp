// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/faceplate.h"

#include "kslctl/views/counters.h"
#include "kslctl/views/failure.h"
#include "kslctl/views/values.h"

#include <algorithm>
#include <fmt/ranges.h>

namespace kslctl::views {

namespace {

using hub::Fact;
using hub::MirrorRole;
using hub::Seen;
using hub::SeenPort;
using tools::Colour;

constexpr uint32_t kPortsInRow = KSL_PORTS / 2;

// The two sizes in which a port of a faceplate is drawn.
constexpr size_t kWideCell = 6;
constexpr size_t kNarrowCell = 3;

// Less has no room for a faceplate and two ports below it.
constexpr size_t kLeastRows = 11;
constexpr size_t kLeastColumns = kPortsInRow * kNarrowCell;

// The lines of a chip: its heading, and two for each row of ports.
constexpr size_t kLinesOfChip = 5;

// The rest of the picture: title, legend, heading of the list, keys.
constexpr size_t kOtherLines = 4;

// A line of coloured pieces that ends where the picture ends; then its last character says so.
class Line {
public:
    Line(const Frame &frame, const Style &style) : left_(frame.columns), style_(style) {}

    Line &add(std::string_view text, Colour colour = Colour::none) {
        constexpr std::string_view kCut = "~";
        if (text.size() > left_) {
            const std::string_view shown = text.substr(0, left_ > 0 ? left_ - 1 : 0);
            text_ += style_.coloured(colour, shown) + std::string(left_ > 0 ? kCut : "");
            left_ = 0;
        } else {
            text_ += style_.coloured(colour, text);
            left_ -= text.size();
        }
        return *this;
    }
    size_t left() const { return left_; }
    const std::string &text() const { return text_; }

private:
    size_t left_;
    const Style &style_;
    std::string text_;
};

struct Sign {
    std::string text;
    Colour colour = Colour::none;
};

// Without a link its colour is dim, with one it depends on the speed.
Colour link_colour(const SeenPort &port) {
    const hub::PortStatus &status = port.status;
    if (!status.link.is_read() || !status.speed.is_read()) {
        return status.link.is_read() && !*status.link ? Colour::dim : Colour::red;
    }
    return *status.speed == 100 ? Colour::green : Colour::yellow;
}

std::string duplex_letter(const Fact<hub::Duplex> &duplex) {
    return cell(duplex, [](hub::Duplex mode) { return Cell{mode == hub::Duplex::full ? "F" : "H", nullptr}; }).text;
}

// "100F", "10H", "-", "?"
Sign link_sign(const SeenPort &port) {
    const hub::PortStatus &status = port.status;
    if (!status.link.is_read() || !*status.link) {
        return {link(status).json.is_null() ? std::string(tools::kNotRead) : std::string(tools::kNothing),
                link_colour(port)};
    }
    return {speed(status).text + duplex_letter(status.duplex), link_colour(port)};
}

// The same in one letter: a small one for 10 Mb/s.
Sign short_link_sign(const SeenPort &port) {
    Sign sign = link_sign(port);
    const hub::PortStatus &status = port.status;
    if (sign.text.size() > 1) {
        const bool is_known = status.speed.is_read() && status.duplex.is_read();
        const char *const letters = is_known && *status.speed == 100 ? "HF" : "hf";
        sign.text = is_known ? std::string(1, letters[*status.duplex == hub::Duplex::full ? 1 : 0])
                             : std::string(tools::kNotRead);
    }
    return sign;
}

// What is special about a port, the most important first.
std::vector<Sign> marks_of(const SeenPort &port) {
    std::vector<Sign> marks;
    const auto add = [&](bool is_so, const char *text, Colour colour) {
        if (is_so) {
            marks.push_back({text, colour});
        }
    };
    add(port.failed.is_read() && *port.failed, "!", Colour::red);
    add(port.mirroring.is_read() && *port.mirroring == MirrorRole::capture, "C", Colour::magenta);
    add(port.in_trunk.is_read() && *port.in_trunk, "T", Colour::cyan);
    add(port.mirroring.is_read() && *port.mirroring == MirrorRole::mirrored, "m", Colour::magenta);
    return marks;
}

std::string blanks(size_t count) {
    return std::string(count, ' ');
}

// All of them, or as many as there is room for, in that many columns.
void add_marks(Line &line, const std::vector<Sign> &marks, size_t columns) {
    const size_t shown = std::min(marks.size(), columns);
    for (size_t i = 0; i < shown; ++i) {
        line.add(marks[i].text, marks[i].colour);
    }
    line.add(blanks(columns - shown));
}

void add_padded(Line &line, const Sign &sign, size_t columns) {
    line.add(sign.text, sign.colour);
    line.add(blanks(columns - std::min(columns, sign.text.size())));
}

// "trunk off", "trunk ports 22-23", "trunk ?"
std::string trunk_text(const hub::Look &look) {
    if (look.trunks.is_read() && !*look.trunks) {
        return "off";
    }
    return look.trunks.is_read() ? cell(look.trunk_group,
                                        [](const hub::TrunkGroup &group) {
                                            return Cell{group.flag ? hub::describe_ports(group.ports) : "off", nullptr};
                                        })
                                       .text
                                 : std::string(tools::kNotRead);
}

std::string mirror_text(const hub::Look &look) {
    return cell(look.mirror,
                [](const hub::MirrorControl &control) {
                    return Cell{control.enabled ? "to " + hub::describe_ports(control.capture_ports) : "off", nullptr};
                })
        .text;
}

class Painter {
public:
    Painter(const std::vector<Seen> &chips, const Frame &frame, const Style &style)
        : chips_(chips), frame_(frame), style_(style), is_wide_(frame.columns >= kPortsInRow * kWideCell) {
        for (const Seen &chip : chips) {
            const std::vector<SeenPort> of_chip = hub::seen_ports(chip, frame.names);
            ports_.insert(ports_.end(), of_chip.begin(), of_chip.end());
            failures_.insert(failures_.end(), chip.last.failures.begin(), chip.last.failures.end());
        }
        hub::sort(ports_, frame.order);
    }

    std::string paint() {
        if (frame_.rows < kLeastRows || frame_.columns < kLeastColumns) {
            add_summary();
        } else {
            add_title();
            add_faceplates();
            add_failures();
            add_legend();
            add_list();
        }
        lines_.resize(frame_.rows - 1);
        add_keys();
        return fmt::format("{}", fmt::join(lines_, "\n"));
    }

private:
    Line line() const { return {frame_, style_}; }
    void finish(const Line &line) { lines_.push_back(line.text()); }
    void add_line(std::string_view text, Colour colour = Colour::none) { finish(line().add(text, colour)); }

    void add_title();
    void add_summary();
    void add_faceplates();
    void add_chip(const Seen &chip);
    void add_row(const std::vector<SeenPort> &ports, uint32_t first);
    void add_failures();
    void add_legend();
    void add_list();
    void choose_counters(size_t columns);
    void add_port(const SeenPort &port);
    void add_keys();
    std::string missing(size_t ports) const;

    const std::vector<Seen> &chips_;
    const Frame &frame_;
    const Style &style_;
    bool is_wide_;
    std::vector<SeenPort> ports_;
    hub::Failures failures_;
    std::vector<const hub::Counter *> counters_; // those with a column
    size_t missing_counters_ = 0;
    size_t missing_chips_ = 0;
    std::vector<std::string> lines_;
};

void Painter::add_title() {
    Line title = line();
    title.add("kslctl monitor", Colour::bold);
    if (frame_.is_paused) {
        title.add(fmt::format("  paused at {}", frame_.time), Colour::yellow);
    } else {
        title.add(fmt::format("  {}  every {} s", frame_.time, frame_.interval.count()));
    }
    finish(title);
}

// For a window that is too small for the picture.
void Painter::add_summary() {
    add_line(fmt::format("too small: {} x {}, needs {} x {}", frame_.columns, frame_.rows, kLeastColumns, kLeastRows),
             Colour::bold);
    for (const Seen &chip : chips_) {
        const std::vector<SeenPort> ports = hub::seen_ports(chip);
        const auto links = std::count_if(ports.begin(), ports.end(), [](const SeenPort &port) {
            return port.status.link.is_read() && *port.status.link;
        });
        const auto unread =
            std::count_if(ports.begin(), ports.end(), [](const SeenPort &port) { return port.is_unread(); });
        const std::string other = unread == 0 ? "" : fmt::format(", {} not read", unread);
        add_line(fmt::format("chip {}: {} of {} ports have a link{}", chip.last.chip, links, ports.size(), other));
    }
}

void Painter::add_faceplates() {
    constexpr size_t kLeastList = 2; // a port, and what is missing
    const size_t room = frame_.rows - kOtherLines - kLeastList - (failures_.empty() ? 0 : 1);
    const size_t shown = std::min(chips_.size(), std::max(room / kLinesOfChip, size_t{1}));
    missing_chips_ = chips_.size() - shown;
    std::for_each_n(chips_.begin(), shown, [this](const Seen &chip) { add_chip(chip); });
}

void Painter::add_chip(const Seen &chip) {
    const hub::Look &look = chip.last;
    Line heading = line();
    heading.add(fmt::format("chip {}", look.chip), Colour::bold).add("  self-test ");
    heading.add(cell(look.self_test, self_test).text,
                look.self_test.is_read() && look.self_test->passed ? Colour::none : Colour::red);
    heading.add(
        fmt::format("  {}  trunk {}  mirror {}", cell(look.mode, mode).text, trunk_text(look), mirror_text(look)));
    finish(heading);
    const std::vector<SeenPort> ports = hub::seen_ports(chip);
    add_row(ports, 0);
    add_row(ports, kPortsInRow);
}

// A line with the numbers, and one with the links; the marks are in that which has room for them. Ports that were not
// asked for have none.
void Painter::add_row(const std::vector<SeenPort> &ports, uint32_t first) {
    Line numbers = line();
    Line links = line();
    const size_t cell_columns = is_wide_ ? kWideCell : kNarrowCell;
    constexpr size_t kNumber = 2;
    for (uint32_t number = first; number < first + kPortsInRow; ++number) {
        const auto port =
            std::find_if(ports.begin(), ports.end(), [&](const SeenPort &each) { return each.status.port == number; });
        const bool is_wanted = port != ports.end();
        numbers.add(fmt::format("{:>{}}", number, kNumber), is_wanted ? Colour::none : Colour::dim);
        if (!is_wanted) {
            numbers.add(blanks(cell_columns - kNumber));
            links.add(blanks(cell_columns));
        } else if (is_wide_) {
            add_marks(numbers, marks_of(*port), cell_columns - kNumber);
            links.add(" ");
            add_padded(links, link_sign(*port), cell_columns - 1);
        } else {
            numbers.add(" ");
            links.add(" ");
            add_padded(links, short_link_sign(*port), 1);
            add_marks(links, marks_of(*port), 1);
        }
    }
    finish(numbers);
    finish(links);
}

void Painter::add_failures() {
    if (!failures_.empty()) {
        const std::string others = failures_.size() > 1 ? fmt::format("(1 of {} failures) ", failures_.size()) : "";
        add_line(others + failure(failures_.front(), frame_.simulated).text, Colour::red);
    }
}

void Painter::add_legend() {
    add_line(is_wide_ ? "F full  H half  - no link  ? unread  ! failed  C capture  T trunk  m mirrored"
                      : "F,H 100 full,half f,h 10 - no link",
             Colour::dim);
}

// ---- The list of ports ----

constexpr size_t kRateColumns = 8;

// A rate has eight columns, and more below a long name.
std::string heading_of(const hub::Counter &counter, const hub::CounterNames &names) {
    return fmt::format("{:>{}}", " " + hub::label_of(counter, names) + "/s", kRateColumns);
}

// Those that move most, as many as have room, in the order of their offsets.
void Painter::choose_counters(size_t columns) {
    std::map<const hub::Counter *, double> rates;
    for (const SeenPort &port : ports_) {
        for (const hub::CounterValue &counter :
             port.counters.is_read() ? *port.counters : std::vector<hub::CounterValue>()) {
            if (counter.change.is_read() && counter.change->by != 0) {
                rates[counter.which] += counter.change->per_second;
            }
        }
    }
    for (const auto &[counter, rate] : rates) {
        counters_.push_back(counter);
    }
    std::stable_sort(counters_.begin(), counters_.end(),
                     [&](const auto *a, const auto *b) { return rates[a] > rates[b]; });
    size_t shown = 0;
    for (size_t used = 0; shown < counters_.size(); ++shown) {
        used += heading_of(*counters_[shown], frame_.names).size();
        if (used > columns) {
            break;
        }
    }
    missing_counters_ = counters_.size() - shown;
    counters_.resize(shown);
    std::sort(counters_.begin(), counters_.end(), [](const auto *a, const auto *b) { return a->offset < b->offset; });
}

void Painter::add_list() {
    Line heading = line();
    heading.add(fmt::format("{}port  link  marks  lost", chips_.size() > 1 ? "chip  " : ""), Colour::bold);
    choose_counters(heading.left());
    for (const hub::Counter *const counter : counters_) {
        heading.add(heading_of(*counter, frame_.names), Colour::bold);
    }
    if (counters_.empty()) {
        const bool has_rates = std::any_of(chips_.begin(), chips_.end(), [](const Seen &chip) {
            return chip.last.counters && chip.last.counters->since;
        });
        heading.add(has_rates ? "  no counter moves" : "  rates follow");
    }
    finish(heading);

    const size_t room = frame_.rows - 1 - lines_.size();
    const bool all_fit = ports_.size() <= room && missing(0).empty();
    const size_t shown = all_fit ? ports_.size() : std::min(ports_.size(), room - 1);
    std::for_each_n(ports_.begin(), shown, [this](const SeenPort &port) { add_port(port); });
    if (!all_fit) {
        add_line(missing(ports_.size() - shown), Colour::dim);
    }
}

std::string Painter::missing(size_t ports) const {
    std::vector<std::string> parts;
    for (const auto &[count, what] :
         {std::pair(ports, "port"), {missing_counters_, "counter"}, {missing_chips_, "chip"}}) {
        if (count > 0) {
            parts.push_back(fmt::format("{} {}{}", count, what, count == 1 ? "" : "s"));
        }
    }
    return parts.empty() ? "" : fmt::format("no room for {}", fmt::join(parts, ", "));
}

void Painter::add_port(const SeenPort &port) {
    Line text = line();
    if (chips_.size() > 1) {
        text.add(fmt::format("{:>4}  ", port.chip));
    }
    text.add(fmt::format("{:>4}  ", port.status.port));
    add_padded(text, link_sign(port), std::string_view("link  ").size());
    add_marks(text, marks_of(port), std::string_view("marks  ").size());
    const std::string lost = port.lost ? fmt::format("{:.0f} s", port.lost->count()) : "";
    text.add(fmt::format("{:>4}", lost), Colour::yellow);
    if (port.counters.failure() != nullptr) {
        text.add(fmt::format("{:>{}}", tools::kNotRead, kRateColumns), Colour::red);
    }
    for (const hub::Counter *const counter :
         port.counters.is_read() ? counters_ : std::vector<const hub::Counter *>()) {
        const auto value = std::find_if(port.counters->begin(), port.counters->end(),
                                        [&](const hub::CounterValue &each) { return each.which == counter; });
        const Cell rate = cell(value->change, [](const hub::CounterChange &change) {
            return Cell{rate_text(change.per_second), nullptr};
        });
        const bool is_trouble =
            hub::is_error(*counter, frame_.names) && value->change.is_read() && value->change->by != 0;
        text.add(fmt::format("{:>{}}", rate.text, heading_of(*counter, frame_.names).size()),
                 is_trouble ? Colour::red : Colour::none);
    }
    finish(text);
}

void Painter::add_keys() {
    constexpr const char *kOrders[] = {"busiest first", "by number", "worst first"};
    add_line(fmt::format("s order: {}  p {}  q end", kOrders[static_cast<size_t>(frame_.order)],
                         frame_.is_paused ? "go on" : "pause"));
}

} // namespace

std::string picture(const std::vector<Seen> &chips, const Frame &frame, const Style &style) {
    return Painter(chips, frame, style).paint();
}

} // namespace kslctl::views
