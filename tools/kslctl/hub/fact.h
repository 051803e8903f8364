// SPDX-License-Identifier: Apache-2.0
// What is known of the hub, and what went wrong where it is not known.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace kslctl::hub {

// Something that could not be read or done: an operation of the library did not return 0, or there is another reason.
struct Failure {
    uint32_t chip;
    std::string operation{}; // empty: there is only the reason
    std::string about;       // what was to be read or changed
    int32_t code = 0;        // of the operation, or of the failed one that this failure follows from
    std::string undone = "not read";
    std::string refusal{}; // what the code -1 means, if it is about an argument
    std::string reason{};  // where there is no operation

    bool operator==(const Failure &) const = default;
};

// In the order in which they happened. One failure may leave several facts unread.
using Failures = std::vector<Failure>;

// A value that was read, that was not read because of a failure, or that means nothing: such as the speed of a port
// without a link.
template <typename T>
class Fact {
public:
    Fact() = default; // means nothing
    Fact(T value) : state_(std::move(value)) {}
    Fact(Failure failure) : state_(std::move(failure)) {}

    bool is_read() const { return std::holds_alternative<T>(state_); }
    const Failure *failure() const { return std::get_if<Failure>(&state_); }

    // Only for what is read.
    const T &operator*() const { return *std::get_if<T>(&state_); }
    const T *operator->() const { return std::get_if<T>(&state_); }

    // The same fact seen in another way: `see` is asked only for a value that was read.
    template <typename See>
    auto map(const See &see) const -> Fact<std::decay_t<std::invoke_result_t<See, const T &>>> {
        if (is_read()) {
            return see(**this);
        }
        if (const Failure *const known = failure()) {
            return *known;
        }
        return {};
    }

    // The same fact, which means nothing if its value is not such.
    template <typename Condition>
    Fact where(const Condition &is_such) const {
        return is_read() && !is_such(**this) ? Fact() : *this;
    }

    bool operator==(const Fact &) const = default;

private:
    std::variant<std::monostate, T, Failure> state_;
};

// Keeps the failure for the user, and as the state of what was not read.
inline const Failure &note(Failures &failures, Failure failure) {
    return failures.emplace_back(std::move(failure));
}

} // namespace kslctl::hub
