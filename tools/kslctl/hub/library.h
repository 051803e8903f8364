// SPDX-License-Identifier: Apache-2.0
// The library in use, the lower library that it uses, and where those are that were built or installed with this
// program.
#pragma once

#include <optional>
#include <string>

namespace kslctl::hub {

// Where the library is in the build folder, else where it would be installed. It need not be there.
std::string path_of_installed(const std::string &library);
// The same of a library of the simulator. Of its name there may be the hub's own, which this never is.
std::string path_of_simulator(const std::string &library);

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
