// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/library.h"

#include "kslctl/hub/own_trace.h"

#include <dlfcn.h>
#include <fmt/core.h>
#include <hwa.h>
#include <hwa_sim.h>
#include <ksl/ksl.h>
#include <limits.h>
#include <unistd.h>

namespace kslctl::hub {

namespace {

// The root folder when there is no /proc: a path of its own must never be relative to the current folder.
std::string own_folder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string whole = length > 0 ? std::string(path, static_cast<size_t>(length)) : "/";
    return whole.substr(0, whole.rfind('/') + 1);
}

// In the order in which ksl_init() tries them.
constexpr const char *kLowerLibraries[] = {"libhwa.so", "libqrthwa.gen1.so"};
constexpr const char *kSimulatedHub = kLowerLibraries[0];

// What the loader says of a library that it found and cannot open; empty for one that it did not find, which it calls
// by its bare name.
std::string loader_problem(const char *name) {
    if (void *const library = dlopen(name, RTLD_NOW)) {
        dlclose(library);
        return {};
    }
    std::string text = dlerror();
    return text.starts_with(fmt::format("{}: ", name)) ? std::string() : text;
}

} // namespace

std::string path_of_installed(const std::string &library) {
    const std::string folder = own_folder();
    const std::string built = fmt::format("{}" KSL_BUILD_LIBRARIES "/{}", folder, library);
    const std::string installed = fmt::format("{}" KSL_INSTALLED_LIBRARIES "/{}", folder, library);
    return access(built.c_str(), F_OK) == 0 ? built : installed;
}

std::string path_of_simulator(const std::string &library) {
    return path_of_installed(KSL_SIMULATOR_FOLDER "/" + library);
}

// libksl.so leaves this open until ksl_init() has opened the lower library. With LD_BIND_NOW the loader wants it at the
// start of the program: it finds this one, which goes on to the lower library.
extern "C" [[gnu::visibility("default")]] int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset,
                                                             uint32_t length, uint8_t *buffer) {
    for (const char *name : kLowerLibraries) {
        if (void *const library = dlopen(name, RTLD_LAZY | RTLD_NOLOAD)) {
            const auto getreg = reinterpret_cast<decltype(&hwa_getreg)>(dlsym(library, "hwa_getreg"));
            const int32_t result = getreg != nullptr ? getreg(chip, page, offset, length, buffer) : -1;
            dlclose(library);
            return result;
        }
    }
    return -1;
}

Library::Library(bool simulate) {
    if (simulate) {
        open_simulated_hub();
    }
    if (!problem_) {
        keep_trace_apart();
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
        problem_ = {LibraryProblem::Kind::no_simulated_hub, path, {}};
        return;
    }
    // Global and under its own name, so that ksl_init() finds it already there.
    simulated_hub_ = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (simulated_hub_ == nullptr) {
        problem_ = {LibraryProblem::Kind::simulated_hub_unusable, path, dlerror()};
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
        if (const std::string wrong = loader_problem(name); !wrong.empty()) {
            problem_ = {LibraryProblem::Kind::lower_library_unusable, name, wrong};
            return;
        }
    }
    problem_ = {LibraryProblem::Kind::no_lower_library, {}, {}};
}

} // namespace kslctl::hub
