// SPDX-License-Identifier: Apache-2.0
// A trace knows its points by their identifiers alone: the build fails when two points have the same.
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

constexpr uint32_t kIdentifiers[] = {
#define KSL_TRACE_POINT(identifier, kind, name, values, text) identifier,
#include "trace_points.def"
};

constexpr bool unique() {
    for (size_t i = 0; i < std::size(kIdentifiers); ++i) {
        for (size_t j = 0; j < i; ++j) {
            if (kIdentifiers[i] == kIdentifiers[j]) {
                return false;
            }
        }
    }
    return true;
}

static_assert(unique(), "two trace points have the same identifier");

} // namespace
