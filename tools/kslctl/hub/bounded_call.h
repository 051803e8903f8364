// SPDX-License-Identifier: Apache-2.0
// Calls of the library that end only when the chip says so. A chip that never does would fill all memory, and there is
// no way to stop the library but to leave it: it holds nothing meanwhile, and can be called again.
#pragma once

#include <cstddef>
#include <functional>
#include <signal.h>

namespace kslctl::hub {

// False if the call was left. Nothing that it runs may need a destructor.
bool call_bounded(const std::function<void()> &call);

// From within a bounded call, also from a callback or a signal handler.
[[noreturn]] void leave_bounded_call();

// Memory that the library fills without a limit: what it writes after the end leaves the bounded call. One at a time.
class BoundedMemory {
public:
    // A multiple of 64 KiB, which is a whole number of pages on any machine. Throws std::bad_alloc.
    explicit BoundedMemory(size_t size);
    ~BoundedMemory();
    BoundedMemory(const BoundedMemory &) = delete;
    BoundedMemory &operator=(const BoundedMemory &) = delete;

    void *data() { return base_; }

private:
    static void on_fault(int signal, siginfo_t *info, void *);

    size_t size_;
    void *base_;
};

} // namespace kslctl::hub
