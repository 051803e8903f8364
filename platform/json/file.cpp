// SPDX-License-Identifier: Apache-2.0
#include "json/file.h"

#include "json/value.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace json {
namespace {

class File {
public:
    // A pipe without a writer is not waited for where it would be refused.
    File(const std::string &path, Files files)
        : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | (files == Files::regular ? O_NONBLOCK : 0))) {}
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }

    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

[[noreturn]] void refuse_for_error(const std::string &path, int error) {
    throw Unusable(path + " cannot be read: " + std::generic_category().message(error));
}

} // namespace

std::string text_of_file(const std::string &path, Files files) {
    const File file(path, files);
    struct stat status {};
    if (file.descriptor() < 0 || fstat(file.descriptor(), &status) != 0) {
        refuse_for_error(path, errno);
    }
    if (files == Files::regular && !S_ISREG(status.st_mode)) {
        throw Unusable(path + " is not a regular file");
    }
    std::string text;
    std::array<char, 4096> block;
    ssize_t got = 0;
    while (text.size() <= kLongestText && (got = read(file.descriptor(), block.data(), block.size())) != 0) {
        if (got > 0) {
            text.append(block.data(), static_cast<size_t>(got));
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
