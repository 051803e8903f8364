// SPDX-License-Identifier: Apache-2.0
#include "state/log.h"

#include "problem.h"

#include <cerrno>
#include <complaint.h>
#include <fcntl.h>
#include <unistd.h>

namespace hwa {

Log::Log(const std::string &name) : name_(name) {
    if (is_stderr()) {
        descriptor_ = STDERR_FILENO;
        return;
    }
    // A pipe is not opened until somebody reads it; then it is waited for.
    file_ = platform::kept_open(open(name.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0644));
    descriptor_ = file_;
    if (file_ < 0) {
        complain("HWA_SIM_LOG: " + name + " cannot be opened (" +
                 (errno == ENXIO ? "nobody reads this pipe" : system_error(errno)) +
                 "); going on without a log, name a file that can be written");
        return;
    }
    fcntl(descriptor_, F_SETFL, O_APPEND);
}

void Log::write(const std::string &line) {
    if (is_stderr() && !platform::stderr_is_the_same()) {
        descriptor_ = -1;
        return;
    }
    const std::string text = line + "\n";
    // A single write keeps the lines of several processes whole; only a disk that is almost full takes a part.
    for (std::string_view rest = text; !rest.empty();) {
        const ssize_t written = platform::write_unharmed(descriptor_, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<size_t>(written));
        } else if (errno != EINTR) {
            complain("HWA_SIM_LOG: " + name_ + " cannot be written (" + system_error(errno) +
                     "); going on without a log");
            descriptor_ = -1;
            return;
        }
    }
}

std::string hex(uint32_t value, int digits) {
    std::string text = "0x";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[value >> shift & 0xF];
    }
    return text;
}

std::string hex(std::span<const uint8_t> bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        text += (text.empty() ? "" : " ") + hex(byte, 2).substr(2);
    }
    return text;
}

} // namespace hwa
