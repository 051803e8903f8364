// SPDX-License-Identifier: Apache-2.0
// The user's folder of the state, and files in it.
#pragma once

#include <descriptor.h>
#include <string>

namespace hwa {

// The folder that the environment names: HWA_SIM_DIR, else a folder in XDG_RUNTIME_DIR, else one in /tmp.
std::string state_folder();

// Opens a file of a folder for reading and writing, and makes both when they are not there. Throws Unusable
// when either is a link, or another user owns it or may write it.
platform::Descriptor open_private(const std::string &folder, const char *name);

} // namespace hwa
