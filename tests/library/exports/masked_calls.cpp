// SPDX-License-Identifier: Apache-2.0
#include "export.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>

namespace ksl::test {

namespace {

const std::string kMade[] = {"looked up ", "linked "};

bool is_access(const Call &call) {
    return std::any_of(std::begin(kMade), std::end(kMade),
                       [&](const std::string &how) { return call.text.rfind(how, 0) == 0; });
}

bool is_register_access(const Call &call) {
    return call.text.find("hwa_getreg ") != std::string::npos || call.text.find("hwa_setreg ") != std::string::npos;
}

uint32_t number(const std::string &word) {
    return static_cast<uint32_t>(std::stoull(word, nullptr, 16));
}

// The names of the values of each trace point that has an address among them.
const std::map<uint32_t, std::string> kAddressed = [] {
    std::map<uint32_t, std::string> points{
#undef KSL_TRACE_POINT
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, values},
#include "trace_points.def"
    };
    std::erase_if(points, [](const auto &point) { return point.second.find(":address") == std::string::npos; });
    return points;
}();

std::string masked_address(const std::string &word) {
    const uint32_t from_block = number(word) - address(memory());
    return from_block < kMemorySize ? "memory+" + std::to_string(from_block) : number(word) == 0 ? "null" : "address";
}

// A record with its addresses named by their owners, since those of the operation's own memory differ from run
// to run.
std::string masked_record(const Call &call) {
    const size_t slots = call.text.find("slots:") + 6;
    std::istringstream names(kAddressed.at(call.identifier));
    std::istringstream words(call.text.substr(slots));
    std::string text = call.text.substr(0, slots);
    std::string name;
    for (std::string word; words >> word;) {
        names >> name;
        text += " " + (names && name.find(":address") != std::string::npos ? masked_address(word) : word);
    }
    return text;
}

// Numbers of other entry points are small but for pointers.
std::string masked_arguments(const std::string &text) {
    std::istringstream words(text);
    std::string masked;
    for (std::string word; words >> word;) {
        const bool pointer = word.rfind("0x", 0) == 0 && word.size() > std::strlen("0x10000");
        masked += (masked.empty() ? "" : " ") + (pointer ? std::string("*") : word);
    }
    return masked;
}

Call masked(const Call &call) {
    Call result = call;
    if (kAddressed.count(call.identifier) != 0) {
        result.text = masked_record(call);
    } else if (is_access(call) && !is_register_access(call)) {
        result.text = masked_arguments(call.text);
    }
    return result;
}

} // namespace

Calls masked(const Calls &calls) {
    Calls result;
    for (const Call &call : calls) {
        result.push_back(masked(call));
    }
    return result;
}

std::vector<size_t> access_positions(const Calls &calls) {
    std::vector<size_t> positions;
    for (size_t i = 0; i < calls.size(); ++i) {
        if (is_access(calls[i])) {
            positions.push_back(i);
        }
    }
    return positions;
}

Calls with_run_times(const Calls &calls) {
    uint32_t stamps = 0;
    uint32_t last_start = 0;
    Calls timed;
    for (const Call &call : calls) {
        timed.push_back(call);
        if (call.text == stamp_start().text) {
            last_start = stamps++;
        } else if (call.text == stamp_end().text) {
            timed.push_back(masked(record(points::elapsed_time, kClockStep * (stamps++ - last_start))));
        }
    }
    return timed;
}

} // namespace ksl::test
