// SPDX-License-Identifier: Apache-2.0
#include "scenario.h"

#include "json_node.h"
#include "registers.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <set>
#include <unistd.h>

namespace hwa {
namespace {

constexpr std::size_t kLongestText = std::size_t{4} << 20;

unsigned hex_digit(char digit) {
    if (digit >= '0' && digit <= '9')
        return static_cast<unsigned>(digit - '0');
    return static_cast<unsigned>(std::tolower(static_cast<unsigned char>(digit)) - 'a' + 10);
}

// Pairs of hexadecimal digits, with `separator` allowed between the pairs. Empty if it is nothing of the kind.
std::vector<Byte> hex_bytes(const std::string &text, char separator) {
    std::vector<Byte> bytes;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == separator && !bytes.empty() && i + 1 < text.size()) {
            ++i;
            continue;
        }
        if (i + 1 >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[i])) ||
            !std::isxdigit(static_cast<unsigned char>(text[i + 1])))
            return {};
        bytes.push_back(static_cast<Byte>(hex_digit(text[i]) << 4 | hex_digit(text[i + 1])));
        i += 2;
    }
    return bytes;
}

void read_mode(const JsonNode &node, ChipImage &chip) {
    node.only({"managed", "forwarding"});
    chip.managed = node.required("managed").boolean();
    chip.forwarding = node.required("forwarding").boolean();
}

void read_port(const JsonNode &node, ChipImage &chip, std::set<unsigned> &seen) {
    node.only({"port", "link", "speed", "duplex", "self_test"});
    const JsonNode number_node = node.required("port");
    const unsigned number = number_node.number(0, kPorts - 1);
    if (!seen.insert(number).second)
        number_node.refuse("names port " + std::to_string(number) + " a second time");

    PortImage &port = chip.ports[number];
    port.link = node.required("link").boolean();
    if (const auto speed = node.optional("speed")) {
        const unsigned megabits = speed->number(10, 100);
        if (megabits != 10 && megabits != 100)
            speed->refuse("must be 10 or 100");
        port.fast = megabits == 100;
    }
    if (const auto duplex = node.optional("duplex"))
        port.full_duplex = duplex->one_of({"half", "full"}) == 1;
    if (const auto self_test = node.optional("self_test"))
        port.test_failed = self_test->one_of({"pass", "fail"}) == 1;
    if (port.test_failed != 0 && port.link != 0)
        node.refuse("cannot have a link, because its self-test failed");
    port.link_changed = port.link;
}

AddressImage read_address(const JsonNode &node) {
    node.only({"mac", "port", "static"});
    const JsonNode mac_node = node.required("mac");
    const std::string text = mac_node.text();
    const std::vector<Byte> mac = hex_bytes(text, ':');
    if (mac.size() != 6 || text.size() != 17)
        mac_node.refuse("must be a MAC address such as \"02:00:00:00:00:01\"");
    const unsigned port = node.required("port").number(0, kPorts - 1);
    const auto is_static = node.optional("static");

    AddressImage address{};
    address[1] = static_cast<Byte>((is_static && is_static->boolean() ? 0x80U : 0U) | port);
    std::copy(mac.begin(), mac.end(), address.begin() + 2);
    return address;
}

void read_registers(const JsonNode &node, ChipImage &chip) {
    node.only({"page", "offset", "bytes"});
    const unsigned page = node.required("page").number(0, kPages - 1);
    const unsigned offset = node.required("offset").number(0, kPageSize - 1);
    const JsonNode bytes_node = node.required("bytes");
    const std::vector<Byte> bytes = hex_bytes(bytes_node.text(), ' ');
    if (bytes.empty())
        bytes_node.refuse("must be pairs of hexadecimal digits");
    if (offset + bytes.size() > kPageSize)
        bytes_node.refuse("must end within the page of 256 bytes");
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (is_derived(static_cast<Byte>(page), static_cast<Byte>(offset + i)))
            node.refuse("covers a status register, which follows from \"mode\" and \"ports\"");
        chip.pages[page][offset + i] = bytes[i];
    }
}

void read_chip(const JsonNode &node, ChipImage &chip, std::set<unsigned> &seen) {
    node.only({"chip", "mode", "ports", "addresses", "registers"});
    const JsonNode number_node = node.required("chip");
    const unsigned number = number_node.number(0, 255);
    if (!seen.insert(number).second)
        number_node.refuse("names chip " + std::to_string(number) + " a second time");

    chip.present = 1;
    chip.number = static_cast<Byte>(number);
    chip.managed = chip.forwarding = 1;
    for (PortImage &port : chip.ports)
        port = {.link = 0, .fast = 1, .full_duplex = 1, .test_failed = 0, .link_changed = 0};

    if (const auto mode = node.optional("mode"))
        read_mode(*mode, chip);
    std::set<unsigned> ports;
    for (const JsonNode &port : node.list("ports", kPorts))
        read_port(port, chip, ports);
    std::size_t count = 0;
    for (const JsonNode &address : node.list("addresses", kMaxAddresses))
        chip.addresses[count++] = read_address(address);
    chip.address_count = to_bytes<2>(count);
    for (const JsonNode &registers : node.list("registers", kPages * kPageSize))
        read_registers(registers, chip);
}

nlohmann::json parse_json(std::string_view text) {
    // A key that stands twice in an object would silently hide one of its values.
    std::vector<std::set<std::string>> keys;
    const auto watch = [&keys](int, nlohmann::json::parse_event_t event, nlohmann::json &parsed) {
        if (event == nlohmann::json::parse_event_t::object_start)
            keys.emplace_back();
        else if (event == nlohmann::json::parse_event_t::object_end)
            keys.pop_back();
        else if (event == nlohmann::json::parse_event_t::key && !keys.back().insert(parsed.get<std::string>()).second)
            throw Unusable("the key \"" + parsed.get<std::string>() + "\" stands twice in one object");
        return true;
    };
    try {
        return nlohmann::json::parse(text, watch);
    } catch (const nlohmann::json::parse_error &error) {
        // The parser's words name line and column; they follow the exception's own name in brackets.
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
    const auto printable = [](char letter) { return static_cast<unsigned char>(letter) >= ' ' && letter != 0x7F; };
    if (scenario.name.empty() || !std::all_of(scenario.name.begin(), scenario.name.end(), printable))
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
