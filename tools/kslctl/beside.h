// SPDX-License-Identifier: Apache-2.0
// The libraries that were built or installed with this program.
#pragma once

#include <string>

namespace kslctl {

// Where the library is in the build folder, else where it would be installed. It need not be there.
std::string path_beside_program(const std::string &library);

} // namespace kslctl
