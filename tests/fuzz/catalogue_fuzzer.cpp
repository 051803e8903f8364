// SPDX-License-Identifier: Apache-2.0
// Any text as a catalogue of trace points: one that can be written and read again, or one clear sentence.
#include "lines.h"

#include <ksltrace/catalogue_file.h>
#include <trace_kbuf_reader.h>

#include <optional>
#include <string>

namespace {

using namespace fuzz;
using ksltrace::Catalogue;

std::optional<Catalogue> read(std::string_view text) {
    Catalogue catalogue;
    try {
        ksltrace::add_catalogue_text(text, catalogue);
    } catch (const ksltrace::CatalogueError &problem) {
        require_complaint(problem.what());
        return std::nullopt;
    }
    return catalogue;
}

bool is_name(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789";
    constexpr std::string_view kOthers = "ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    return !text.empty() && kDigits.find(text.front()) == kDigits.npos &&
           std::all_of(text.begin(), text.end(), [&](char letter) {
               return kDigits.find(letter) != kDigits.npos || kOthers.find(letter) != kOthers.npos;
           });
}

void check(const Catalogue &catalogue) {
    for (const ksltrace::Point *point : catalogue.sorted()) {
        require(catalogue.find(point->identifier) == point, "a point is found by its identifier");
        require(is_name(point->name), "a name can be a name in other formats");
        require(is_line(point->text), "a text is a line");
        require(point->values.size() <= TRACE_KBUF_VALUES, "a record has room for all values");
        for (const ksltrace::Value &value : point->values) {
            require(is_name(value.name), "a value's name can be a name in other formats");
        }
    }
    const std::string text = ksltrace::render_catalogue(catalogue);
    const std::optional<Catalogue> again = read(text);
    require(again && ksltrace::render_catalogue(*again) == text, "what is written is read as the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    if (const std::optional<Catalogue> catalogue = read({reinterpret_cast<const char *>(bytes), size})) {
        check(*catalogue);
    }
    return 0;
}
