// SPDX-License-Identifier: Apache-2.0
#include "scenario/scenario.h"

#include "scenario/chip.h"

#include <json/file.h>
#include <set>

namespace hwa {
namespace {

// FNV-1a of the text without its layout and with the keys in order.
uint64_t digest(const json::Value &document) {
    uint64_t hash = 0xCBF29CE484222325U;
    for (const char letter : json::canonical(document)) {
        hash = (hash ^ static_cast<uint8_t>(letter)) * 0x100000001B3U;
    }
    return hash;
}

} // namespace

Scenario parse_scenario(std::string_view text) {
    const json::Value document = json::parse(text);
    const Node root(document);
    root.only({"name", "chips"});

    Scenario scenario;
    const Node name = root.required("name");
    scenario.name = name.line();
    if (scenario.name.empty()) {
        name.refuse("must be one line of text");
    }
    const std::vector<Node> chips = root.required("chips").list(kMaxChips);
    scenario.chips.resize(chips.size()); // all zero, and never on the stack: a chip is large
    std::set<unsigned> numbers;
    for (size_t i = 0; i < chips.size(); ++i) {
        read_chip(chips[i], scenario.chips[i], numbers);
    }
    scenario.digest = digest(document);
    return scenario;
}

Scenario load_scenario(const std::string &path) {
    return json::read_file(path, json::Files::any, parse_scenario);
}

} // namespace hwa
