// SPDX-License-Identifier: Apache-2.0
#include "expectation.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace kslcfg {
namespace {

// All VLANs with the largest maps need a third of it.
constexpr std::size_t kLongestText = std::size_t{2} << 20;

class File {
public:
    // A pipe without a writer is not waited for.
    explicit File(const std::string &path) : number_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File() {
        if (number_ >= 0)
            close(number_);
    }

    int number() const { return number_; }

private:
    int number_;
};

[[noreturn]] void refuse_for_error(int error) {
    throw Unusable(" cannot be read: " + std::generic_category().message(error));
}

std::string contents(const std::string &path) {
    const File file(path);
    struct stat status {};
    if (file.number() < 0 || fstat(file.number(), &status) != 0)
        refuse_for_error(errno);
    // It is read again for each validation, which only a file can bear.
    if (!S_ISREG(status.st_mode))
        throw Unusable(" is not a regular file");
    std::string text;
    std::array<char, 4096> block;
    ssize_t got = 0;
    while (text.size() <= kLongestText && (got = read(file.number(), block.data(), block.size())) > 0)
        text.append(block.data(), static_cast<std::size_t>(got));
    if (got < 0)
        refuse_for_error(errno);
    if (text.size() > kLongestText)
        throw Unusable(" is longer than 2 MiB");
    return text;
}

} // namespace

Expectation load(const std::string &path) {
    std::string text;
    try {
        text = contents(path);
    } catch (const Unusable &problem) {
        throw Unusable(path + problem.what());
    }
    try {
        return parse(text);
    } catch (const Unusable &problem) {
        throw Unusable(path + ", " + problem.what());
    }
}

} // namespace kslcfg
