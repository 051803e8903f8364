// SPDX-License-Identifier: Apache-2.0
// The library in use, and the lower library that it uses.
#pragma once

#include <optional>
#include <string>

namespace kslctl::hub {

// Why there is no hub to talk to.
struct LibraryProblem {
    enum class Kind { no_simulated_hub, simulated_hub_unusable, lower_library_unusable, no_lower_library };
    Kind kind;
    std::string library; // name or path
    std::string reason;  // what the loader says
};

// Opens the library; closes it in the end. One at a time.
class Library {
public:
    // With `simulate`, on the simulated hub that was built or installed with this program, whatever else the
    // loader would find.
    explicit Library(bool simulate);
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    // None when there is a hub to talk to.
    const std::optional<LibraryProblem> &problem() const { return problem_; }

    // Whether the library was opened at all.
    bool is_open() const { return open_; }

    // The lower library's file name.
    const std::optional<std::string> &lower_library() const { return lower_library_; }

    // What a simulated hub says of itself; none when the hub does not say that it is simulated.
    const std::optional<std::string> &simulation() const { return simulation_; }

private:
    void open_simulated_hub();
    void look_at_lower_library();

    void *simulated_hub_ = nullptr;
    bool open_ = false;
    std::optional<LibraryProblem> problem_;
    std::optional<std::string> lower_library_;
    std::optional<std::string> simulation_;
};

} // namespace kslctl::hub
