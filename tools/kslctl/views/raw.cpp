// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/raw.h"

#include "kslctl/views/listing.h"

#include <fmt/ranges.h>

namespace kslctl::views {

namespace {

using hub::Reading;

const Column<Reading> kPage{"page", "page", Align::left, [](const Reading &r) { return place(r.page); }};
const Column<Reading> kOffset{"offset", "offset", Align::left, [](const Reading &r) { return place(r.offset); }};
const Column<Reading> kLength{nullptr, "length", Align::left, [](const Reading &r) { return number(r.length); }};
const Column<Reading> kBytes{"bytes", "bytes", Align::left, [](const Reading &r) { return bytes(r.bytes, r.length); }};

const Columns<Reading> kColumns = {
    {"register", "register", Align::left,
     [](const Reading &r) {
         return Cell{r.name, r.name};
     }},
    {"of", nullptr, Align::left,
     [](const Reading &r) {
         return Cell{r.of ? fmt::format("{} {}", r.of->first, r.of->second) : "chip", {}};
     }},
    kPage,
    kOffset,
    kBytes,
};

// The key says what the register belongs to: "port", "entry". It comes after the name.
Json object_of(const Reading &reading) {
    Json json = {{"register", reading.name}};
    if (reading.of) {
        json[reading.of->first] = reading.of->second;
    }
    json.update(object(kColumns, reading));
    return json;
}

} // namespace

std::string hex(const hub::Bytes &bytes, size_t length) {
    return fmt::format("{:02x}", fmt::join(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length), " "));
}

Cell place(uint32_t number) {
    return {fmt::format("0x{:02x}", number), number};
}

Cell bytes(const hub::Fact<hub::Bytes> &bytes, size_t length) {
    return cell(bytes, [&](const hub::Bytes &known) {
        const std::string text = hex(known, length);
        return Cell{text, text};
    });
}

Shown raw(const std::vector<Reading> &readings, const Style &style) {
    Json list = Json::array();
    for (const Reading &reading : readings) {
        list.push_back(object_of(reading));
    }
    return {{{"registers", list}}, table(kColumns, readings, style)};
}

Shown register_bytes(const Reading &reading, const Style &style) {
    const Columns<Reading> columns = {kPage, kOffset, kLength, kBytes};
    return {object(columns, reading), style.value(kBytes.cell(reading).text) + "\n"};
}

Shown dumped_registers(const hub::Fact<std::vector<Reading>> &registers, const Style &style) {
    const Columns<Reading> columns = {kPage, kOffset, kBytes};
    const Cell shown = cell(registers, [&](const std::vector<Reading> &readings) {
        return Cell{table(columns, readings, style), objects(columns, readings)};
    });
    return {{{"registers", shown.json}}, registers.is_read() ? shown.text : style.value(shown.text) + "\n"};
}

} // namespace kslctl::views
