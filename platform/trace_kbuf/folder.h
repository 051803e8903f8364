// SPDX-License-Identifier: Apache-2.0
// The folder that keeps a process's trace files.
#pragma once

#include <array>
#include <climits>

namespace trace_kbuf {

using Path = std::array<char, PATH_MAX>;

// `pattern` as a process's core file is named by core(5): %e becomes the name of the program, %p the number of the
// process, %% a %, and any other % is dropped with what follows it. False when there is no room.
bool expand(const char *pattern, Path &path);

// Opens a folder and makes what is missing of it, with mode 0700. It has to be this user's, and others must not be able
// to write into it. Returns -1 and what is wrong otherwise.
int open_folder(const char *path, const char *&problem);

} // namespace trace_kbuf
