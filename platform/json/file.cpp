// SPDX-License-Identifier: Apache-2.0
#include "json/file.h"

#include "json/value.h"

#include <array>
#include <cerrno>
#include <descriptor.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace json {
namespace {

[[noreturn]] void refuse_for_error(const std::string &path, int error) {
    throw Unusable(path + " cannot be read: " + std::generic_category().message(error));
}

// Waits for so many milliseconds; a negative number means for ever.
bool has_something_to_read(int descriptor, int milliseconds) {
    pollfd input{descriptor, POLLIN, 0};
    return poll(&input, 1, milliseconds) > 0;
}

} // namespace

std::string text_of_file(const std::string &path, Files files, std::chrono::milliseconds patience) {
    // A pipe is opened at once, also without a writer.
    const platform::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        refuse_for_error(path, errno);
    }
    if (files == Files::regular && !S_ISREG(status.st_mode)) {
        throw Unusable(path + " is not a regular file");
    }
    std::string text;
    std::array<char, 4096> block;
    bool waits_for_writer = S_ISFIFO(status.st_mode);
    while (text.size() <= kLongestText) {
        const ssize_t got = read(file, block.data(), block.size());
        if (got > 0) {
            text.append(block.data(), static_cast<size_t>(got));
        } else if (got == 0 && text.empty() && waits_for_writer) {
            if (!has_something_to_read(file, static_cast<int>(patience.count()))) {
                throw Unusable(path + " is a pipe into which nobody writes; name a file, or write into it at once");
            }
            waits_for_writer = false;
        } else if (got == 0) {
            break;
        } else if (errno == EAGAIN) {
            has_something_to_read(file, -1); // its writer is at work
        } else if (errno != EINTR) {
            refuse_for_error(path, errno);
        }
    }
    if (text.size() > kLongestText) {
        throw Unusable(path + " is longer than 4 MiB, the most that is read");
    }
    return text;
}

} // namespace json
