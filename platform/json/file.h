// SPDX-License-Identifier: Apache-2.0
// Documents in files.
#pragma once

#include "json/problem.h"

#include <chrono>
#include <string>

namespace json {

// A document that is read again and again has to be a regular file; others can come through a pipe.
enum class Files { any, regular };

// How long a pipe is waited for that nobody has opened for writing yet.
inline constexpr std::chrono::seconds kPatience{5};

// The text of a file. Throws Unusable with its path in front when it cannot be read or is longer than kLongestText.
std::string text_of_file(const std::string &path, Files files, std::chrono::milliseconds patience = kPatience);

// Hands the text of a file to `read` and returns what it makes of it. What is wrong with the file or its text is
// thrown as Unusable, such as "hub.json, line 7, column 12: ...".
template <typename Read>
auto read_file(const std::string &path, Files files, Read read) {
    const std::string text = text_of_file(path, files);
    try {
        return read(text);
    } catch (const Unusable &problem) {
        throw Unusable(path + ", " + problem.what());
    }
}

} // namespace json
