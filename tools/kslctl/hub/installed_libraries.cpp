// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/installed_libraries.h"

#include <fmt/core.h>
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

} // namespace kslctl::hub
