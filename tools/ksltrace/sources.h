// SPDX-License-Identifier: Apache-2.0
// Which files a word of the command line names.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ksltrace {

struct SourceFile {
    std::string path;
    std::string name; // its place below the folder that was searched
};

struct Sources {
    std::vector<SourceFile> files;
    std::string folder;                // that was searched; empty when the word names one file
    std::vector<std::string> problems; // what could not be searched, a sentence each

    // Whether lines have to say which file they are from.
    bool is_merged() const { return !folder.empty(); }
};

// The folder of TRACE_KBUF_DIR up to the first part that differs from program to program (%e) or from process to
// process (%p); empty when it is not set.
std::string trace_folder();

// The trace files in a folder and in the folders below it, in the order of their paths.
Sources files_of_folder(const std::string &folder);

// An empty word means trace_folder(), "-" the standard input, and any other the file or folder of that name. If there
// is none, it is the name of a buffer in trace_folder(); of all buffers of that name below it, if it is not kept in
// that folder itself.
Sources sources_of(const std::string &word);

// The buffers that a word may name so, in alphabetical order, each once. A name that a terminal or a shell could take
// for something else is left out.
std::vector<std::string> buffer_names();

} // namespace ksltrace
