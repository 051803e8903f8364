// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/validation.h"

#include "kslctl/hub/library.h"

#include <cstdlib>
#include <dlfcn.h>
#include <expectation.h>
#include <expected_records.h>
#include <fmt/core.h>
#include <unistd.h>

namespace kslctl::hub {

namespace {

Failure not_compared(uint32_t chip, const std::string &about, const std::string &reason) {
    return {.chip = chip, .about = about, .undone = "not compared", .reason = reason};
}

// What the library says.
Verdict verdict_of(uint32_t chip, const char *operation, const std::string &about, int32_t code, uint32_t answer,
                   Failures &failures) {
    if (code != 0) {
        return note(failures, {chip, operation, about, code, "not compared"});
    }
    return answer != 0;
}

// The library has looked, and then this program. A hub that has changed in between gives no verdict.
Verdict agreed(const Verdict &verdict, const Fact<bool> &same, uint32_t chip, const std::string &about,
               Failures &failures) {
    if (verdict.is_read() && same.is_read() && *verdict != *same) {
        return note(failures, not_compared(chip, about, "the hub changed meanwhile; validate again"));
    }
    return verdict;
}

bool is_same_pvid(const Bytes &expected, const Bytes &found) {
    return decode_pvid(expected) == decode_pvid(found);
}

bool is_same_entry(const Bytes &expected, const Bytes &found) {
    return kslcfg::matches(kslcfg::vlan_entry_from(0, expected.data()), kslcfg::vlan_entry_from(0, found.data()));
}

Comparison compare(uint32_t of, const Bytes &expected, const Fact<Bytes> &found,
                   bool (*is_same)(const Bytes &expected, const Bytes &found)) {
    return {of, expected, found, found.map([&](const Bytes &bytes) { return is_same(expected, bytes); })};
}

// All the same; not known as long as one was not read.
Fact<bool> all_same(const std::vector<Comparison> &comparisons) {
    bool all = true;
    for (const Comparison &one : comparisons) {
        if (!one.same.is_read()) {
            return one.same;
        }
        all = all && *one.same;
    }
    return all;
}

} // namespace

Configuration::Configuration(std::string library) : library_(std::move(library)) {
    handle_ = dlopen(library_.c_str(), RTLD_NOW);
    if (handle_ == nullptr) {
        std::string problem = fmt::format("the configuration library cannot be opened: {}", dlerror());
        // The loader does not look into the current folder.
        if (library_.find('/') == std::string::npos && access(library_.c_str(), F_OK) == 0) {
            problem += fmt::format("; for the file of this folder say ./{}", library_);
        }
        throw NoConfiguration(problem);
    }
    const auto get_cfg = reinterpret_cast<decltype(&__ksl_get_cfg)>(dlsym(handle_, "__ksl_get_cfg"));
    if (get_cfg != nullptr) {
        get_cfg(&records_);
    }
    if (records_ == nullptr) {
        dlclose(handle_);
        throw NoConfiguration(library_ + (get_cfg == nullptr
                                              ? " has no entry point __ksl_get_cfg, so it is no configuration library"
                                              : " hands out no settings, so there is nothing to compare with"));
    }
}

Configuration::~Configuration() {
    dlclose(handle_);
}

std::string library_for_file(const std::string &file) {
    try {
        kslcfg::load(file);
    } catch (const kslcfg::Unusable &problem) {
        throw NoConfiguration(problem.what());
    }
    std::string library = path_of_installed("libkslcfg_file.so");
    if (access(library.c_str(), F_OK) != 0) {
        throw NoConfiguration(
            fmt::format("{} is missing; install it with this program, or use another configuration library", library));
    }
    setenv("KSL_CFG_FILE", file.c_str(), 1);
    return library;
}

PvidValidation validate_pvids(uint32_t chip, const Configuration &configuration, Failures &failures) {
    const std::string about = "PVIDs";
    uint32_t answer = 0;
    const int32_t code = ksl_validate_VLAN_PVID_set(chip, configuration.library().c_str(), &answer);
    PvidValidation validation{verdict_of(chip, "ksl_validate_VLAN_PVID_set", about, code, answer, failures), {}};

    const auto expected = kslcfg::expected_pvids(configuration.records());
    Pvids found;
    if (validation.verdict.is_read()) {
        found = read_pvids(chip, failures);
    } else {
        found.fill(*validation.verdict.failure());
    }
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        validation.ports.push_back(compare(port, expected[port], found[port], is_same_pvid));
    }
    validation.verdict = agreed(validation.verdict, all_same(validation.ports), chip, about, failures);
    return validation;
}

VlanValidation validate_vlan(uint32_t chip, uint32_t vid, const Configuration &configuration, Failures &failures) {
    const std::string about = fmt::format("VLAN {}", vid);
    uint32_t answer = 0;
    const int32_t code = ksl_validate_VLAN_map(chip, vid, configuration.library().c_str(), &answer);
    Verdict verdict = verdict_of(chip, "ksl_validate_VLAN_map", about, code, answer, failures);

    const auto [expected, named] = kslcfg::expected_vlan_entry(configuration.records(), vid);
    const Fact<Bytes> found = verdict.is_read() ? read_vlan_entry(chip, vid, failures) : *verdict.failure();
    const Comparison entry = compare(vid, expected, found, is_same_entry);
    verdict = agreed(verdict, entry.same, chip, about, failures);
    if (!named && verdict == Verdict(true)) {
        verdict = note(failures, not_compared(chip, about,
                                              "the configuration does not name it, though its last entry is the same"));
    }
    return {verdict, named, entry};
}

Verdict validate_vlan_enable(uint32_t chip, Failures &failures) {
    uint32_t answer = 0;
    const int32_t code = ksl_validate_VLAN_enable(chip, &answer);
    return verdict_of(chip, "ksl_validate_VLAN_enable", describe(registers::vlan_enable), code, answer, failures);
}

} // namespace kslctl::hub
