// SPDX-License-Identifier: Apache-2.0
#include "folder.h"

#include "descriptor.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace trace_kbuf {

namespace {

// The kernel's name of the process's first thread, safe as a part of a path.
std::array<char, 32> program_name() {
    std::array<char, 32> name{};
    const platform::Descriptor file(open("/proc/self/comm", O_RDONLY | O_CLOEXEC));
    if (file < 0 || read(file, name.data(), name.size() - 1) <= 0) {
        std::strncpy(name.data(), program_invocation_short_name, 15);
    }
    name[std::strcspn(name.data(), "\n")] = '\0';
    if (std::strcmp(name.data(), ".") == 0 || std::strcmp(name.data(), "..") == 0) {
        name[0] = '!';
    }
    for (char *slash = std::strchr(name.data(), '/'); slash != nullptr; slash = std::strchr(slash, '/')) {
        *slash = '!';
    }
    return name;
}

// The open of the folder reports problems: a folder that exists cannot be made either.
int make_folders(Path &path) {
    int problem = 0;
    for (char *at = path.data() + 1;; ++at) {
        const char end = *at;
        if (end == '/' || end == '\0') {
            *at = '\0';
            problem = mkdir(path.data(), 0700) == 0 || errno == EEXIST ? 0 : errno;
            *at = end;
        }
        if (end == '\0') {
            return problem;
        }
    }
}

} // namespace

bool expand(const char *pattern, Path &path) {
    size_t length = 0;
    const auto add = [&](const char *text, size_t count) {
        if (length + count < path.size()) {
            std::memcpy(&path[length], text, count);
        }
        length += count;
    };
    for (const char *at = pattern; *at != '\0'; ++at) {
        if (*at != '%') {
            add(at, 1);
            continue;
        }
        ++at;
        if (*at == 'e') {
            const auto name = program_name();
            add(name.data(), std::strlen(name.data()));
        } else if (*at == 'p') {
            std::array<char, 16> number{};
            add(number.data(), static_cast<size_t>(std::snprintf(number.data(), number.size(), "%d", getpid())));
        } else if (*at == '%') {
            add(at, 1);
        } else if (*at == '\0') {
            break;
        }
    }
    if (length >= path.size()) {
        return false;
    }
    path[length] = '\0';
    return true;
}

int open_folder(const char *path, const char *&problem) {
    Path parts{};
    std::strncpy(parts.data(), path, parts.size() - 1);
    const int unmade = make_folders(parts);
    const int folder = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    struct stat status {};
    if (folder < 0 || fstat(folder, &status) != 0) {
        problem = strerrordesc_np(unmade != 0 ? unmade : errno);
    } else if (status.st_uid != geteuid()) {
        problem = "its folder belongs to another user";
    } else if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        problem = "its folder may be written by other users";
    } else {
        return folder;
    }
    if (folder >= 0) {
        close(folder);
    }
    return -1;
}

} // namespace trace_kbuf
