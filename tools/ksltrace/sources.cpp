// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/sources.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fmt/core.h>
#include <json/problem.h>
#include <set>
#include <string_view>
#include <trace_kbuf_reader.h>

namespace ksltrace {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSuffix = ".kbuf";
constexpr std::string_view kLibraryBuffer = "XKSL";
constexpr int kDeepest = 8; // folders below the one that was named

bool exists(const std::string &path) {
    std::error_code error;
    return fs::exists(path, error);
}

// "kslctl/XKSL.kbuf" is called "kslctl": the buffer's name says nothing there, since it is the library's.
std::string name_below(const fs::path &folder, const fs::path &file) {
    fs::path name = file.lexically_relative(folder).replace_extension();
    if (name.filename() == kLibraryBuffer && name.has_parent_path()) {
        name = name.parent_path();
    }
    return json::printable(name.string());
}

// `wanted` is the file name to look for; empty: all trace files.
Sources search(const std::string &folder, const std::string &wanted) {
    Sources sources{{}, folder, {}};
    std::error_code error;
    fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, error);
    for (const fs::recursive_directory_iterator end; !error && at != end; at.increment(error)) {
        std::error_code unknown;
        if (at->is_directory(unknown)) {
            if (at.depth() + 1 >= kDeepest) {
                at.disable_recursion_pending();
            }
        } else if (wanted.empty() ? at->path().extension() == kSuffix : at->path().filename() == wanted) {
            // Opening a pipe could wait for ever.
            if (at->is_regular_file(unknown)) {
                sources.files.push_back({at->path().string(), name_below(folder, at->path())});
            } else {
                sources.problems.push_back(fmt::format("{} is not a regular file", at->path().string()));
            }
        }
    }
    if (error) {
        sources.problems.push_back(fmt::format("the folder {} cannot be read: {}", folder, error.message()));
    }
    std::sort(sources.files.begin(), sources.files.end(),
              [](const SourceFile &a, const SourceFile &b) { return a.path < b.path; });
    std::sort(sources.problems.begin(), sources.problems.end());
    return sources;
}

std::optional<std::string> path_of_buffer(const std::string &folder, const std::string &name) {
    const int length = trace_kbuf_file_path(nullptr, 0, folder.c_str(), name.c_str());
    if (folder.empty() || length < 0 || name.find('/') != name.npos) {
        return std::nullopt;
    }
    std::string path(static_cast<size_t>(length), '\0');
    trace_kbuf_file_path(path.data(), path.size() + 1, folder.c_str(), name.c_str());
    return path;
}

Sources one_file(const std::string &path) {
    return {{{path, {}}}, {}, {}};
}

} // namespace

std::string trace_folder() {
    const char *const directory = std::getenv("TRACE_KBUF_DIR");
    const std::string pattern = directory == nullptr ? "" : directory;
    std::string folder;
    for (size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] == '%' && pattern.substr(at, 2) != "%%") {
            const size_t slash = folder.rfind('/');
            return slash == folder.npos ? "." : slash == 0 ? "/" : folder.substr(0, slash);
        }
        at += pattern[at] == '%' ? 1 : 0;
        folder += pattern[at];
    }
    return folder;
}

Sources files_of_folder(const std::string &folder) {
    return search(folder, {});
}

Sources sources_of(const std::string &word) {
    const std::string folder = trace_folder();
    if (word.empty()) {
        return files_of_folder(folder);
    }
    std::error_code error;
    if (word != "-" && fs::is_directory(word, error)) {
        return files_of_folder(word);
    }
    const std::optional<std::string> path = path_of_buffer(folder, word);
    if (word == "-" || exists(word) || !path) {
        return one_file(word);
    }
    if (!exists(*path)) {
        Sources below = search(folder, fs::path(*path).filename().string());
        if (below.files.size() == 1) {
            return one_file(below.files.front().path);
        }
        if (!below.files.empty()) {
            return below;
        }
    }
    return one_file(*path);
}

std::vector<std::string> buffer_names() {
    const std::string folder = trace_folder();
    std::set<std::string> names;
    if (folder.empty()) {
        return {};
    }
    for (const SourceFile &file : files_of_folder(folder).files) {
        // Other names are not those of their files.
        const std::string name = fs::path(file.path).stem().string();
        const std::optional<std::string> path = path_of_buffer(folder, name);
        const bool is_option = name.starts_with('-');
        if (!is_option && path && fs::path(*path).filename() == fs::path(file.path).filename()) {
            names.insert(name);
        }
    }
    return {names.begin(), names.end()};
}

} // namespace ksltrace
