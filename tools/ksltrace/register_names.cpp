// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/register_names.h"

#include <fmt/core.h>
#include <ksl/ksl.h>
#include <ksl/registers.h>
#include <string_view>

namespace ksltrace {

namespace {

struct Row {
    ksl_register place;
    std::string_view text;
};

constexpr Row kRows[] = {
#define KSL_ROW(name, text, page, page_step, offset, offset_step, length) {ksl_##name##_register, text},
    KSL_REGISTERS(KSL_ROW)
#undef KSL_ROW
};

constexpr bool each_port_has_one(const ksl_register &place) {
    return place.page_step != 0 || place.offset_step != 0;
}

} // namespace

std::string register_name(uint32_t page, uint32_t offset) {
    for (const auto &[place, text] : kRows) {
        for (uint32_t port = 0; port < (each_port_has_one(place) ? KSL_PORTS : 1); ++port) {
            if ((page & 0xFF) == place.page + port * place.page_step &&
                (offset & 0xFF) == place.offset + port * place.offset_step) {
                return each_port_has_one(place) ? fmt::format("{} of port {}", text, port) : std::string(text);
            }
        }
    }
    return {};
}

} // namespace ksltrace
