// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/addresses.h"

#include "kslctl/views/listing.h"

#include <map>

namespace kslctl::views {

namespace {

using hub::Address;

Cell mac(const Address &address) {
    const std::string text = hub::mac_text(address.mac);
    return {text, text};
}

Cell kind(const Address &address) {
    return {address.is_static ? "static" : "learned", address.is_static};
}

Cell vid(const Address &address) {
    return address.vid ? number(*address.vid) : Cell{std::string(tools::kNothing), nullptr};
}

Columns<Address> columns_of(bool with_vlans) {
    return {{"MAC address", "mac", Align::left, mac},
            kPortColumn<Address>,
            {"kind", "static", Align::left, kind},
            {with_vlans ? "VLAN" : nullptr, "vid", Align::right, vid}};
}

struct Count {
    Cell port;
    Cell addresses;
};

const Columns<Count> kCountColumns = {
    {"port", "port", Align::right, [](const Count &count) { return count.port; }},
    {"addresses", "addresses", Align::right, [](const Count &count) { return count.addresses; }},
};

std::vector<Count> count_by_port(const std::vector<Address> &addresses) {
    std::map<uint32_t, size_t> by_port;
    for (const Address &address : addresses) {
        ++by_port[address.port];
    }
    std::vector<Count> counts;
    counts.reserve(by_port.size() + 1);
    for (const auto &[port, count] : by_port) {
        counts.push_back({number(port), number(count)});
    }
    return counts;
}

} // namespace

Shown addresses(const hub::Addresses &addresses, bool with_vlans, const Style &style) {
    const Columns<Address> columns = columns_of(with_vlans);
    std::vector<Count> counts = count_by_port(addresses.entries);
    const Json json = {{"whole", addresses.whole},
                       {"addresses", objects(columns, addresses.entries)},
                       {"ports", objects(kCountColumns, counts)}};
    const Cell all = addresses.whole ? number(addresses.entries.size()) : Cell{std::string(tools::kNotRead), nullptr};
    counts.push_back({{"all", nullptr}, all});
    const std::string rest = addresses.whole ? "" : style.value(tools::kNotRead) + "\n";
    return {json, table(columns, addresses.entries, style) + rest + "\n" + table(kCountColumns, counts, style)};
}

} // namespace kslctl::views
