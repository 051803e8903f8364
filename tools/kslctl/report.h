// SPDX-License-Identifier: Apache-2.0
// What went wrong: told on stderr at once, and kept for the JSON document and the exit status.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace kslctl {

using Json = nlohmann::ordered_json;

// An operation of the library that did not return 0.
struct FailedOperation {
    uint32_t chip;
    std::string operation;
    std::string about; // what it was to read or to change
    int32_t code;
    const char *undone = "not read"; // what it is now
    const char *refusal = nullptr;   // what -1 means, where it is about an argument
};

class Report {
public:
    // With a simulated hub, its own codes can be explained.
    void set_simulated(bool simulated) { simulated_ = simulated; }

    void fail(const FailedOperation &failure);
    // A failure of anything else, as one sentence; behind "chip N: " where it is about one.
    void fail(const std::string &sentence);
    void fail(uint32_t chip, const std::string &sentence);

    // What the user should know although nothing went wrong.
    static void note(const std::string &sentence);

    bool has_failures() const { return has_failures_; }
    const Json &errors() const { return errors_; }
    // The same, to be told once.
    Json take_errors();

private:
    void fail_of(const Json &chip, const std::string &message);
    void keep(const Json &error);
    std::string explain(int32_t code, const char *refusal) const;

    bool simulated_ = false;
    bool has_failures_ = false;
    Json errors_ = Json::array();
};

} // namespace kslctl
