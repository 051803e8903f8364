// SPDX-License-Identifier: Apache-2.0
#include "problem.h"

#include <complaint.h>
#include <system_error>

namespace hwa {

void complain(const std::string &sentence) {
    platform::complain("simulated hub: %s\n", sentence.c_str());
}

std::string system_error(int number) {
    return std::generic_category().message(number);
}

} // namespace hwa
