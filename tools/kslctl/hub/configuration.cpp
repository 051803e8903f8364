// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/configuration.h"

#include "kslctl/hub/library.h"

#include <cstdlib>
#include <dlfcn.h>
#include <expectation.h>
#include <fmt/core.h>
#include <unistd.h>

namespace kslctl::hub {

Configuration::Configuration(std::string library) : library_(std::move(library)) {
    handle_ = dlopen(library_.c_str(), RTLD_NOW);
    if (handle_ == nullptr) {
        std::string problem = fmt::format("the configuration library cannot be opened: {}", dlerror());
        // The loader does not look into the current folder.
        if (library_.find('/') == std::string::npos && access(library_.c_str(), F_OK) == 0) {
            problem += fmt::format("; for the file of this folder say ./{}", library_);
        }
        throw NoConfiguration(problem);
    }
    const auto get_cfg = reinterpret_cast<decltype(&__ksl_get_cfg)>(dlsym(handle_, "__ksl_get_cfg"));
    if (get_cfg != nullptr) {
        get_cfg(&records_);
    }
    if (records_ == nullptr) {
        dlclose(handle_);
        throw NoConfiguration(library_ + (get_cfg == nullptr
                                              ? " has no entry point __ksl_get_cfg, so it is no configuration library"
                                              : " hands out no settings, so there is nothing to compare with"));
    }
}

Configuration::~Configuration() {
    dlclose(handle_);
}

std::string library_for_file(const std::string &file) {
    try {
        kslcfg::load(file);
    } catch (const kslcfg::Unusable &problem) {
        throw NoConfiguration(problem.what());
    }
    std::string library = path_of_installed("libkslcfg_file.so");
    if (access(library.c_str(), F_OK) != 0) {
        throw NoConfiguration(
            fmt::format("{} is missing; install it with this program, or use another configuration library", library));
    }
    setenv("KSL_CFG_FILE", file.c_str(), 1);
    return library;
}

} // namespace kslctl::hub
