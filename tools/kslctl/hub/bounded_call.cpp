// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/bounded_call.h"

#include <csetjmp>
#include <cstdint>
#include <new>
#include <sys/mman.h>

namespace kslctl::hub {

namespace {

sigjmp_buf before_call;

// The inaccessible pages after the memory, as long as the memory is there.
const uint8_t *guard = nullptr;
size_t guard_size = 0;
struct sigaction former_action {};

} // namespace

bool call_bounded(const std::function<void()> &call) {
    if (sigsetjmp(before_call, 1) != 0) { // NOLINT(cert-err52-cpp): exceptions do not pass through the library
        return false;
    }
    call();
    return true;
}

[[noreturn]] void leave_bounded_call() {
    siglongjmp(before_call, 1); // NOLINT(cert-err52-cpp)
}

BoundedMemory::BoundedMemory(size_t size)
    : size_(size), base_(mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    if (base_ == MAP_FAILED) {
        throw std::bad_alloc();
    }
    uint8_t *const end = static_cast<uint8_t *>(base_) + size;
    if (mprotect(end, size, PROT_NONE) != 0) {
        munmap(base_, 2 * size);
        throw std::bad_alloc();
    }
    guard = end;
    guard_size = size;
    struct sigaction action {};
    action.sa_sigaction = on_fault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &former_action);
}

BoundedMemory::~BoundedMemory() {
    sigaction(SIGSEGV, &former_action, nullptr);
    munmap(base_, 2 * size_);
}

void BoundedMemory::on_fault(int, siginfo_t *info, void *) {
    const auto *const place = static_cast<const uint8_t *>(info->si_addr);
    if (place >= guard && place < guard + guard_size) {
        leave_bounded_call();
    }
    sigaction(SIGSEGV, &former_action, nullptr); // anything else happens again, and as usual
}

} // namespace kslctl::hub
