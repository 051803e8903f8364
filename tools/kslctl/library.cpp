// SPDX-License-Identifier: Apache-2.0
#include "kslctl/library.h"

#include "kslctl/beside.h"

#include <dlfcn.h>
#include <fmt/core.h>
#include <hwa_sim.h>
#include <ksl/ksl.h>
#include <unistd.h>

namespace kslctl {

namespace {

// In the order in which ksl_init() tries them.
constexpr const char *kLowerLibraries[] = {"libhwa.so", "libqrthwa.gen1.so"};
constexpr const char *kSimulatedHub = kLowerLibraries[0];

// What the loader says of a library that it found and cannot open; nothing of one that it did not find, of which it
// speaks by the bare name.
std::string what_is_wrong_with(const char *name) {
    if (void *const library = dlopen(name, RTLD_NOW)) {
        dlclose(library);
        return {};
    }
    std::string text = dlerror();
    return text.starts_with(fmt::format("{}: ", name)) ? std::string() : text;
}

} // namespace

Library::Library(bool simulate) {
    if (simulate) {
        open_simulated_hub();
    }
    if (!problem_) {
        ksl_init();
        open_ = true;
        look_at_lower_library();
    }
}

Library::~Library() {
    if (open_) {
        ksl_terminate();
    }
    if (simulated_hub_ != nullptr) {
        dlclose(simulated_hub_);
    }
}

void Library::open_simulated_hub() {
    const std::string path = path_of_simulator(kSimulatedHub);
    if (access(path.c_str(), F_OK) != 0) {
        problem_ =
            fmt::format("--simulate: there is no simulated hub beside this program: {} is missing; install it with "
                        "the program, or leave --simulate out",
                        path);
        return;
    }
    // Global and under its own name, so that ksl_init() finds it already there.
    simulated_hub_ = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (simulated_hub_ == nullptr) {
        problem_ = fmt::format("--simulate: the simulated hub cannot be opened: {}", dlerror());
    }
}

void Library::look_at_lower_library() {
    for (const char *name : kLowerLibraries) {
        void *const library = dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
        if (library == nullptr) {
            continue;
        }
        lower_library_ = name;
        if (const auto text = reinterpret_cast<decltype(&hwa_simulation)>(dlsym(library, "hwa_simulation"))) {
            simulation_ = text();
        }
        dlclose(library);
        return;
    }
    for (const char *name : kLowerLibraries) {
        if (const std::string wrong = what_is_wrong_with(name); !wrong.empty()) {
            problem_ = fmt::format("{} cannot be opened, so there is no hub to talk to: {}", name, wrong);
            return;
        }
    }
    problem_ = "neither libhwa.so nor libqrthwa.gen1.so was found, so there is no hub to talk to; name their folder in "
               "LD_LIBRARY_PATH, or use --simulate";
}

} // namespace kslctl
