// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/ctf.h"
#include "ksltrace/perfetto.h"
#include "ksltrace/render_json.h"
#include "support/exit_status.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fmt/core.h>
#include <system_error>

namespace ksltrace {

namespace {

bool write_file(const std::string &path, const std::string &bytes) {
    FILE *const file = std::fopen(path.c_str(), "wxe");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

// Half a folder is removed again, for it would be taken for a trace.
bool write_folder(const std::string &folder, const CtfTrace &trace) {
    std::error_code error;
    if (!std::filesystem::create_directory(folder, error)) {
        complain(fmt::format("the folder {} cannot be made: {}", folder,
                             error ? error.message() : "it exists; name a new one"));
        return false;
    }
    if (!write_file(folder + "/metadata", trace.metadata) || !write_file(folder + "/stream", trace.stream)) {
        const std::string reason = std::generic_category().message(errno);
        complain(fmt::format("the files of {} cannot be written: {}", folder, reason));
        std::filesystem::remove_all(folder, error);
        return false;
    }
    return true;
}

} // namespace

int export_trace(const Request &request, Format format, const std::string &folder, tools::StandardOutput &out) {
    const Reading reading = read(request);
    bool done = true;
    if (!reading.is_empty()) {
        switch (format) {
        case Format::json:
            out.write(render_json_lines(reading.buffers(), reading.trace, reading.wanted));
            break;
        case Format::perfetto:
            out.write(render_perfetto(reading.buffers(), reading.trace, reading.wanted));
            break;
        case Format::ctf:
            done = write_folder(folder, render_ctf(reading.buffers(), reading.trace, reading.wanted));
            break;
        }
    }
    const int status = conclude(reading, out);
    return done ? status : tools::kFailed;
}

} // namespace ksltrace
