// SPDX-License-Identifier: Apache-2.0
#include "timeline.h"

#include <algorithm>

namespace trace_kbuf {

Timeline::Timeline(const Image &image, uint64_t head) {
    // Oldest first: the anchors' own ring has the order, the clock may have been set back.
    const uint32_t anchors_head = image.word(offsetof(Header, anchors_head));
    for (uint32_t age = kAnchors; age > 0; --age) {
        const uint32_t index = (anchors_head - age) % kAnchors;
        SlotWords words = image.slot(offsetof(Header, anchors) + index * sizeof(Slot));
        if (image.is_record(words, index, kAnchors) && words[kIdentifier] == kAnchorIdentifier) {
            stretches_.push_back({anchor_of(words), 0, 0});
        }
    }
    uint64_t newer = head;
    for (auto stretch = stretches_.rbegin(); stretch != stretches_.rend(); ++stretch) {
        const uint64_t back = static_cast<uint32_t>(newer) - stretch->anchor.head;
        const uint64_t distance = static_cast<uint32_t>(back);
        newer = distance <= newer ? newer - distance : 0;
        stretch->first_record = newer;
    }
    for (size_t i = 0; i < stretches_.size(); ++i) {
        const Anchor &anchor = stretches_[i].anchor;
        double &rate = stretches_[i].rate;
        rate = calibrated_rate(anchor);
        if (i + 1 == stretches_.size() || !measure_rate(anchor, stretches_[i + 1].anchor, rate)) {
            if (i > 0) {
                measure_rate(stretches_[i - 1].anchor, anchor, rate);
            }
        }
    }
}

double Timeline::ticks_per_second() const {
    return stretches_.empty() || stretches_.back().rate == 0 ? 0 : 1e9 / stretches_.back().rate;
}

uint64_t Timeline::time_ns(uint64_t sequence, uint64_t ticks) const {
    if (stretches_.empty()) {
        return 0;
    }
    const auto later = std::upper_bound(stretches_.begin(), stretches_.end(), sequence,
                                        [](uint64_t s, const Stretch &stretch) { return s < stretch.first_record; });
    const Stretch &stretch = later == stretches_.begin() ? stretches_.front() : *(later - 1);
    return clock_at(stretch.anchor, stretch.rate, ticks);
}

} // namespace trace_kbuf
