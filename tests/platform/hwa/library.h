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

using Bytes = std::vector<uint8_t>;

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

    int32_t get(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) const {
        return entry<decltype(hwa_getreg)>("hwa_getreg")(chip, page, offset, length, buffer);
    }

    // The bytes of a register; none when the read fails.
    Bytes get(uint8_t page, uint8_t offset, uint32_t length, uint8_t chip = 0) const {
        Bytes bytes(length);
        return get(chip, page, offset, length, bytes.data()) == 0 ? bytes : Bytes();
    }

    int32_t set(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, const uint8_t *buffer) const {
        return entry<decltype(hwa_setreg)>("hwa_setreg")(chip, page, offset, length, buffer);
    }

    int32_t set(uint8_t page, uint8_t offset, const Bytes &bytes, uint8_t chip = 0) const {
        return set(chip, page, offset, static_cast<uint32_t>(bytes.size()), bytes.data());
    }

    int32_t get_many(uint8_t chip, ksl_reg_request *requests, uint32_t count) const {
        return entry<decltype(hwa_get_multireg)>("hwa_get_multireg")(chip, requests, count);
    }

    int32_t get_macs(uint8_t chip, void *entries, uint32_t *count) const {
        return entry<decltype(hwa_getmacs)>("hwa_getmacs")(chip, entries, count);
    }

    int32_t command(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length) const {
        return entry<decltype(hwa_engpowercmd)>("hwa_engpowercmd")(command, length, response, response_length);
    }

    int32_t configure(uint8_t chip, uint32_t configuration) const {
        return entry<decltype(hwa_setswitchconfig)>("hwa_setswitchconfig")(chip, configuration);
    }

    int32_t filter(uint8_t chip, uint32_t filter) const {
        return entry<decltype(hwa_setmacfilter)>("hwa_setmacfilter")(chip, filter);
    }

    int32_t reset(uint32_t chip) const { return entry<decltype(hwa_resetswitch)>("hwa_resetswitch")(chip); }

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
             {"HWA_SIM_SCENARIO", "HWA_SIM_FAULTS", "HWA_SIM_LOG", "HWA_SIM_CLOCK", "XDG_RUNTIME_DIR"}) {
            unsetenv(name);
        }
        set("HWA_SIM_DIR", folder / "state");
    }

    static void set(const char *name, const std::string &value) { setenv(name, value.c_str(), 1); }

    TemporaryFolder folder;
};

} // namespace hwa_test
