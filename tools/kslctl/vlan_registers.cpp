// SPDX-License-Identifier: Apache-2.0
#include "kslctl/vlan_registers.h"

#include "kslctl/numbers.h"
#include "kslctl/port_registers.h"

#include <algorithm>
#include <cstring>
#include <expectation.h>
#include <fmt/core.h>

namespace kslctl {

namespace {

Bytes bytes_of(ksl_word word) {
    Bytes bytes{};
    std::memcpy(bytes.data(), &word, sizeof word);
    return bytes;
}

} // namespace

Pvids read_pvids(uint32_t chip, Report &report) {
    // The lower half of a word that was read is zero.
    constexpr ksl_word kUntouched = 0xFFFFFFFF;
    std::array<ksl_word, KSL_PORTS> words;
    words.fill(kUntouched);
    const int32_t code = ksl_read_VLAN_PVID_regs(chip, words.data());

    Pvids pvids;
    const auto end = std::find(words.begin(), words.end(), kUntouched);
    std::transform(words.begin(), end, pvids.begin(), bytes_of);
    if (code != 0) {
        const auto failed = static_cast<uint32_t>(std::min<std::ptrdiff_t>(end - words.begin(), KSL_PORTS - 1));
        report.fail({chip, "ksl_read_VLAN_PVID_regs", describe(kPvid, failed), code});
    }
    return pvids;
}

std::optional<Bytes> read_vlan_enable(uint32_t chip, Report &report) {
    ksl_word word = 0;
    if (const int32_t code = ksl_read_VLAN_enable(chip, &word); code != 0) {
        report.fail({chip, "ksl_read_VLAN_enable", "VLAN enable (page 0x34, offset 0x00)", code});
        return std::nullopt;
    }
    return bytes_of(word);
}

bool vlan_enabled(const Bytes &bytes) {
    return (bytes[0] & 0x80) != 0;
}

std::optional<Bytes> read_vlan_entry(uint32_t chip, uint32_t vid, Report &report) {
    Bytes bytes{};
    if (const int32_t code = ksl_read_VLAN_map(chip, vid, bytes.data()); code != 0) {
        const std::string about = fmt::format("entry of VLAN {} (page 0x08, offsets 0x32, 0x30 and 0x38)", vid);
        report.fail({chip, "ksl_read_VLAN_map", about, code});
        return std::nullopt;
    }
    return bytes;
}

std::optional<std::map<uint32_t, Bytes>> read_vlan_table(uint32_t chip, Report &report) {
    std::map<uint32_t, Bytes> table;
    for (uint32_t vid = kVlans.least; vid <= kVlans.most; ++vid) {
        const std::optional<Bytes> entry = read_vlan_entry(chip, vid, report);
        if (!entry) {
            return std::nullopt;
        }
        if (is_valid(*entry)) {
            table[vid] = *entry;
        }
    }
    return table;
}

bool is_valid(const Bytes &vlan_entry) {
    return kslcfg::vlan_entry_from(0, vlan_entry.data()).valid;
}

} // namespace kslctl
