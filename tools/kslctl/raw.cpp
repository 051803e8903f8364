// SPDX-License-Identifier: Apache-2.0
#include "kslctl/raw.h"

#include <fmt/core.h>
#include <fmt/ranges.h>
#include <span>

namespace kslctl {

std::string hex(const Bytes &bytes, size_t length) {
    return fmt::format("{:02x}", fmt::join(std::span(bytes.data(), length), " "));
}

Json hex_or_null(const std::optional<Bytes> &bytes, size_t length) {
    return bytes ? Json(hex(*bytes, length)) : Json(nullptr);
}

std::string hex_or_mark(const std::optional<Bytes> &bytes, size_t length) {
    return bytes ? hex(*bytes, length) : std::string(kNotRead);
}

RawRegister raw(const PortRegister &which, uint32_t port, const std::optional<Bytes> &bytes) {
    RawRegister entry{which.key, {{"port", port}}, which.page(port), which.offset(port), which.length, bytes};
    if (which.is_of_chip()) {
        entry.of.reset();
    }
    return entry;
}

Json raw_json(const std::vector<RawRegister> &registers) {
    Json list = Json::array();
    for (const RawRegister &entry : registers) {
        Json json = {{"register", entry.key}};
        if (entry.of) {
            json[entry.of->first] = entry.of->second;
        }
        json["page"] = entry.page;
        json["offset"] = entry.offset;
        json["bytes"] = hex_or_null(entry.bytes, entry.length);
        list.push_back(json);
    }
    return {{"registers", list}};
}

std::string raw_text(const std::vector<RawRegister> &registers, const Style &style) {
    Table table({{"register", Align::left},
                 {"of", Align::left},
                 {"page", Align::left},
                 {"offset", Align::left},
                 {"bytes", Align::left}});
    for (const RawRegister &entry : registers) {
        table.add_row({entry.key, entry.of ? fmt::format("{} {}", entry.of->first, entry.of->second) : "chip",
                       fmt::format("0x{:02x}", entry.page), fmt::format("0x{:02x}", entry.offset),
                       hex_or_mark(entry.bytes, entry.length)});
    }
    return table.render(style);
}

} // namespace kslctl
