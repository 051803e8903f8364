// SPDX-License-Identifier: Apache-2.0
// An open file, closed at the end of its scope.
#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace platform {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    operator int() const { return number_; }

private:
    int number_ = -1;
};

// For a file that stays open. A program that closed its standard streams writes to their numbers all the same, so the
// file gets another one.
inline Descriptor kept_open(int number) {
    if (number < 0 || number > STDERR_FILENO) {
        return Descriptor(number);
    }
    const Descriptor standard(number);
    return Descriptor(fcntl(standard, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

} // namespace platform
