// SPDX-License-Identifier: Apache-2.0
// Records that name their writer and their number, and writers that count what they finished outside of the ring.
#pragma once

#include <trace_kbuf.h>
#include <trace_kbuf_reader.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace stamped {

inline constexpr uint32_t kIdentifier = 0xf7a3bed0; // one of those that are left to callers
inline constexpr uint32_t kHeader = (9u << 16) | 4711;

using Values = std::array<uint32_t, TRACE_KBUF_VALUES>;

inline Values values_of(uint32_t writer, uint32_t number) {
    Values values{writer, number};
    uint32_t check = 0x811c9dc5;
    for (uint32_t i = 2; i < values.size(); ++i) {
        check = (check ^ writer) * 0x01000193;
        check = (check ^ number) * 0x01000193;
        values[i] = check;
    }
    return values;
}

inline int write(uint32_t descriptor, uint32_t writer, uint32_t number) {
    const Values v = values_of(writer, number);
    return trace_kbuf_write_ints9(descriptor, kHeader, kIdentifier, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7],
                                  v[8]);
}

inline bool is_stamped(const trace_kbuf_record &record) {
    const Values expected = values_of(record.values[0], record.values[1]);
    return record.identifier == kIdentifier && record.header == kHeader &&
           std::memcmp(record.values, expected.data(), sizeof expected) == 0;
}

// How many records each writer has finished; in memory that outlives the writers, or in a file.
class Finished {
public:
    explicit Finished(uint32_t writers, int file = -1)
        : count_(writers), bytes_(writers * sizeof(std::atomic<uint32_t>)),
          numbers_(static_cast<std::atomic<uint32_t> *>(
              mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED | (file < 0 ? MAP_ANONYMOUS : 0), file, 0))) {
        if (numbers_ == MAP_FAILED) {
            throw std::bad_alloc();
        }
    }
    ~Finished() { munmap(numbers_, bytes_); }
    Finished(const Finished &) = delete;
    Finished &operator=(const Finished &) = delete;

    std::atomic<uint32_t> &operator[](uint32_t writer) const { return numbers_[writer]; }
    uint32_t writers() const { return count_; }

    // One record of `writer`: 0, or -1 when it was not written.
    int write_next(uint32_t descriptor, uint32_t writer) const {
        const uint32_t number = numbers_[writer].load(std::memory_order_relaxed);
        const int result = write(descriptor, writer, number);
        numbers_[writer].store(number + 1, std::memory_order_release);
        return result;
    }

private:
    uint32_t count_;
    size_t bytes_;
    std::atomic<uint32_t> *numbers_;
};

} // namespace stamped
