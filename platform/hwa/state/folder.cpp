// SPDX-License-Identifier: Apache-2.0
#include "state/folder.h"

#include "problem.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hwa {
namespace {

constexpr char kAdvice[] = "; set HWA_SIM_DIR to a folder of your own";

[[noreturn]] void refuse(const std::string &path, const std::string &reason) {
    throw Unusable("the state's place " + path + " " + reason + kAdvice);
}

// Only files that no other user can have made or can change are trusted.
void check(int file, const std::string &path, mode_t kind, const char *kind_name) {
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        refuse(path, "cannot be opened (" + system_error(errno) + ")");
    }
    if ((status.st_mode & S_IFMT) != kind) {
        refuse(path, "is not " + std::string(kind_name));
    }
    if (status.st_uid != geteuid()) {
        refuse(path, "belongs to another user");
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        refuse(path, "may be written by other users");
    }
    if (kind == S_IFREG && status.st_nlink > 1) {
        refuse(path, "has a second name");
    }
}

const char *environment(const char *name) {
    const char *const value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

} // namespace

std::string state_folder() {
    if (const char *const chosen = environment("HWA_SIM_DIR")) {
        std::string folder = chosen;
        // With a slash at the end a link would be followed, and so with a dot after it.
        while (folder.size() > 1 && (folder.back() == '/' || folder.ends_with("/."))) {
            folder.pop_back();
        }
        return folder;
    }
    if (const char *const runtime = environment("XDG_RUNTIME_DIR")) {
        return std::string(runtime) + "/ksl-hwa-sim";
    }
    return "/tmp/ksl-hwa-sim-" + std::to_string(geteuid());
}

platform::Descriptor open_private(const std::string &folder, const char *name) {
    // Another process may remove the folder again and again, but not always between two calls.
    for (int tries_left = 1000;; --tries_left) {
        const auto went_away = [&](int file) { return file < 0 && errno == ENOENT && tries_left > 0; };
        if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
            refuse(folder, "cannot be made (" + system_error(errno) + ")");
        }
        const platform::Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (went_away(directory)) {
            continue;
        }
        check(directory, folder, S_IFDIR, "a folder");
        // Not waiting keeps a pipe of that name from stopping the program.
        platform::Descriptor file =
            platform::kept_open(openat(directory, name, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
        if (went_away(file)) {
            continue;
        }
        check(file, folder + "/" + name, S_IFREG, "a file");
        return file;
    }
}

} // namespace hwa
