// SPDX-License-Identifier: Apache-2.0
#include "scenario.h"

#include "scenario_chip.h"

#include <cerrno>
#include <fcntl.h>
#include <set>
#include <unistd.h>

namespace hwa {
namespace {

constexpr std::size_t kLongestText = std::size_t{4} << 20;

// Receives what the parser finds, and refuses a key that stands twice in an object: it would silently hide a value.
class DuplicateKeys {
public:
    static bool null() { return true; }
    static bool boolean(bool) { return true; }
    static bool number_integer(std::int64_t) { return true; }
    static bool number_unsigned(std::uint64_t) { return true; }
    static bool number_float(double, const std::string &) { return true; }
    static bool string(const std::string &) { return true; }
    static bool binary(const nlohmann::json::binary_t &) { return true; }
    static bool start_array(std::size_t) { return true; }
    static bool end_array() { return true; }
    bool start_object(std::size_t) {
        keys_.emplace_back();
        return true;
    }
    bool end_object() {
        keys_.pop_back();
        return true;
    }
    bool key(const std::string &key) {
        if (!keys_.back().insert(key).second)
            throw Unusable("the key \"" + key + "\" stands twice in one object");
        return true;
    }
    // Said when the values are read.
    static bool parse_error(std::size_t, const std::string &, const nlohmann::json::exception &) { return false; }

private:
    std::vector<std::set<std::string>> keys_; // of the objects that are open
};

nlohmann::json parse_json(std::string_view text) {
    DuplicateKeys duplicates;
    nlohmann::json::sax_parse(text, &duplicates);
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception &error) {
        // The words follow the name of the exception in brackets; where the syntax is wrong they name line and column.
        const std::string words = error.what();
        throw Unusable("is not valid JSON: " + words.substr(words.find(']') + 2));
    }
}

// FNV-1a of the text without its layout and with the keys in order.
std::uint64_t digest(const nlohmann::json &document) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char letter : document.dump())
        hash = (hash ^ static_cast<Byte>(letter)) * 0x100000001B3U;
    return hash;
}

} // namespace

Scenario parse_scenario(std::string_view text) {
    const nlohmann::json document = parse_json(text);
    const JsonNode root(document, "");
    root.only({"name", "chips"});

    Scenario scenario;
    const JsonNode name = root.required("name");
    scenario.name = name.text();
    if (scenario.name.empty() || printable(scenario.name) != scenario.name)
        name.refuse("must be one line of text");

    root.required("chips");
    const std::vector<JsonNode> chips = root.list("chips", kMaxChips);
    scenario.chips.resize(chips.size(), ChipImage{});
    std::set<unsigned> numbers;
    for (std::size_t i = 0; i < chips.size(); ++i)
        read_chip(chips[i], scenario.chips[i], numbers);
    scenario.digest = digest(document);
    return scenario;
}

Scenario load_scenario(const std::string &path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        throw Unusable("cannot be read: " + system_error(errno));
    std::string text;
    std::array<char, 16384> block;
    ssize_t got = 0;
    while (text.size() <= kLongestText && (got = read(file, block.data(), block.size())) > 0)
        text.append(block.data(), static_cast<std::size_t>(got));
    const int error = errno;
    close(file);
    if (got < 0)
        throw Unusable("cannot be read: " + system_error(error));
    if (text.size() > kLongestText)
        throw Unusable("is longer than 4 MiB");
    return parse_scenario(text);
}

} // namespace hwa
