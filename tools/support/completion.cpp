// SPDX-License-Identifier: Apache-2.0
#include "support/completion.h"

#include <algorithm>
#include <fmt/core.h>
#include <set>

namespace tools {

namespace {

bool is_option(std::string_view word) {
    return word.size() > 1 && word.starts_with('-');
}

std::vector<const CLI::App *> commands_of(const CLI::App &command) {
    return command.get_subcommands([](const CLI::App *each) { return !each->get_name().empty(); });
}

const CLI::App *find_command(const CLI::App &command, const std::string &word) {
    const std::vector<const CLI::App *> commands = commands_of(command);
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&word](const CLI::App *each) { return each->get_name() == word; });
    return found != commands.end() ? *found : nullptr;
}

// A group of options is a command without a name. The options of the commands around one may follow it, too.
std::vector<const CLI::Option *> options_for(const CLI::App *command) {
    std::vector<const CLI::Option *> options;
    for (; command != nullptr; command = command->get_parent()) {
        std::vector<const CLI::App *> parts =
            command->get_subcommands([](const CLI::App *each) { return each->get_name().empty(); });
        parts.insert(parts.begin(), command);
        for (const CLI::App *part : parts) {
            const std::vector<const CLI::Option *> own = part->get_options();
            options.insert(options.end(), own.begin(), own.end());
        }
    }
    std::erase_if(options, [](const CLI::Option *option) { return option->get_positional(); });
    return options;
}

// Null for a flag, and for what is no option at all.
const CLI::Option *option_with_value(const CLI::App *command, const std::string &word) {
    for (; command != nullptr; command = command->get_parent()) {
        const CLI::Option *const option = command->get_option_no_throw(word);
        if (option != nullptr) {
            return option->get_expected_min() > 0 ? option : nullptr;
        }
    }
    return nullptr;
}

// Where the last word is.
struct Place {
    const CLI::App *command;
    size_t argument = 0;                 // of the command's own
    const CLI::Option *option = nullptr; // the word is its value
};

Place place_after(const CLI::App &app, const std::vector<std::string> &words) {
    Place place{&app};
    for (const std::string &word : words) {
        if (place.option != nullptr) {
            place.option = nullptr;
        } else if (is_option(word)) {
            place.option = option_with_value(place.command, word);
        } else if (const CLI::App *const command = find_command(*place.command, word)) {
            place = {command};
        } else {
            place.argument++;
        }
    }
    return place;
}

class Offer {
public:
    explicit Offer(std::string typed) : typed_(std::move(typed)) {}

    // Of two of the same name the first one counts, as for the parser.
    void add(const std::string &word, const std::string &description) {
        if (word.starts_with(typed_) && offered_.insert(word).second) {
            text_ += fmt::format("{}{}{}\n", word, description.empty() ? "" : "\t", description);
        }
    }

    // Lists are typed element by element: what comes before the last one is kept.
    void add_values(const CLI::Option &option, const Suggestions &suggestions) {
        const auto found = suggestions.find(option.get_name());
        if (found == suggestions.end()) {
            return;
        }
        const std::vector<std::string> &values = found->second;
        if (values.front() == kFiles) {
            text_ = std::string(kFiles) + "\n";
            std::for_each(values.begin() + 1, values.end(), [this](const std::string &value) { add(value, ""); });
            return;
        }
        const std::string before = typed_.substr(0, typed_.find_last_of(",-") + 1);
        for (const std::string &value : values) {
            add(before + value, "");
        }
    }

    const std::string &text() const { return text_; }

private:
    std::string typed_;
    std::set<std::string> offered_;
    std::string text_;
};

void offer_options(const Place &place, Offer &offer) {
    for (const CLI::Option *option : options_for(place.command)) {
        for (const std::string &name : option->get_lnames()) {
            offer.add("--" + name, option->get_description());
        }
    }
}

void offer_words(const Place &place, const Suggestions &suggestions, Offer &offer) {
    if (place.argument == 0) {
        for (const CLI::App *command : commands_of(*place.command)) {
            offer.add(command->get_name(), command->get_description());
        }
    }
    size_t number = 0;
    for (const CLI::Option *argument :
         place.command->get_options([](const CLI::Option *each) { return each->get_positional(); })) {
        const bool takes_the_rest = argument->get_expected_max() > 1;
        if (number == place.argument || (number < place.argument && takes_the_rest)) {
            offer.add_values(*argument, suggestions);
        }
        number++;
    }
}

} // namespace

std::vector<std::string> command_names(const CLI::App &command) {
    std::vector<std::string> names;
    for (const CLI::App *each : commands_of(command)) {
        names.push_back(each->get_name());
    }
    return names;
}

std::vector<std::string> option_names(const CLI::App &command) {
    std::vector<std::string> names;
    for (const CLI::Option *option : options_for(&command)) {
        for (const std::string &name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::vector<std::string> numbers_to(unsigned last) {
    std::vector<std::string> numbers;
    for (unsigned number = 0; number <= last; number++) {
        numbers.push_back(std::to_string(number));
    }
    return numbers;
}

std::string complete(const CLI::App &app, std::vector<std::string> words, const Suggestions &suggestions) {
    std::string typed;
    if (!words.empty()) {
        typed = words.back();
        words.pop_back();
    }
    const Place place = place_after(app, words);
    Offer offer(typed);
    if (place.option != nullptr) {
        offer.add_values(*place.option, suggestions);
    } else if (typed.starts_with('-')) {
        offer_options(place, offer);
    } else {
        offer_words(place, suggestions, offer);
    }
    return offer.text();
}

} // namespace tools
