// SPDX-License-Identifier: Apache-2.0
// The library over a new simulated hub, in this process.
#pragma once

#include "../../platform/hwa/support.h"

#include <dlfcn.h>
#include <ksl/ksl.h>

namespace hub_test {

class HubTest : public testing::Test {
protected:
    HubTest() {
        for (const char *name :
             {"HWA_SIM_SCENARIO", "HWA_SIM_FAULTS", "HWA_SIM_LOG", "HWA_SIM_CLOCK", "XDG_RUNTIME_DIR"}) {
            unsetenv(name);
        }
        setenv("HWA_SIM_DIR", (folder_ / "state").c_str(), 1);
    }
    ~HubTest() override { close(); }

    // Opens the hub, with faults as HWA_SIM_FAULTS has them. A hub that is opened again has kept its state.
    void open(const char *faults = "") {
        close();
        setenv("HWA_SIM_FAULTS", faults, 1);
        // Under its own name, so that the library finds it loaded.
        hub_ = dlopen(HWA_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
        ASSERT_NE(hub_, nullptr) << dlerror();
        ksl_init();
    }

private:
    void close() {
        if (hub_ != nullptr) {
            ksl_terminate();
            dlclose(hub_);
            hub_ = nullptr;
        }
    }

    hwa_test::TemporaryFolder folder_;
    void *hub_ = nullptr;
};

} // namespace hub_test
