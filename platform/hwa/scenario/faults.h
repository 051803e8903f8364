// SPDX-License-Identifier: Apache-2.0
// Failures on demand: the rules of HWA_SIM_FAULTS (hwa-sim(7) has the grammar).
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hwa {

enum class Entry {
    getreg,
    get_multireg,
    setreg,
    getmacs,
    engpowercmd,
    setswitchconfig,
    setmacfilter,
    resetswitch,
};

// What a rule can ask about. A condition on something that the entry point does not have is never met.
struct Access {
    Entry entry;
    std::optional<uint32_t> chip;
    std::optional<uint32_t> page;
    std::optional<uint32_t> offset;
};

// What the rules do to one access.
struct Effects {
    std::optional<int32_t> code;
    std::chrono::microseconds delay{0};
    std::optional<uint32_t> short_length;
    bool garble = false;
    std::string rules; // numbers of the rules that took effect, counted from 1
};

class Faults {
public:
    // Throws Unusable, which names the word that was not understood.
    explicit Faults(std::string_view text);

    // Counts the access and returns what the rules do to it.
    Effects meet(const Access &access);

private:
    struct Rule {
        std::optional<Entry> entry;
        std::optional<uint32_t> chip;
        std::optional<uint32_t> page;
        std::optional<uint32_t> offset;
        std::optional<uint32_t> port;
        std::optional<uint32_t> nth;
        std::optional<int32_t> code;
        std::optional<uint32_t> delay; // microseconds
        std::optional<uint32_t> short_length;
        bool garble = false;
        bool once = false;
        bool always = false;
        uint64_t met = 0;

        bool matches(const Access &access) const;
    };
    friend class RuleParser;

    std::vector<Rule> rules_;
};

// The entry point's name without its prefix.
const char *name_of(Entry entry);

} // namespace hwa
