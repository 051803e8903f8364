// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/addresses.h"

#include "kslctl/hub/bounded_call.h"

#include <algorithm>
#include <cstring>
#include <fmt/ranges.h>
#include <ksl/decode.h>

namespace kslctl::hub {

namespace {

// The chip's table holds no more. While it is walked or searched addresses come and go, so a few more may be found.
constexpr size_t kTableEntries = 8192;
constexpr size_t kRoom = 2 * kTableEntries;

constexpr char kTable[] = "address table";

Address address_of(const ksl_arl_entry &entry) {
    Address address{{}, entry.port, entry.flag55 != 0};
    std::copy(std::begin(entry.mac), std::end(entry.mac), address.mac.begin());
    return address;
}

Address address_of(const uint8_t *bytes) {
    Address address = address_of(ksl_decode_arl_entry(bytes));
    std::copy_n(bytes, address.entry.emplace().size(), address.entry->begin());
    return address;
}

Addresses endless(uint32_t chip, const char *operation, Failures &failures) {
    note(failures, {.chip = chip,
                    .about = kTable,
                    .reason = fmt::format("{} found no end of it after {} entries, and it has room for {}; the chip "
                                          "gives no sensible answers",
                                          operation, kRoom, kTableEntries)});
    return {{}, false};
}

std::vector<Address> *walked = nullptr;

extern "C" {
static void take_walked_entry(const uint8_t *entry) {
    if (walked->size() == kRoom) {
        leave_bounded_call();
    }
    walked->push_back(address_of(entry));
}
}

} // namespace

std::string mac_text(const Mac &mac) {
    return fmt::format("{:02x}", fmt::join(mac, ":"));
}

Addresses list_addresses(uint32_t chip, bool all_ports, Failures &failures) {
    std::vector<ksl_arl_entry> entries(kTableEntries);
    uint32_t count = kTableEntries;
    if (const int32_t code = ksl_read_ARL_table(chip, all_ports ? 1 : 0, entries.data(), &count); code != 0) {
        note(failures, {chip, "ksl_read_ARL_table", kTable, code});
        return {{}, false};
    }
    Addresses addresses;
    for (const ksl_arl_entry &entry : std::span(entries).first(count)) {
        addresses.entries.push_back(address_of(entry));
    }
    return addresses;
}

Addresses walk_addresses(uint32_t chip, Failures &failures) {
    const auto chip_answers = [&] { return read(registers::address_entry, chip, 0, failures).is_read(); };
    if (!chip_answers()) {
        return {{}, false};
    }
    Addresses addresses;
    addresses.entries.reserve(kRoom);
    walked = &addresses.entries;
    const bool ended = call_bounded([chip] { __KSL_READ_ARL_TABLE(chip, take_walked_entry); });
    walked = nullptr;
    if (!ended) {
        return endless(chip, "__KSL_READ_ARL_TABLE", failures);
    }
    addresses.whole = chip_answers();
    return addresses;
}

bool repeats_an_entry(const Addresses &addresses) {
    const auto same = [](const Address &one, const Address &next) { return one.entry && one.entry == next.entry; };
    return std::adjacent_find(addresses.entries.begin(), addresses.entries.end(), same) != addresses.entries.end();
}

Addresses search_addresses(uint32_t chip, Failures &failures) {
    static constexpr char kOperation[] = "dbg_ksl_search_ARL_table";
    BoundedMemory memory(kRoom * sizeof(ksl_word));
    auto *const vlan_words = static_cast<ksl_word *>(memory.data());
    std::vector<ksl_raw_arl_entry> entries(kRoom);
    uint32_t count = 0;
    int32_t code = 0;
    if (!call_bounded([&] { code = dbg_ksl_search_ARL_table(chip, vlan_words, entries.data(), &count); })) {
        return endless(chip, kOperation, failures);
    }
    if (code != 0) {
        note(failures, {chip, kOperation, kTable, code, count == 0 ? "not read" : "not read whole"});
    }
    Addresses addresses{{}, code == 0};
    for (size_t i = 0; i < count; ++i) {
        Address &address = addresses.entries.emplace_back(address_of(entries[i].bytes));
        std::memcpy(address.vlan.emplace().data(), vlan_words + i, registers::address_vlan.place.length);
        address.vid = ksl_arl_vid(address.vlan->data());
    }
    return addresses;
}

std::vector<Reading> registers_of(const Addresses &addresses) {
    std::vector<Reading> readings;
    uint32_t number = 0;
    const auto add = [&](const Register &which, const std::optional<Bytes> &bytes) {
        if (bytes) {
            readings.push_back(reading_of(which, 0, *bytes));
            readings.back().of = {"entry", number};
        }
    };
    for (const Address &address : addresses.entries) {
        add(registers::address_vlan, address.vlan);
        add(registers::address_entry, address.entry);
        ++number;
    }
    return readings;
}

} // namespace kslctl::hub
