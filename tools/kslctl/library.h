// SPDX-License-Identifier: Apache-2.0
// The library in use, and what stands below it.
#pragma once

#include <optional>
#include <string>

namespace kslctl {

// Opens the library; closes it in the end. One at a time.
class Library {
public:
    // With `simulate`, on the simulated hub that was built or installed beside this program, whatever else the
    // loader would find.
    explicit Library(bool simulate);
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    // Why there is no hub to talk to, as one sentence; none when there is one.
    const std::optional<std::string> &problem() const { return problem_; }

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
    std::optional<std::string> problem_;
    std::optional<std::string> lower_library_;
    std::optional<std::string> simulation_;
};

} // namespace kslctl
