// SPDX-License-Identifier: Apache-2.0
// Turns the ticks of records into time by the anchors of an image.
#pragma once

#include "anchor.h"
#include "image.h"

#include <vector>

namespace trace_kbuf {

class Timeline {
public:
    // `head` is the number of records written in all; the anchors' 32-bit record numbers count back from it.
    Timeline(const Image &image, uint64_t head);

    bool empty() const { return stretches_.empty(); }
    double ticks_per_second() const;
    uint64_t time_ns(uint64_t sequence, uint64_t ticks) const;

private:
    struct Stretch { // from one anchor to the next
        Anchor anchor;
        uint64_t first_record;
        double rate;
    };
    std::vector<Stretch> stretches_;
};

} // namespace trace_kbuf
