// SPDX-License-Identifier: Apache-2.0
#include "scenario/faults.h"

#include "chip/registers.h"
#include "problem.h"
#include "state/image.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace hwa {
namespace {

// What a rule can name about an entry point.
struct EntryRow {
    const char *name;
    bool registers;
    bool data;
};

// clang-format off
constexpr EntryRow kEntries[] = {
    // name             registers data
    {"getreg",          true,     true},
    {"get_multireg",    true,     true},
    {"setreg",          true,     true},
    {"getmacs",         false,    true},
    {"engpowercmd",     false,    true},
    {"setswitchconfig", false,    false},
    {"setmacfilter",    false,    false},
    {"resetswitch",     false,    false},
};
// clang-format on

constexpr int64_t kMaxWord = std::numeric_limits<uint32_t>::max();

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of(separators), text.size());
        if (end > 0) {
            pieces.push_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

} // namespace

const char *name_of(Entry entry) {
    return kEntries[static_cast<size_t>(entry)].name;
}

// Reads one rule word by word.
class RuleParser {
public:
    explicit RuleParser(std::string_view text) : text_(text) {}

    Faults::Rule parse() {
        for (const std::string_view word : split(text_, " \t\n")) {
            const size_t equals = word.find('=');
            if (equals == std::string_view::npos) {
                bare(word);
            } else {
                pair(word, word.substr(0, equals), word.substr(equals + 1));
            }
        }
        check();
        return rule_;
    }

private:
    [[noreturn]] void refuse(std::string_view word, const std::string &reason) const {
        throw Unusable("\"" + std::string(word) + "\" in the rule \"" + std::string(text_) + "\" " + reason);
    }

    void bare(std::string_view word) {
        if (bool *const flag = word == "garble"   ? &rule_.garble
                               : word == "once"   ? &rule_.once
                               : word == "always" ? &rule_.always
                                                  : nullptr) {
            if (*flag) {
                refuse(word, "is given twice");
            }
            *flag = true;
            return;
        }
        const std::string_view name = word.starts_with("hwa_") ? word.substr(4) : word;
        const auto found = std::find_if(std::begin(kEntries), std::end(kEntries),
                                        [name](const EntryRow &row) { return row.name == name; });
        if (found == std::end(kEntries) && word != "any") {
            refuse(word, "is neither an entry point nor a word of the fault grammar");
        }
        if (named_) {
            refuse(word, "is a second entry point");
        }
        named_ = true;
        if (word != "any") {
            rule_.entry = static_cast<Entry>(found - std::begin(kEntries));
        }
    }

    void pair(std::string_view word, std::string_view key, std::string_view value) {
        if (key == "chip") {
            set(rule_.chip, word, value, 0, kMaxWord);
        } else if (key == "page") {
            set(rule_.page, word, value, 0, 255);
        } else if (key == "offset") {
            set(rule_.offset, word, value, 0, 255);
        } else if (key == "port") {
            set(rule_.port, word, value, 0, kPorts - 1);
        } else if (key == "nth") {
            set(rule_.nth, word, value, 1, kMaxWord);
        } else if (key == "code") {
            set(rule_.code, word, value, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());
        } else if (key == "short") {
            set(rule_.short_length, word, value, 0, kMaxWord);
        } else if (key == "delay") {
            delay(word, value);
        } else {
            refuse(word, "is no condition and no effect");
        }
    }

    template <typename Number>
    void set(std::optional<Number> &place, std::string_view word, std::string_view value, int64_t least, int64_t most) {
        if (place) {
            refuse(word, "is given a second time");
        }
        const bool negative = value.starts_with('-');
        std::string_view digits = value.substr(negative ? 1 : 0);
        const bool hex = digits.starts_with("0x");
        digits.remove_prefix(hex ? 2 : 0);
        uint32_t magnitude = 0;
        const auto [stop, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, hex ? 16 : 10);
        const int64_t number = negative ? -int64_t{magnitude} : int64_t{magnitude};
        if (error != std::errc{} || stop != digits.data() + digits.size() || number < least || number > most) {
            refuse(word, "needs a number from " + std::to_string(least) + " to " + std::to_string(most));
        }
        place = static_cast<Number>(number);
    }

    void delay(std::string_view word, std::string_view value) {
        const bool milliseconds = value.ends_with("ms");
        const bool microseconds = value.ends_with("us");
        if (!milliseconds && !microseconds && !value.ends_with("s")) {
            refuse(word, "needs a unit: us, ms or s");
        }
        const uint32_t unit = microseconds ? 1 : milliseconds ? 1'000 : 1'000'000;
        value.remove_suffix(milliseconds || microseconds ? 2 : 1);
        set(rule_.delay, word, value, 0, kMaxWord / unit);
        *rule_.delay *= unit;
    }

    // Words that contradict each other would make a rule that never takes effect.
    void check() const {
        const bool alters = rule_.garble || rule_.short_length;
        if (!rule_.code && !rule_.delay && !alters) {
            throw Unusable("the rule \"" + std::string(text_) +
                           "\" has no effect: give it code, delay, short or garble");
        }
        if (rule_.code == 0) {
            refuse("code=0", "would be a success");
        }
        if (rule_.code && alters) {
            refuse("code", "leaves no data to shorten or garble");
        }
        if (rule_.once && rule_.always) {
            refuse("once", "and \"always\" contradict each other");
        }
        if (!rule_.entry) {
            return;
        }
        const EntryRow &row = kEntries[static_cast<size_t>(*rule_.entry)];
        if ((rule_.page || rule_.offset || rule_.port) && !row.registers) {
            refuse(rule_.page     ? "page"
                   : rule_.offset ? "offset"
                                  : "port",
                   "is nothing that " + std::string(row.name) + " has");
        }
        if (alters && !row.data) {
            refuse(rule_.garble ? "garble" : "short", "needs data, and " + std::string(row.name) + " has none");
        }
    }

    std::string_view text_;
    Faults::Rule rule_;
    bool named_ = false;
};

Faults::Faults(std::string_view text) {
    for (std::string_view rule : split(text, ";")) {
        const size_t first = rule.find_first_not_of(" \t\n");
        if (first == std::string_view::npos) {
            continue;
        }
        rule = rule.substr(first, rule.find_last_not_of(" \t\n") - first + 1);
        rules_.push_back(RuleParser(rule).parse());
    }
}

bool Faults::Rule::matches(const Access &access) const {
    const auto agrees = [](const auto &wanted, const auto &given) { return !wanted || wanted == given; };
    const std::optional<unsigned> access_port =
        access.page && access.offset ? port_of(static_cast<uint8_t>(*access.page), static_cast<uint8_t>(*access.offset))
                                     : std::nullopt;
    return agrees(entry, std::optional<Entry>(access.entry)) && agrees(chip, access.chip) &&
           agrees(page, access.page) && agrees(offset, access.offset) && agrees(port, access_port);
}

Effects Faults::meet(const Access &access) {
    Effects effects;
    for (size_t i = 0; i < rules_.size(); ++i) {
        Rule &rule = rules_[i];
        if (!rule.matches(access)) {
            continue;
        }
        const uint64_t first = rule.nth.value_or(1);
        ++rule.met;
        if (rule.once ? rule.met != first : rule.met < first) {
            continue;
        }
        if (!effects.code) {
            effects.code = rule.code;
        }
        effects.delay += std::chrono::microseconds(rule.delay.value_or(0));
        if (rule.short_length) {
            effects.short_length = std::min(*rule.short_length, effects.short_length.value_or(*rule.short_length));
        }
        effects.garble = effects.garble || rule.garble;
        effects.rules += (effects.rules.empty() ? "" : ",") + std::to_string(i + 1);
    }
    return effects;
}

} // namespace hwa
