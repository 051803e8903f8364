// SPDX-License-Identifier: Apache-2.0
// The finished library, loaded as a caller loads it.
#pragma once

#include "hwa.h"
#include "hwa_sim.h"
#include "support.h"

#include <array>
#include <dlfcn.h>
#include <vector>

namespace hwa_test {

using Bytes = std::vector<std::uint8_t>;

class Library {
public:
    explicit Library(const char *path = HWA_LIBRARY) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::abort();
        }
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;
    ~Library() { dlclose(handle_); }

    bool has(const char *name) const { return dlsym(handle_, name) != nullptr; }

    std::int32_t get(std::uint8_t chip, std::uint8_t page, std::uint8_t offset, std::uint32_t length,
                     std::uint8_t *buffer) const {
        return entry<decltype(hwa_getreg)>("hwa_getreg")(chip, page, offset, length, buffer);
    }

    // The bytes of a register; none when the read fails.
    Bytes get(std::uint8_t page, std::uint8_t offset, std::uint32_t length, std::uint8_t chip = 0) const {
        Bytes bytes(length);
        return get(chip, page, offset, length, bytes.data()) == 0 ? bytes : Bytes();
    }

    std::int32_t set(std::uint8_t chip, std::uint8_t page, std::uint8_t offset, std::uint32_t length,
                     const std::uint8_t *buffer) const {
        return entry<decltype(hwa_setreg)>("hwa_setreg")(chip, page, offset, length, buffer);
    }

    std::int32_t set(std::uint8_t page, std::uint8_t offset, const Bytes &bytes, std::uint8_t chip = 0) const {
        return set(chip, page, offset, static_cast<std::uint32_t>(bytes.size()), bytes.data());
    }

    std::int32_t get_many(std::uint8_t chip, ksl_reg_request *requests, std::uint32_t count) const {
        return entry<decltype(hwa_get_multireg)>("hwa_get_multireg")(chip, requests, count);
    }

    std::int32_t get_macs(std::uint8_t chip, void *entries, std::uint32_t *count) const {
        return entry<decltype(hwa_getmacs)>("hwa_getmacs")(chip, entries, count);
    }

    std::int32_t command(const std::uint8_t *command, std::uint32_t length, std::uint8_t *response,
                         std::uint32_t *response_length) const {
        return entry<decltype(hwa_engpowercmd)>("hwa_engpowercmd")(command, length, response, response_length);
    }

    std::int32_t configure(std::uint8_t chip, std::uint32_t configuration) const {
        return entry<decltype(hwa_setswitchconfig)>("hwa_setswitchconfig")(chip, configuration);
    }

    std::int32_t filter(std::uint8_t chip, std::uint32_t filter) const {
        return entry<decltype(hwa_setmacfilter)>("hwa_setmacfilter")(chip, filter);
    }

    std::int32_t reset(std::uint32_t chip) const { return entry<decltype(hwa_resetswitch)>("hwa_resetswitch")(chip); }

    std::string description() const { return entry<decltype(hwa_simulation)>("hwa_simulation")(); }

private:
    template <typename Function>
    Function *entry(const char *name) const {
        return reinterpret_cast<Function *>(dlsym(handle_, name));
    }

    void *handle_;
};

// Every test has a hub of its own, described by nothing but what the test sets.
class HubTest : public testing::Test {
protected:
    HubTest() {
        for (const char *name :
             {"HWA_SIM_SCENARIO", "HWA_SIM_FAULTS", "HWA_SIM_LOG", "HWA_SIM_CLOCK", "XDG_RUNTIME_DIR"})
            unsetenv(name);
        set("HWA_SIM_DIR", folder / "state");
    }

    static void set(const char *name, const std::string &value) { setenv(name, value.c_str(), 1); }

    TemporaryFolder folder;
};

} // namespace hwa_test
