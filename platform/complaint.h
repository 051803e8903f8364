// SPDX-License-Identifier: Apache-2.0
// Says on stderr what is wrong, without any harm to the process.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace platform {

// Writes a line to stderr, if that is still what it was when this library was loaded: a process that closed it may have
// opened a file of its own under its number since. Does not wait for a reader, and raises no signal.
[[gnu::format(printf, 1, 2)]] void complain(const char *format, ...);

// Whether stderr is still what it was when this library was loaded.
bool stderr_is_the_same();

// write(), without the signals that it may raise.
ssize_t write_unharmed(int file, const char *bytes, size_t count);

} // namespace platform
