// SPDX-License-Identifier: Apache-2.0
// The libraries that were built or installed with this program.
#pragma once

#include <string>

namespace kslctl::hub {

// Where the library is in the build folder, else where it would be installed. It need not be there.
std::string path_of_installed(const std::string &library);
// The same of a library of the simulator. Of its name there may be the hub's own, which this never is.
std::string path_of_simulator(const std::string &library);

} // namespace kslctl::hub
