// SPDX-License-Identifier: Apache-2.0
// An open file, closed at the end of its scope.
#pragma once

#include <unistd.h>

namespace trace_kbuf {

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    operator int() const { return number_; }

private:
    int number_;
};

} // namespace trace_kbuf
