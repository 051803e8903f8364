// SPDX-License-Identifier: Apache-2.0
#include "problem.h"

#include <system_error>
#include <unistd.h>

namespace hwa {

void complain(const std::string &sentence) {
    const std::string line = "simulated hub: " + sentence + "\n";
    // A single write keeps the lines of several processes apart; there is nowhere to report its failure.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

std::string system_error(int number) {
    return std::generic_category().message(number);
}

} // namespace hwa
