// SPDX-License-Identifier: Apache-2.0
// The formatting library, compiled once for all tools: the distribution compiles it for its own architecture alone, and
// as a header it would be compiled again in every file.
#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {
template FMT_API thousands_sep_result<char> thousands_sep_impl(locale_ref);
template FMT_API char decimal_point_impl(locale_ref);
} // namespace detail
FMT_END_NAMESPACE
