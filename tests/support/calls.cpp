// SPDX-License-Identifier: Apache-2.0
#include "calls.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace ksl::test {

const char *const kConfigurationPath = "/opt/libcfg.so";

// ---- How calls are written ----

const std::string kLookup = "look up ";

std::string hex(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

static std::string joined(const std::vector<uint32_t> &values) {
    std::string text;
    for (const uint32_t value : values) {
        text += " " + hex(value);
    }
    return text;
}

std::string hex_bytes(const uint8_t *bytes, uint32_t length) {
    std::string text;
    for (uint32_t i = 0; i < length; ++i) {
        text += " " + hex(bytes[i]);
    }
    return text;
}

std::string access_text(const std::string &name, uint32_t chip, uint32_t page, uint32_t offset, uint32_t length) {
    return name + " chip=" + hex(chip) + " page=" + hex(page) + " offset=" + hex(offset) +
           " length=" + std::to_string(length);
}

std::string record_text(const char *operation, uint32_t descriptor, uint32_t count, uint32_t identifier,
                        const std::vector<uint32_t> &slots) {
    return std::string(operation) + " buffer=" + hex(descriptor) + " count=" + std::to_string(count) +
           " point=" + hex(identifier) + " slots:" + joined(slots);
}

std::string entry_point_text(const std::string &name, const std::vector<uint64_t> &arguments) {
    std::string text = name;
    for (const uint64_t argument : arguments) {
        text += " " + hex(argument);
    }
    return text;
}

// ---- What a test expects ----

Bytes bytes_of(uint32_t word) {
    return {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 8),
            static_cast<uint8_t>(word)};
}

Calls &Calls::operator+=(const Calls &more) {
    insert(end(), more.begin(), more.end());
    return *this;
}

std::string Calls::text() const {
    std::string all;
    for (const Call &call : *this) {
        all += call.text + "\n";
    }
    return all;
}

Call stamp_start() {
    return {"gettimeofday start"};
}

Call stamp_end() {
    return {"gettimeofday end"};
}

Call getreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length) {
    return {"looked up " + access_text("hwa_getreg", chip, page, offset, length)};
}

Call getreg_by_link(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length) {
    return {"linked " + access_text("hwa_getreg", chip, page, offset, length)};
}

Call setreg(uint32_t chip, uint32_t page, uint32_t offset, const Bytes &bytes) {
    const auto length = static_cast<uint32_t>(bytes.size());
    return {"looked up " + access_text("hwa_setreg", chip, page, offset, length) +
            " bytes:" + hex_bytes(bytes.data(), length)};
}

Call entry_point(const std::string &name, std::initializer_list<uint64_t> arguments) {
    return {"looked up " + entry_point_text(name, arguments)};
}

Call lookup_missing(const std::string &name) {
    return {kLookup + name + ": missing"};
}

Call platform_call(const std::string &text) {
    return {text};
}

uint32_t address(const void *pointer) {
    return trace_value(pointer);
}

uint64_t whole_address(const void *pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

Call record(TracePoint point, const std::vector<uint32_t> &values) {
    const size_t count = values.size();
    if (count != point.values) {
        throw std::logic_error("a record of trace point " + hex(point.identifier) + " has " +
                               std::to_string(point.values) + " values");
    }
    std::vector<uint32_t> slots = values;
    slots.resize(count == 0 ? 0 : count <= 5 ? 5 : 9);
    const char *operation = count == 0 ? "write_all" : count <= 5 ? "write_ints5" : "write_ints9";
    return {record_text(operation, ksl_trace_buffer, point.values, point.identifier, slots), 0, point.identifier,
            point.values};
}

std::vector<uint32_t> slots(const Call &record) {
    std::vector<uint32_t> all;
    std::istringstream text(record.text.substr(record.text.find("slots:") + 6));
    for (uint32_t value; text >> std::hex >> value;) {
        all.push_back(value);
    }
    return all;
}

} // namespace ksl::test
