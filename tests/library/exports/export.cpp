// SPDX-License-Identifier: Apache-2.0
#include "export.h"

#include <algorithm>
#include <cstring>

namespace ksl::test {

namespace {

alignas(16) uint8_t block[kMemorySize];

} // namespace

const EntryPoint kEntryPoints[8] = {
    {"hwa_getreg", points::getreg_missing},
    {"hwa_get_multireg", {}},
    {"hwa_setreg", points::setreg_missing},
    {"hwa_getmacs", points::getmacs_missing},
    {"hwa_engpowercmd", points::engpowercmd_missing},
    {"hwa_setswitchconfig", points::setswitchconfig_missing},
    {"hwa_setmacfilter", points::setmacfilter_missing},
    {"hwa_resetswitch", points::resetswitch_missing},
};

Calls missing_calls(const std::string &entry_point) {
    Calls calls{lookup_missing(entry_point)};
    for (const EntryPoint &known : kEntryPoints) {
        if (known.name == entry_point && known.missing) {
            calls.push_back(record(*known.missing));
        }
    }
    return calls;
}

void apply(const Writes &writes, Bytes &memory) {
    for (const Write &write : writes) {
        std::copy(write.bytes.begin(), write.bytes.end(), memory.begin() + static_cast<ptrdiff_t>(write.at));
    }
}

uint8_t *memory(size_t at) {
    return block + at;
}

Bytes native(uint32_t number) {
    Bytes bytes(sizeof number);
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

Access read(uint32_t page, uint32_t offset, const Bytes &answer, const Writes &delivers, TracePoint failed) {
    const auto length = static_cast<uint32_t>(answer.size());
    return {"hwa_getreg", getreg(kChipLow, page & 0xFF, offset & 0xFF, length), answer,
            [=](int32_t) { return Calls{record(failed, page, offset, length)}; }, delivers};
}

Access write(uint32_t page, uint32_t offset, const Bytes &bytes, TracePoint failed) {
    const auto length = static_cast<uint32_t>(bytes.size());
    return {"hwa_setreg",
            setreg(kChipLow, page & 0xFF, offset & 0xFF, bytes),
            {},
            [=](int32_t) { return Calls{record(failed, page, offset, length)}; },
            {}};
}

Access other(const std::string &entry_point, const std::string &arguments, std::function<Calls(int32_t code)> failed,
             const Writes &delivers) {
    return {entry_point, platform_call("looked up " + entry_point + " " + arguments), {}, std::move(failed), delivers};
}

// ---- Stories ----

Story::Story(const Fault &with) : fault(with) {
    outcome.memory.assign(kMemorySize, kUntouched);
}

int32_t Story::access(const Access &access) {
    if (fault.lacks(access.entry_point)) {
        then(missing_calls(access.entry_point));
        return -1;
    }
    then({access.call});
    if (fault.access == made++) {
        return fault.code;
    }
    leaves(access.delivers);
    return 0;
}

void Story::leaves(const Writes &writes) {
    apply(writes, outcome.memory);
}

// ---- The table ----

const Exports &exports() {
    static const Exports all = [] {
        Exports every;
        for (const auto &family : {frame_exports(), port_exports(), vlan_exports(), counter_exports(),
                                   forwarding_exports(), address_table_exports(), chip_exports()}) {
            every.insert(every.end(), family.begin(), family.end());
        }
        return every;
    }();
    return all;
}

} // namespace ksl::test
